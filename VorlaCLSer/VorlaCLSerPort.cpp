#include "VorlaCLSerPort.h"

#include "VorlaCLSerLog.h"

#include <Base/GCException.h>
#include <Base/GCUtilities.h>
#include <CLProtocol/CLPort.h>
#include <CLProtocol/DeviceID.h>
#include <GenApi/GenApi.h>

#include <algorithm>
#include <chrono>
#include <thread>

namespace Vorla {

using Platform::CLockGuard;
using Platform::CMutex;
using Platform::CRecursiveMutex;
using Platform::CUniqueLock;

namespace {
// Camera Link errors that mean: no camera on this port.
bool IsNoDevice(CLINT32 code) {
  return code == -30209 || code == CL_ERR_TIMEOUT;
}

// The longest path (with its terminator) the driver loader accepts.
constexpr size_t MaxPath = 260;
} // namespace

// A use of the removal sink outside the port lock, which SetRemovalSink waits for.
class CVorlaCLSerPort::CSinkUse {
public:
  CSinkUse(CVorlaCLSerPort& port, bool forRemoval)
      : m_port(port), m_pSink(port.UseSink(forRemoval)) {}
  ~CSinkUse() {
    if (m_pSink)
      m_port.EndSinkUse();
  }
  CSinkUse(const CSinkUse&) = delete;
  CSinkUse& operator=(const CSinkUse&) = delete;
  IVorlaCLSerRemovalSink* Get() const { return m_pSink; }

private:
  CVorlaCLSerPort& m_port;
  IVorlaCLSerRemovalSink* const m_pSink;
};

CVorlaCLSerPort::CVorlaCLSerPort(const gcstring& portId) : m_portId(portId) {}

CVorlaCLSerPort::~CVorlaCLSerPort() {
  try {
    Close(false);
  } catch (...) {
    // a destructor reports nothing; Close logs its own failures
  }
  std::unique_ptr<CInactivityTimer> timer;
  {
    CLockGuard<CMutex> timerGuard(m_timerLock);
    timer = std::move(m_pTimer);
  }
  timer.reset(); // ends the worker, which may be waiting for m_timerLock
  CLockGuard<CRecursiveMutex> guard(m_lock);
  m_pDriverLibrary.reset();
}

bool CVorlaCLSerPort::IsConnected() const {
  CLockGuard<CRecursiveMutex> guard(m_lock);
  return m_pConnection != nullptr;
}

IVorlaCLSerRemovalSink* CVorlaCLSerPort::UseSink(bool forRemoval) {
  CLockGuard<CMutex> guard(m_sinkLock);
  if (!m_pRemovalSink || (forRemoval && m_removed.exchange(true)))
    return nullptr;
  m_sinkUsers.push_back(std::this_thread::get_id());
  return m_pRemovalSink;
}

void CVorlaCLSerPort::EndSinkUse() {
  {
    CLockGuard<CMutex> guard(m_sinkLock);
    m_sinkUsers.erase(
        std::find(m_sinkUsers.begin(), m_sinkUsers.end(), std::this_thread::get_id()));
  }
  m_sinkIdle.notify_all();
}

void CVorlaCLSerPort::SetRemovalSink(IVorlaCLSerRemovalSink* sink) {
  CUniqueLock<CMutex> guard(m_sinkLock);
  // A removal callback may close its device on the thread that reports the removal: that use is
  // not waited for.
  const auto self = std::this_thread::get_id();
  while (std::any_of(m_sinkUsers.begin(), m_sinkUsers.end(),
                     [self](std::thread::id user) { return user != self; }))
    m_sinkIdle.wait(guard);
  m_pRemovalSink = sink;
}

void CVorlaCLSerPort::SetDeviceName(const gcstring& name) {
  CLockGuard<CRecursiveMutex> guard(m_lock);
  m_deviceName = name;
}

GenApi::EAccessMode CVorlaCLSerPort::GetAccessMode() const {
  return m_accessMode;
}

bool CVorlaCLSerPort::ConnectDevice(const gcstring& deviceId) {
  CLockGuard<CRecursiveMutex> guard(m_lock);
  return ConnectLocked(deviceId);
}

bool CVorlaCLSerPort::ConnectLocked(const gcstring& deviceId) {
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
    CLockGuard<CMutex> timerGuard(m_timerLock);
    if (!m_pTimer) {
      m_pTimer = std::make_unique<CInactivityTimer>(
          [this](CInactivityTimer::Ticket ticket) { OnInactivity(ticket); });
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
  CLockGuard<CRecursiveMutex> guard(m_lock);
  return ReopenLocked();
}

bool CVorlaCLSerPort::ReopenLocked() {
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
    FireRemoval(m_deviceId);
  return false;
}

bool CVorlaCLSerPort::CancelAutoClose() {
  CLockGuard<CMutex> timerGuard(m_timerLock);
  return !m_pTimer || m_pTimer->Cancel();
}

bool CVorlaCLSerPort::Close(bool autoClose) {
  if (!autoClose && IsConnected() && !CancelAutoClose())
    return false;
  CLockGuard<CRecursiveMutex> guard(m_lock);
  return CloseLocked(autoClose);
}

void CVorlaCLSerPort::CloseFullyLocked() {
  if (m_pConnection && !CancelAutoClose())
    return;
  CloseLocked(false);
}

bool CVorlaCLSerPort::CloseLocked(bool autoClose) {
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
  CLockGuard<CRecursiveMutex> guard(m_lock);
  if (!m_pConnection && !ReopenLocked()) {
    FireRemoval(m_deviceId);
    throw RUNTIME_EXCEPTION("Could not reopen CLPort '%s'", m_portId.c_str());
  }
  // The wording "from" is kept for writes too.
  try {
    operation(*m_pConnection);
  } catch (const CLProtocol::CLErrException& e) {
    vxlog::LogTrace(PortLog(), vxlog::Error, "Could not %s from CLSer port '%s'. CL Error: %i '%s'",
                    operationWord, m_portId.c_str(), e.GetCLErrorCode(), e.GetDescription());
    FireRemoval(m_deviceId); // any serial-level error is taken as loss of the camera
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

// Connects when closed, for one call that fully closes again: true when it did connect.
bool CVorlaCLSerPort::ConnectForCall(const gcstring& deviceId) {
  if (m_pConnection)
    return false;
  if (!ConnectLocked(deviceId))
    throw RUNTIME_EXCEPTION("Could not open port '%s'", deviceId.c_str());
  return true;
}

bool CVorlaCLSerPort::HasXML(const gcstring& deviceId) {
  CLockGuard<CRecursiveMutex> guard(m_lock);
  return !FetchXml(deviceId, "HasXML", true).empty();
}

void CVorlaCLSerPort::GetXML(gcstring& xml, const gcstring& deviceId) {
  CLockGuard<CRecursiveMutex> guard(m_lock);
  xml = FetchXml(deviceId, "GetXML", false);
}

// The description through a connection made for this call when none is open (closed again
// after it); `call` names the operation in the log. HasXML asks the camera again each time,
// GetXML keeps what it read once.
gcstring CVorlaCLSerPort::FetchXml(const gcstring& deviceId, const char* call, bool fresh) {
  const bool connectedHere = ConnectForCall(deviceId);
  try {
    if (!m_pConnection)
      throw RUNTIME_EXCEPTION("CLPort not open!");
    try {
      if (fresh || m_cachedXml.empty()) {
        gcstring xml;
        m_pConnection->GetXML(xml);
        m_cachedXml = xml;
      }
      ReArm();
    } catch (const std::exception& e) {
      vxlog::LogTrace(TlLog(), vxlog::Error, "Exception while calling CCLPort::%s error: %s", call,
                      DescriptionOf(e));
      throw;
    }
  } catch (...) {
    if (connectedHere)
      CloseFullyLocked();
    throw;
  }
  if (connectedHere)
    CloseFullyLocked();
  return m_cachedXml;
}

int32_t CVorlaCLSerPort::SupportedBaudRates(uint32_t& mask) {
  CLockGuard<CRecursiveMutex> guard(m_lock);
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
  CLockGuard<CMutex> timerGuard(m_timerLock);
  m_autoCloseTimeout = ms;
  if (m_pTimer)
    m_pTimer->Arm(ms);
}

void CVorlaCLSerPort::ReArm() {
  CLockGuard<CMutex> timerGuard(m_timerLock);
  if (m_pTimer)
    m_pTimer->Arm(m_autoCloseTimeout);
}

// On the timer's worker: waits for the port lock like any caller (an access holding it may last
// minutes). An access, a timeout change or a full close since the expiry makes the close stale.
void CVorlaCLSerPort::OnInactivity(CInactivityTimer::Ticket ticket) {
  CLockGuard<CRecursiveMutex> guard(m_lock);
  {
    CLockGuard<CMutex> timerGuard(m_timerLock);
    if (!m_pTimer || !m_pTimer->IsCurrent(ticket))
      return;
  }
  vxlog::LogTrace(PortLog(), vxlog::Progress, "AutoClosing CLPort '%s' due to inactivity.",
                  m_portId.c_str());
  if (!CloseLocked(true))
    vxlog::LogTrace(PortLog(), vxlog::Warning, "Clould not AutoClose CLPort '%s'.",
                    m_portId.c_str());
}

void CVorlaCLSerPort::FireRemoval(const gcstring& deviceId) {
  CSinkUse sink(*this, true);
  if (!sink.Get())
    return;
  vxlog::LogTrace(PortLog(), vxlog::Progress,
                  "Device removal for PortID '%s' DeviceID '%s' detected. Firing removal "
                  "callbacks.",
                  m_portId.c_str(), deviceId.c_str());
  sink.Get()->NotifyRemoval();
}

// An open device is asked for its serial number instead of probing the line: true when that
// settled the answer.
bool CVorlaCLSerPort::ProbeOpenDevice(gcstring& deviceId) {
  gcstring openId;
  {
    CLockGuard<CRecursiveMutex> guard(m_lock);
    openId = m_deviceId;
  }
  const CSinkUse sink(*this, false); // the device is not destroyed while it is asked
  if (!sink.Get() || !sink.Get()->IsDeviceOpen() || openId.empty())
    return false;
  GenApi::INodeMap* nodeMap = sink.Get()->GetCameraNodeMap();
  GenApi::INode* node = nodeMap ? nodeMap->GetNode("DeviceID") : nullptr;
  auto* value = dynamic_cast<GenApi::IValue*>(node);
  if (!value) {
    vxlog::LogTrace(TlLog(), vxlog::Warning,
                    "Device is opened but 'DeviceID' node not found. Performing a full probe.");
    return false;
  }
  deviceId.clear();
  try {
    const gcstring serial = value->ToString(false, true);
    CLProtocol::CDeviceID id;
    id.FromString(openId);
    if (serial == id.GetCameraSerialNumber())
      deviceId = openId;
    else
      FireRemoval(openId);
  } catch (const std::exception&) {
    deviceId.clear();
  }
  return true;
}

void CVorlaCLSerPort::Probe(gcstring& deviceId, const gcstring_vector* templates) {
  if (ProbeOpenDevice(deviceId))
    return;
  gcstring_vector allTemplates;
  if (!templates) {
    CLProtocol::CCLPort::GetDeviceIDTemplates(allTemplates);
    templates = &allTemplates;
  }
  CLockGuard<CRecursiveMutex> guard(m_lock);
  const bool reopen = m_pConnection != nullptr;
  if (reopen)
    CloseLocked(true);
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
    ReopenLocked();
  deviceId = answer;
}

} // namespace Vorla
