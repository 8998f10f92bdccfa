#include "VorlaCLSerDevice.h"

#include "VorlaCLSerGuids.h"
#include "VorlaCLSerLog.h"
#include "VorlaCLSerPort.h"
#include "VorlaCLSerStreamGrabber.h"

#include <Base/GCException.h>
#include <CLProtocol/ClSerialTypes.h>
#include <GenApi/GenApi.h>

#include <atomic>
#include <cstdint>

namespace Vorla {
namespace {

// Removal-callback handles are unique across all devices of the process.
std::atomic<DeviceCallbackHandle> g_NextRemovalCallbackHandle{1001};

// The camera's baud-rate enumeration values and the Camera Link baud-rate bits they stand for.
// Value 16 has no row: such an entry is always disabled.
struct SBaudRateRow {
  int64_t m_EnumValue;
  CLUINT32 m_Bit;
};
constexpr SBaudRateRow BaudRateTable[] = {{15, CL_BAUDRATE_9600},   {17, CL_BAUDRATE_19200},
                                          {18, CL_BAUDRATE_38400},  {19, CL_BAUDRATE_57600},
                                          {20, CL_BAUDRATE_115200}, {21, CL_BAUDRATE_230400},
                                          {22, CL_BAUDRATE_460800}, {23, CL_BAUDRATE_921600}};

CLUINT32 BaudRateBit(int64_t enumValue) {
  for (const SBaudRateRow& row : BaudRateTable)
    if (row.m_EnumValue == enumValue)
      return row.m_Bit;
  return 0;
}

const char* const TlNodeMapXml = R"(<?xml version="1.0" encoding="utf-8"?>
<RegisterDescription ModelName="CLSerTransportLayer" VendorName="Hexmar" StandardNameSpace="None"
  ToolTip="Interface to the CLSer camera transport layer parameters"
  SchemaMajorVersion="1" SchemaMinorVersion="0" SchemaSubMinorVersion="0"
  MajorVersion="0" MinorVersion="0" SubMinorVersion="0"
  ProductGuid=")" VORLA_CLSER_PRODUCT_GUID R"(" VersionGuid=")" VORLA_CLSER_VERSION_GUID R"("
  xmlns="http://www.genicam.org/GenApi/Version_1_0"
  xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"
  xsi:schemaLocation="http://www.genicam.org/GenApi/Version_1_0 GenApiSchema.xsd">
  <Category Name="Root" NameSpace="Standard">
    <ToolTip>CLSer stream parameters</ToolTip>
    <Description>Change following values to adopt driver ressources.</Description>
    <pFeature>SerialPort</pFeature>
  </Category>
  <Category Name="SerialPort" NameSpace="Custom">
    <ToolTip>Parameter of the serial port.</ToolTip>
    <pFeature>AutoCloseTimeout</pFeature>
  </Category>
  <Integer Name="AutoCloseTimeout" NameSpace="Custom">
    <ToolTip>Auto Close Timeout</ToolTip>
    <Description>Automatically close the serial port after this amount of milliseconds of inactivity. A value of 0 will keep the port open.</Description>
    <DisplayName>Auto Close Timeout</DisplayName>
    <Value>0</Value>
    <Min>0</Min>
    <Max>86400</Max>
    <Representation>Linear</Representation>
  </Integer>
</RegisterDescription>
)";

gcstring Property(const CDeviceInfo& info, const char* key, bool& present) {
  gcstring value;
  present = info.GetPropertyValue(key, value);
  return value;
}

} // namespace

CVorlaCLSerDevice::CVorlaCLSerDevice(const CDeviceInfo& info, CVorlaCLSerPort& port)
    : GenApi::CNodeMapRef("Device"), m_DeviceInfo(info), m_pPort(&port) {}

CVorlaCLSerDevice::~CVorlaCLSerDevice() {
  if (m_IsOpen) {
    try {
      Close();
    } catch (...) {
      vxlog::LogTrace(DeviceLog(), vxlog::Error, "Exception in %s for Device '%s'.",
                      "Vorla::CVorlaCLSerDevice::~CVorlaCLSerDevice", m_Name.c_str());
    }
  }
  m_pStreamGrabber.reset();
  GenApi::AutoLock guard(m_Lock);
  DestroyAll(m_RemovalCallbacks);
}

