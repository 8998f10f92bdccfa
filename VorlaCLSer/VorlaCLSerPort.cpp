#include "VorlaCLSerPort.h"

#include "VorlaCLSerLog.h"

#include <Base/GCException.h>
#include <Base/GCUtilities.h>
#include <CLProtocol/CLPort.h>
#include <CLProtocol/DeviceID.h>
#include <GenApi/GenApi.h>

#include <chrono>
#include <thread>

namespace Vorla {
namespace {
// Camera Link errors that mean: no camera on this port.
bool IsNoDevice(CLINT32 code) { return code == -30209 || code == CL_ERR_TIMEOUT; }

// The longest path (with its terminator) the driver loader accepts.
constexpr size_t MaxPath = 260;
} // namespace

CVorlaCLSerPort::CVorlaCLSerPort(const gcstring& portId) : m_portId(portId) {}

CVorlaCLSerPort::~CVorlaCLSerPort() {
  try {
    Close(false);
  } catch (...) {
    // a destructor reports nothing; Close logs its own failures
  }
  m_pTimer.reset(); // waits for a running callback
  m_pDriverLibrary.reset();
}

bool CVorlaCLSerPort::IsConnected() const {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  return m_pConnection != nullptr;
}

gcstring CVorlaCLSerPort::GetDeviceId() const {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  return m_deviceId;
}

void CVorlaCLSerPort::SetRemovalSink(IVorlaCLSerRemovalSink* sink) {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  m_pRemovalSink = sink;
}

void CVorlaCLSerPort::SetDeviceName(const gcstring& name) {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  m_deviceName = name;
}

GenApi::EAccessMode CVorlaCLSerPort::GetAccessMode() const { return m_accessMode; }

bool CVorlaCLSerPort::ConnectDevice(const gcstring& deviceId) {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  if (m_pConnection || !m_deviceId.empty())
    return false;
  try {
    auto connection = std::make_unique<CLProtocol::CCLPort>();
    connection->SetSerialTimeOut(SerialTimeoutMs);
    connection->Connect(m_portId, deviceId);
    m_pConnection = std::move(connection);
    m_deviceId = deviceId;
    vxlog::LogTrace(PortLog(), vxlog::Progress,
                    "Successfully created/connected deviceID '%s' on '%s'.", deviceId.c_str(),
                    m_portId.c_str());

    CLProtocol::CDeviceID id;
    if (!id.FromString(deviceId)) {
      vxlog::LogTrace(PortLog(), vxlog::Error, "Could not parse DeviceID '%s'", deviceId.c_str());
      return false;
    }
    if (!m_pDriverLibrary)
      m_pDriverLibrary = std::make_unique<Platform::CDynamicLibrary>();
    LoadDriverLibrary(id.GetDriverPath(false));
    if (!m_pTimer) {
      m_pTimer = std::make_unique<COneShotTimer>();
      ReArm();
    }
    return true;
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not connect CLPort '%s' Error '%s'",
                    m_portId.c_str(), e.GetDescription());
    return false;
  }
}

// Keeps the camera's driver loaded for the life of the port, across inactivity closes.
bool CVorlaCLSerPort::LoadDriverLibrary(const gcstring& driverPath) {
  gcstring path = driverPath;
  GenICam::ReplaceEnvironmentVariables(path);
  if (path.size() + 1 >= MaxPath)
    return false;
  return m_pDriverLibrary->Load(Platform::CDynamicLibrary::NativePath(path));
}

bool CVorlaCLSerPort::Reopen() {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  if (m_pConnection || m_deviceId.empty())
    return false;
  vxlog::LogTrace(PortLog(), vxlog::Progress, "Reopening CLPort '%s'", m_portId.c_str());
  bool noDevice = false;
  try {
    // A reopened connection keeps the connection's default serial time-out.
    auto connection = std::make_unique<CLProtocol::CCLPort>();
    connection->Connect(m_portId, m_deviceId);
    m_pConnection = std::move(connection);
  } catch (const CLProtocol::CLErrException& e) {
    noDevice = IsNoDevice(e.GetCLErrorCode());
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not connect CLPort '%s' DeviceID '%s' Error: %i '%s'",
                    m_portId.c_str(), m_deviceId.c_str(), e.GetCLErrorCode(), e.GetDescription());
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not connect CLPort '%s' DeviceID '%s' Error: '%s'",
                    m_portId.c_str(), m_deviceId.c_str(), e.GetDescription());
  }
  if (m_pConnection)
    return true;
  vxlog::LogTrace(PortLog(), vxlog::Error, "Could not reopen CLPort '%s'", m_portId.c_str());
  if (noDevice)
    FireRemoval();
  return false;
}

