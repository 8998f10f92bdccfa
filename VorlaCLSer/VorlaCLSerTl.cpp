#include "VorlaCLSerTl.h"

#include "VorlaCLSerDevice.h"
#include "VorlaCLSerLog.h"
#include "VorlaCLSerPort.h"

#include <CLProtocol/CLPort.h>
#include <CLProtocol/DeviceID.h>

#include <cstring>

namespace Vorla {
namespace {
// Reads a property that the description provider needs, or raises its missing-property error.
gcstring RequiredProperty(const CDeviceInfo& info, const char* key) {
  gcstring value;
  if (!info.GetPropertyValue(key, value))
    throw RUNTIME_EXCEPTION("Missing %s property in device info", key);
  return value;
}

} // namespace

CVorlaCLSerTl::CVorlaCLSerTl()
    : m_discovery(
          m_portConfiguration,
          [this](const gcstring& id) -> CVorlaCLSerPort& { return GetPort(id); }, m_lock) {}

CVorlaCLSerTl::~CVorlaCLSerTl() {
  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  DestroyAllDevices();
  while (!m_ports.empty()) {
    const auto it = m_ports.begin();
    it->second->Close(false);
    m_ports.erase(it);
  }
}

CTlInfo CVorlaCLSerTl::GetTlInfo() const {
  return GetCLSerTlInfo();
}

CVorlaCLSerPort& CVorlaCLSerTl::GetPort(const gcstring& portId) {
  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  auto& port = m_ports[portId];
  if (!port)
    port = std::make_unique<CVorlaCLSerPort>(portId);
  return *port;
}

SEnumerationReport CVorlaCLSerTl::GetLastEnumerationReport() const {
  return m_discovery.GetLastReport();
}

int CVorlaCLSerTl::InternalEnumerateDevices(DeviceInfoList& list) {
  return m_discovery.EnumerateDevices(list);
}

IVorlaDevice* CVorlaCLSerTl::InternalCreateDevice(const CDeviceInfo& info) {
  gcstring portId;
  if (!info.GetPropertyValue(CLSerKey::PortID, portId) || portId.empty()) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Missing PortID property in device info of '%s'",
                    info.GetFullName().c_str());
    throw INVALID_ARGUMENT_EXCEPTION("Missing PortID property in device info of '%s'",
                                     info.GetFullName().c_str());
  }
  gcstring deviceId;
  if (!info.GetPropertyValue(CLSerKey::DeviceID, deviceId)) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Missing DeviceID property in device info of '%s'",
                    info.GetFullName().c_str());
    throw RUNTIME_EXCEPTION("Missing DeviceID property in device info of '%s'",
                            info.GetFullName().c_str());
  }
  CVorlaCLSerPort& port = GetPort(portId);
  if (!port.ConnectDevice(deviceId)) {
    vxlog::LogTrace(TlLog(), vxlog::Error,
                    "Could not open CLPort with PortID '%s' and DeviceID '%s'.", portId.c_str(),
                    deviceId.c_str());
    throw RUNTIME_EXCEPTION("Could not open CLPort with PortID '%s' and DeviceID '%s'.",
                            portId.c_str(), deviceId.c_str());
  }
  vxlog::LogTrace(TlLog(), vxlog::Progress,
                  "Successfully opend CLPort with PortID '%s' and DeviceID '%s'.", portId.c_str(),
                  deviceId.c_str());
  return new CVorlaCLSerDevice(info, port);
}

CDeviceInfo CVorlaCLSerTl::InternalCreateDeviceInfo() {
  return CVorlaCLSerDeviceInfo();
}

bool CVorlaCLSerTl::IsDeviceMatch(const CDeviceInfo& device, const CDeviceInfo& filterEntry) {
  return device.IsSubset(filterEntry);
}

gcstring CVorlaCLSerTl::GetDeviceClass() const {
  return CLSerDeviceClass;
}

bool CVorlaCLSerTl::IsXMLFileAvailable(const CDeviceInfo& info) {
  try {
    const gcstring portId = RequiredProperty(info, CLSerKey::PortID);
    const gcstring deviceId = RequiredProperty(info, CLSerKey::DeviceID);
    return GetPort(portId).HasXML(deviceId);
  } catch (const std::exception& e) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Exception while calling CCLPort::GetXML error: '%s'",
                    DescriptionOf(e));
  } catch (...) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Unspecified exception while calling CCLPort::GetXML");
  }
  return false;
}

void CVorlaCLSerTl::ProvideXMLFile(const CDeviceInfo& info, gcstring& /*fileName*/, gcstring& xml) {
  gcstring result;
  try {
    const gcstring portId = RequiredProperty(info, CLSerKey::PortID);
    const gcstring deviceId = RequiredProperty(info, CLSerKey::DeviceID);
    GetPort(portId).GetXML(result, deviceId);
  } catch (const std::exception& e) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Exception while calling CCLPort::GetXML error: '%s'",
                    DescriptionOf(e));
    throw RUNTIME_EXCEPTION("Could not get XML for device '%s' (%s)",
                            info.GetFriendlyName().c_str(), DescriptionOf(e));
  }
  if (result.empty()) {
    vxlog::LogTrace(TlLog(), vxlog::Warning, "ProvideXMLFile will return an empty string!");
    throw RUNTIME_EXCEPTION("Could not get XML for device '%s'", info.GetFriendlyName().c_str());
  }
  char prefix[501];
  std::strncpy(prefix, result.c_str(), 500);
  prefix[500] = '\0';
  vxlog::LogTrace(TlLog(), vxlog::Detail, "Downloaded XML starts with '%s'...", prefix);
  xml = result;
}

} // namespace Vorla