void CVorlaCLSerDevice::Open(AccessModeSet /*mode*/) {
  const gcstring name = m_DeviceInfo.GetFriendlyName();
  bool present = false;
  const gcstring portId = Property(m_DeviceInfo, CLSerKey::PortID, present);
  if (!present) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error, "Cannot get PortID from device info.");
    throw RUNTIME_EXCEPTION("Cannot get device PortID from device info.");
  }
  const gcstring deviceId = Property(m_DeviceInfo, CLSerKey::DeviceID, present);
  if (!present) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error, "Cannot get DeviceID from device info.");
    throw RUNTIME_EXCEPTION("Cannot get device DeviceID from device info.");
  }
  if (m_IsOpen) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error,
                    "Device '%s' is already open and cannot be opened again.", name.c_str());
    throw LOGICAL_ERROR_EXCEPTION("Device '%s' is already open and cannot be opened again.",
                                  name.c_str());
  }
  // A port closed for inactivity keeps its device id and cannot be connected anew here: Open
  // then fails, as the port's own rules have it.
  if (!m_pPort->IsConnected() && !m_pPort->ConnectDevice(deviceId)) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error, "Could not open CLPort for device '%s'.",
                    name.c_str());
    throw RUNTIME_EXCEPTION("Could not open CLPort '%s' for device '%s'.", portId.c_str(),
                            name.c_str());
  }
  m_pPort->SetDeviceName(name);
  m_pPort->SetRemovalSink(this);
  {
    GenApi::AutoLock guard(m_Lock);
    m_pRemovalLink = this;
    m_Name = name;
    m_IsOpen = true;
  }
  RestrictBaudRates();
  vxlog::LogTrace(DeviceLog(), vxlog::Notable, "Device '%s' opened", name.c_str());
}

// Disables the camera's baud rates that the serial port cannot do and sets the initial rate:
// the configured one, else the fastest that both support. Problems are logged, never thrown.
void CVorlaCLSerDevice::RestrictBaudRates() {
  if (!_Ptr)
    throw LOGICAL_ERROR_EXCEPTION("NULL pointer dereferenced");
  auto* baudRate = dynamic_cast<GenApi::IEnumeration*>(_Ptr->GetNode("ClSerialPortBaudRate"));
  if (!baudRate)
    return;
  uint32_t mask = 0; // 0 when the port cannot say
  m_pPort->SupportedBaudRates(mask);

  int64_t largest = 0;
  GenApi::NodeList_t entries;
  baudRate->GetEntries(entries);
  for (GenApi::INode* node : entries) {
    auto* entry = dynamic_cast<GenApi::IEnumEntry*>(node);
    if (!entry)
      continue;
    const int64_t value = entry->GetValue();
    if (static_cast<uint64_t>(value) > 255) {
      vxlog::LogTrace(DeviceLog(), vxlog::Error, "Invalid EnumValue '%s' ",
                      entry->GetSymbolic().c_str());
      continue;
    }
    if ((mask & BaudRateBit(value)) == 0) {
      node->ImposeAccessMode(GenApi::NA);
      vxlog::LogTrace(DeviceLog(), vxlog::Progress,
                      "Disabled EnumValue '%s' for device '%s' since the CLPort doesn't support "
                      "it.",
                      entry->GetSymbolic().c_str(), m_Name.c_str());
    } else if (value > largest) {
      largest = value;
    }
  }

  bool present = false;
  const gcstring initial = Property(m_DeviceInfo, CLSerKey::InitialBaudRate, present);
  if (present && !initial.empty()) {
    try {
      baudRate->FromString(initial, true);
    } catch (const std::exception& e) {
      vxlog::LogTrace(DeviceLog(), vxlog::Warning,
                      "Could not set initial baud rate to '%s' for device '%s' Error='%s'.",
                      initial.c_str(), m_Name.c_str(), DescriptionOf(e));
    }
  } else {
    try {
      baudRate->SetIntValue(largest, true);
    } catch (const std::exception& e) {
      vxlog::LogTrace(DeviceLog(), vxlog::Warning,
                      "Could not set initial baud rate to %I64i for device '%s' Error='%s'.",
                      largest, m_Name.c_str(), DescriptionOf(e));
    }
  }
}