bool CVorlaCLSerPort::CancelAutoClose() { return !m_pTimer || m_pTimer->Cancel(); }

bool CVorlaCLSerPort::Close(bool autoClose) {
  // A full close stops the timer before taking the lock, so that a callback waiting for the
  // lock is not waited for in turn.
  if (!autoClose && IsConnected() && !CancelAutoClose())
    return false;
  boost::recursive_mutex::scoped_lock guard(m_lock);
  if (!m_pConnection) {
    if (!autoClose)
      m_removed = false;
    return false;
  }
  try {
    m_pConnection.reset();
  } catch (const std::exception& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not remove CLPort '%s' DeviceID '%s' Error: '%s'",
                    m_portId.c_str(), m_deviceId.c_str(), e.what());
  }
  m_pConnection = nullptr;
  if (!autoClose) {
    m_deviceId.clear();
    m_removed = false;
    vxlog::LogTrace(PortLog(), vxlog::Progress, "Closed CLPort '%s'", m_portId.c_str());
  }
  return true;
}

template <class Operation>
void CVorlaCLSerPort::Access(const char* operationWord, Operation operation) {
  if (m_removed)
    throw RUNTIME_EXCEPTION("Device '%s' already removed/disconnected.", m_portId.c_str());
  boost::recursive_mutex::scoped_lock guard(m_lock);
  if (!m_pConnection && !Reopen()) {
    FireRemoval();
    throw RUNTIME_EXCEPTION("Could not reopen CLPort '%s'", m_portId.c_str());
  }
  // The wording "from" is kept for writes too.
  try {
    operation(*m_pConnection);
  } catch (const CLProtocol::CLErrException& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not %s from CLSer port '%s'. CL Error: %i '%s'",
                    operationWord, m_portId.c_str(), e.GetCLErrorCode(), e.GetDescription());
    FireRemoval(); // any serial-level error is taken as loss of the camera
    throw;
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not %s from CLSer port '%s'. GenICam Error: '%s'",
                    operationWord, m_portId.c_str(), e.GetDescription());
    throw;
  } catch (const std::exception& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not %s from CLSer port '%s'. std-Error: '%s'",
                    operationWord, m_portId.c_str(), e.what());
    throw;
  }
  ReArm();
}

void CVorlaCLSerPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
  Access("read", [&](CLProtocol::CCLPort& c) { c.Read(pBuffer, Address, Length); });
}

void CVorlaCLSerPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  Access("write", [&](CLProtocol::CCLPort& c) { c.Write(pBuffer, Address, Length); });
}

// Runs `op` on a connection, connecting for the call (and fully closing again) when closed.
template <class Operation>
auto CVorlaCLSerPort::WithTemporaryConnection(const gcstring& deviceId, Operation op) {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  bool connectedHere = false;
  if (!m_pConnection) {
    if (!ConnectDevice(deviceId))
      throw RUNTIME_EXCEPTION("Could not open port '%s'", deviceId.c_str());
    connectedHere = true;
  }
  struct CloseAgain {
    CVorlaCLSerPort* port;
    bool active;
    ~CloseAgain() {
      if (active)
        port->Close(false);
    }
  } closeAgain{this, connectedHere};
  if (!m_pConnection)
    throw RUNTIME_EXCEPTION("CLPort not open!");
  return op(*m_pConnection);
}

bool CVorlaCLSerPort::HasXML(const gcstring& deviceId) {
  return WithTemporaryConnection(deviceId, [&](CLProtocol::CCLPort& c) {
    try {
      gcstring xml;
      c.GetXML(xml);
      m_cachedXml = xml;
      ReArm();
      return !xml.empty();
    } catch (const std::exception& e) {
      vxlog::LogTrace(TlLog(), vxlog::Error, "Exception while calling CCLPort::HasXML error: %s",
                      DescriptionOf(e));
      throw;
    }
  });
}

void CVorlaCLSerPort::GetXML(gcstring& xml, const gcstring& deviceId) {
  WithTemporaryConnection(deviceId, [&](CLProtocol::CCLPort& c) {
    try {
      if (m_cachedXml.empty())
        c.GetXML(m_cachedXml);
      xml = m_cachedXml;
      ReArm();
    } catch (const std::exception& e) {
      vxlog::LogTrace(TlLog(), vxlog::Error, "Exception while calling CCLPort::GetXML error: %s",
                      DescriptionOf(e));
      throw;
    }
  });
}

void CVorlaCLSerPort::SetAutoCloseTimeout(uint32_t ms) {
  m_autoCloseTimeout = ms;
  ReArm();
}

