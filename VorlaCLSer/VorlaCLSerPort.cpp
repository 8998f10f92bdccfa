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
bool IsNoDevice(CLINT32 code) {
  return code == -30209 || code == CL_ERR_TIMEOUT;
}

// The longest path (with its terminator) the driver loader accepts.
constexpr size_t MaxPath = 260;
} // namespace

// Holds the port lock. Releasing it last (leaving the outermost level) does an inactivity close
// that the timer left pending meanwhile.
class CVorlaCLSerPort::CLockGuard {
public:
  explicit CLockGuard(const CVorlaCLSerPort& port) : m_port(const_cast<CVorlaCLSerPort&>(port)) {
    m_port.m_lock.lock();
    ++m_port.m_lockDepth;
  }
  ~CLockGuard() {
    const bool outermost = --m_port.m_lockDepth == 0;
    m_port.m_lock.unlock();
    if (outermost)
      m_port.RunPendingClose();
  }
  CLockGuard(const CLockGuard&) = delete;
  CLockGuard& operator=(const CLockGuard&) = delete;

private:
  CVorlaCLSerPort& m_port;
};

CVorlaCLSerPort::CVorlaCLSerPort(const gcstring& portId) : m_portId(portId) {}

CVorlaCLSerPort::~CVorlaCLSerPort() {
  try {
    Close(false);
  } catch (...) {
    // a destructor reports nothing; Close logs its own failures
  }
  {
    std::lock_guard<std::mutex> timerGuard(m_timerLock);
    m_pTimer.reset(); // waits for a running callback
  }
  m_pDriverLibrary.reset();
}

bool CVorlaCLSerPort::IsConnected() const {
  CLockGuard guard(*this);
  return m_pConnection != nullptr;
}

gcstring CVorlaCLSerPort::GetDeviceId() const {
  CLockGuard guard(*this);
  return m_deviceId;
}

void CVorlaCLSerPort::SetRemovalSink(IVorlaCLSerRemovalSink* sink) {
  CLockGuard guard(*this);
  m_pRemovalSink = sink;
}

void CVorlaCLSerPort::SetDeviceName(const gcstring& name) {
  CLockGuard guard(*this);
  m_deviceName = name;
}

GenApi::EAccessMode CVorlaCLSerPort::GetAccessMode() const {
  return m_accessMode;
}

bool CVorlaCLSerPort::ConnectDevice(const gcstring& deviceId) {
  CLockGuard guard(*this);
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
    std::lock_guard<std::mutex> timerGuard(m_timerLock);
    if (!m_pTimer) {
      m_pTimer = std::make_unique<COneShotTimer>(&CVorlaCLSerPort::OnInactivity, this);
      m_pTimer->Arm(m_autoCloseTimeout);
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
  CLockGuard guard(*this);
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
    vxlog::LogTrace(PortLog(), vxlog::Error,
                    "Could not connect CLPort '%s' DeviceID '%s' Error: %i '%s'", m_portId.c_str(),
                    m_deviceId.c_str(), e.GetCLErrorCode(), e.GetDescription());
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error,
                    "Could not connect CLPort '%s' DeviceID '%s' Error: '%s'", m_portId.c_str(),
                    m_deviceId.c_str(), e.GetDescription());
  }
  if (m_pConnection)
    return true;
  vxlog::LogTrace(PortLog(), vxlog::Error, "Could not reopen CLPort '%s'", m_portId.c_str());
  if (noDevice)
    FireRemoval();
  return false;
}

bool CVorlaCLSerPort::CancelAutoClose() {
  std::lock_guard<std::mutex> timerGuard(m_timerLock);
  return CancelTimerLocked();
}

bool CVorlaCLSerPort::CancelTimerLocked() {
  if (!m_pTimer)
    return true;
  if (!m_pTimer->Cancel()) // waits for a running callback, which never waits for a lock
    return false;
  // The callback is over: a close it left pending belonged to the period just ended.
  m_closePending = false;
  return true;
}

bool CVorlaCLSerPort::Close(bool autoClose) {
  // A full close stops the timer before taking the lock, so that a callback waiting for the
  // lock is not waited for in turn.
  if (!autoClose && IsConnected() && !CancelAutoClose())
    return false;
  CLockGuard guard(*this);
  if (!m_pConnection) {
    if (!autoClose)
      m_removed = false;
    return false;
  }
  try {
    m_pConnection.reset();
  } catch (const std::exception& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error,
                    "Could not remove CLPort '%s' DeviceID '%s' Error: '%s'", m_portId.c_str(),
                    m_deviceId.c_str(), e.what());
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
  CLockGuard guard(*this);
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
    vxlog::LogTrace(PortLog(), vxlog::Error,
                    "Could not %s from CLSer port '%s'. GenICam Error: '%s'", operationWord,
                    m_portId.c_str(), e.GetDescription());
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
  CLockGuard guard(*this);
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

int32_t CVorlaCLSerPort::SupportedBaudRates(uint32_t& mask) {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  mask = 0;
  if (!m_pConnection)
    return CL_ERR_INVALID_REFERENCE;
  CLUINT32 supported = 0;
  const CLINT32 status = m_pConnection->SupportedBaudrates(supported);
  if (status == CL_ERR_NO_ERR)
    mask = supported;
  return status;
}

void CVorlaCLSerPort::SetAutoCloseTimeout(uint32_t ms) {
  // Storing and arming under one lock: the timer ends armed with the value stored last.
  std::lock_guard<std::mutex> timerGuard(m_timerLock);
  m_autoCloseTimeout = ms;
  if (m_pTimer && CancelTimerLocked())
    m_pTimer->Arm(ms);
}

void CVorlaCLSerPort::ReArm() {
  std::lock_guard<std::mutex> timerGuard(m_timerLock);
  if (m_pTimer && CancelTimerLocked())
    m_pTimer->Arm(m_autoCloseTimeout);
}

// Runs on the timer thread, which serves every port of the process: it never waits for the port
// lock. Whoever holds the lock may be a read lasting minutes, or a re-arm waiting for this very
// callback; the close is left pending for the holder to do when it releases the lock, unless the
// holder re-arms the timer first (an access restarts the period).
void CVorlaCLSerPort::OnInactivity(void* context) {
  auto* port = static_cast<CVorlaCLSerPort*>(context);
  port->m_closePending = true;
  port->RunPendingClose();
}

// The flag is set before the lock is tried, and checked after the lock is released: so either
// the timer gets the lock, or a holder that still has it sees the flag on release.
void CVorlaCLSerPort::RunPendingClose() noexcept {
  while (m_closePending) {
    if (!m_lock.try_lock())
      return;
    ++m_lockDepth;
    try {
      if (m_closePending.exchange(false))
        CloseForInactivity();
    } catch (...) {
      // Close logs its own failures; a log sink's error is not the caller's business
    }
    --m_lockDepth;
    m_lock.unlock();
  }
}

void CVorlaCLSerPort::CloseForInactivity() {
  vxlog::LogTrace(PortLog(), vxlog::Progress, "AutoClosing CLPort '%s' due to inactivity.",
                  m_portId.c_str());
  if (!Close(true))
    vxlog::LogTrace(PortLog(), vxlog::Warning, "Clould not AutoClose CLPort '%s'.",
                    m_portId.c_str());
}

void CVorlaCLSerPort::FireRemoval() {
  IVorlaCLSerRemovalSink* sink;
  {
    CLockGuard guard(*this);
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
    CLockGuard guard(*this);
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
  CLockGuard guard(*this);
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