void CVorlaCLSerDevice::Close() {
  if (!m_IsOpen) {
    vxlog::LogTrace(DeviceLog(), vxlog::Warning,
                    "Device '%s' is not open and therefore won't be closed again.", m_Name.c_str());
    throw LOGICAL_ERROR_EXCEPTION("Device '%s' is not open and cannot be closed.", m_Name.c_str());
  }
  // The handle is kept: a reopened device no longer follows AutoCloseTimeout.
  if (m_hAutoCloseTimeoutCallback != 0)
    if (GenApi::INode* node = m_TlNodeMap._GetNode("AutoCloseTimeout"))
      node->DeregisterCallback(m_hAutoCloseTimeoutCallback);
  m_pPort->SetAutoCloseTimeout(0);
  m_pPort->CancelAutoClose();
  if (m_pPort->IsConnected())
    m_pPort->Close(false);
  {
    GenApi::AutoLock guard(m_Lock);
    m_pRemovalLink = nullptr;
  }
  m_pPort->SetRemovalSink(nullptr);
  m_IsOpen = false;
}

bool CVorlaCLSerDevice::IsOpen() const {
  return m_IsOpen;
}

AccessModeSet CVorlaCLSerDevice::GetAccessMode() const {
  return m_AccessMode;
}

const CDeviceInfo& CVorlaCLSerDevice::GetDeviceInfo() const {
  return m_DeviceInfo;
}

uint32_t CVorlaCLSerDevice::GetNumStreamGrabberChannels() {
  if (m_NumStreamGrabberChannels < 0) {
    bool present = false;
    const gcstring parameters = Property(m_DeviceInfo, CLSerKey::DeviceSpecificString, present);
    if (!present) {
      vxlog::LogTrace(DeviceLog(), vxlog::Error,
                      "Cannot get DeviceSpecificString from device info.");
      throw RUNTIME_EXCEPTION("Cannot get DeviceSpecificString from device info.");
    }
    try {
      m_pStreamGrabber = std::make_unique<CVorlaCLSerStreamGrabber>(parameters, this);
      m_NumStreamGrabberChannels = 1;
    } catch (const std::exception&) {
      m_NumStreamGrabberChannels = 0; // the grabber logged why
    }
  }
  return static_cast<uint32_t>(m_NumStreamGrabberChannels);
}

IStreamGrabber* CVorlaCLSerDevice::GetStreamGrabber(uint32_t index) {
  if (index < GetNumStreamGrabberChannels())
    return m_pStreamGrabber.get();
  vxlog::LogTrace(DeviceLog(), vxlog::Warning,
                  "Invalid StreamIndex %u passed. StreamIndex must be less "
                  "GetNumStreamGrabberChannels()!",
                  index);
  return nullptr;
}

void* CVorlaCLSerDevice::GetEventGrabber() {
  return nullptr;
}

GenApi::INodeMap* CVorlaCLSerDevice::GetNodeMap() {
  return _Ptr;
}

GenApi::INodeMap* CVorlaCLSerDevice::GetTLNodeMap() {
  if (m_TlNodeMapLoaded)
    return m_TlNodeMap._Ptr;
  try {
    m_TlNodeMap._LoadXMLFromString(TlNodeMapXml);
    // The description has no registers, so there is no port to connect.
    m_TlNodeMapLoaded = true;
    GenApi::INode* node = m_TlNodeMap._GetNode("AutoCloseTimeout");
    m_hAutoCloseTimeoutCallback = GenApi::Register(
        node, *this, &CVorlaCLSerDevice::OnAutoCloseTimeoutChanged, GenApi::cbPostInsideLock);
    return m_TlNodeMap._Ptr;
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error, "Could not load TL nodemap. Error: '%s'",
                    e.GetDescription());
  } catch (const std::exception& e) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error,
                    "Unknown error while loading TL nodemap. Error: '%s'", e.what());
  }
  m_TlNodeMap._Destroy();
  m_TlNodeMapLoaded = false;
  return nullptr;
}