void CVorlaCLSerPort::ReArm() {
  if (m_pTimer)
    m_pTimer->Arm(m_autoCloseTimeout, &CVorlaCLSerPort::OnInactivity, 0, this);
}

void CVorlaCLSerPort::OnInactivity(uintptr_t, void* context) {
  auto* port = static_cast<CVorlaCLSerPort*>(context);
  vxlog::LogTrace(PortLog(), vxlog::Progress, "AutoClosing CLPort '%s' due to inactivity.",
                  port->m_portId.c_str());
  // Whoever holds the lock may be re-arming or cancelling this very timer and waiting for this
  // callback: never block on the lock, give up once a cancel is under way.
  while (!port->m_lock.try_lock()) {
    if (port->m_pTimer->IsCancelRequested())
      return;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  boost::recursive_mutex::scoped_lock guard(port->m_lock, boost::adopt_lock);
  if (!port->Close(true))
    vxlog::LogTrace(PortLog(), vxlog::Warning, "Clould not AutoClose CLPort '%s'.",
                    port->m_portId.c_str());
}

void CVorlaCLSerPort::FireRemoval() {
  IVorlaCLSerRemovalSink* sink;
  {
    boost::recursive_mutex::scoped_lock guard(m_lock);
    if (!m_pRemovalSink || m_removed)
      return;
    vxlog::LogTrace(PortLog(), vxlog::Progress,
                    "Device removal for PortID '%s' DeviceID '%s' detected. Firing removal "
                    "callbacks.",
                    m_portId.c_str(), m_deviceId.c_str());
    m_removed = true;
    sink = m_pRemovalSink;
  }
  sink->NotifyRemoval();
}

void CVorlaCLSerPort::Probe(gcstring& deviceId, const gcstring_vector* templates) {
  // An open device is asked for its serial number instead of probing the line.
  IVorlaCLSerRemovalSink* sink;
  gcstring openId;
  {
    boost::recursive_mutex::scoped_lock guard(m_lock);
    sink = m_pRemovalSink;
    openId = m_deviceId;
  }
  if (sink && sink->IsDeviceOpen() && !openId.empty()) {
    GenApi::INodeMap* nodeMap = sink->GetCameraNodeMap();
    GenApi::INode* node = nodeMap ? nodeMap->GetNode("DeviceID") : nullptr;
    auto* value = dynamic_cast<GenApi::IValue*>(node);
    if (!value) {
      vxlog::LogTrace(TlLog(), vxlog::Warning,
                      "Device is opened but 'DeviceID' node not found. Performing a full probe.");
    } else {
      deviceId.clear();
      try {
        const gcstring serial = value->ToString(false, true);
        CLProtocol::CDeviceID id;
        id.FromString(openId);
        if (serial == id.GetCameraSerialNumber())
          deviceId = openId;
        else
          FireRemoval();
      } catch (const std::exception&) {
        deviceId.clear();
      }
      return;
    }
  }

  gcstring_vector allTemplates;
  if (!templates) {
    CLProtocol::CCLPort::GetDeviceIDTemplates(allTemplates);
    templates = &allTemplates;
  }
  boost::recursive_mutex::scoped_lock guard(m_lock);
  const bool reopen = m_pConnection != nullptr;
  if (reopen)
    Close(true);
  gcstring answer;
  bool goOn = true;
  for (const gcstring& deviceTemplate : *templates) {
    if (!goOn || !answer.empty())
      break;
    for (int attempts = 2; attempts > 0 && answer.empty();) {
      try {
        answer = CLProtocol::CCLPort::ProbeDevice(m_portId, deviceTemplate, SerialTimeoutMs);
        break; // answered, with or without a camera of this template
      } catch (const CLProtocol::CLErrException& e) {
        if (IsNoDevice(e.GetCLErrorCode())) {
          vxlog::LogTrace(TlLog(), vxlog::Warning,
                          "Seems there is no device connected to port '%s'. Skipping further "
                          "probes.",
                          m_portId.c_str());
          goOn = false;
          break;
        }
        if (--attempts > 0)
          vxlog::LogTrace(TlLog(), vxlog::Warning, "Error accessing port '%s'. Retrying!",
                          m_portId.c_str());
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      } catch (const GenICam::GenericException& e) {
        vxlog::LogTrace(TlLog(), vxlog::Warning, "Port '%s': Generic Exceptiopn! '%s'",
                        m_portId.c_str(), e.GetDescription());
        break;
      }
    }
  }
  if (reopen)
    Reopen();
  deviceId = answer;
}

} // namespace Vorla