// Runs inside the node map's lock, on whatever thread writes the node.
void CVorlaCLSerDevice::OnAutoCloseTimeoutChanged(GenApi::INode* node) {
  auto* timeout = dynamic_cast<GenApi::IInteger*>(node);
  if (!timeout)
    return;
  const int64_t ms = timeout->GetValue(false, false);
  if (ms >= 0 && ms <= static_cast<int64_t>(UINT32_MAX))
    m_pPort->SetAutoCloseTimeout(static_cast<uint32_t>(ms));
}

void* CVorlaCLSerDevice::CreateChunkParser() {
  return nullptr;
}
void CVorlaCLSerDevice::DestroyChunkParser(void*) {}
void* CVorlaCLSerDevice::CreateEventAdapter() {
  return nullptr;
}
void CVorlaCLSerDevice::DestroyEventAdapter(void*) {}

DeviceCallbackHandle CVorlaCLSerDevice::RegisterRemovalCallback(DeviceCallback& callback) {
  if (!m_IsOpen)
    throw LOGICAL_ERROR_EXCEPTION("Illegal Camera Status, camera not open");
  DeviceCallbackHandle handle;
  {
    GenApi::AutoLock guard(m_Lock);
    handle = g_NextRemovalCallbackHandle++;
    m_RemovalCallbacks.emplace_back(handle, callback.Clone());
  }
  vxlog::LogTrace(DeviceLog(), vxlog::Progress, "Registred removal callback with handle %u",
                  static_cast<unsigned>(handle));
  return handle;
}

bool CVorlaCLSerDevice::DeregisterRemovalCallback(DeviceCallbackHandle handle) {
  if (!m_IsOpen)
    throw LOGICAL_ERROR_EXCEPTION("Illegal Camera Status, camera not open");
  vxlog::LogTrace(DeviceLog(), vxlog::Progress, "Deregistering removal callback with handle %u",
                  static_cast<unsigned>(handle));
  GenApi::AutoLock guard(m_Lock);
  for (auto it = m_RemovalCallbacks.begin(); it != m_RemovalCallbacks.end(); ++it)
    if (it->first == handle) {
      it->second->Destroy();
      m_RemovalCallbacks.erase(it);
      return true;
    }
  return false;
}

// Called by the port on the thread that detected the removal, possibly with the port lock held.
// The callbacks run on a copy, without the device lock, so that they may deregister.
void CVorlaCLSerDevice::NotifyRemoval() {
  try {
    vxlog::LogTrace(DeviceLog(), vxlog::Progress,
                    "Removal detected. Calling registered removal callbacks.");
    CallbackList copy;
    IVorlaDevice* device;
    {
      GenApi::AutoLock guard(m_Lock);
      if (!m_pRemovalLink)
        return;
      copy.reserve(m_RemovalCallbacks.size());
      for (const auto& entry : m_RemovalCallbacks)
        copy.emplace_back(entry.first, entry.second->Clone());
      device = m_pRemovalLink;
      m_pRemovalLink = nullptr;
    }
    for (const auto& entry : copy) {
      try {
        (*entry.second)(device);
      } catch (...) {
        // one failing callback does not keep the others from being told
      }
    }
    DestroyAll(copy);
  } catch (const std::exception& e) {
    vxlog::LogTrace(DeviceLog(), vxlog::Error, "Error during execution of removal callbacks. '%s'",
                    DescriptionOf(e));
  }
}

void CVorlaCLSerDevice::DestroyAll(CallbackList& callbacks) {
  for (auto& entry : callbacks)
    entry.second->Destroy();
  callbacks.clear();
}

void CVorlaCLSerDevice::LoadXMLFromFile(const gcstring& path) {
  _LoadXMLFromFile(path);
  ConnectCameraNodeMap();
}

// Only the first injected text is merged; further ones are ignored on purpose.
void CVorlaCLSerDevice::LoadXMLFromString(const gcstring& xml, const gcstring_vector& injectedXml) {
  if (injectedXml.empty())
    _LoadXMLFromString(xml);
  else
    _LoadXMLFromStringInject(xml, injectedXml.front());
  ConnectCameraNodeMap();
}

void CVorlaCLSerDevice::ConnectCameraNodeMap() {
  _Connect(m_pPort, "Device");
}

void CVorlaCLSerDevice::DestroySelf() {
  delete this;
}

} // namespace Vorla
