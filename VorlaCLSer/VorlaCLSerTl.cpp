#include "VorlaCLSerTl.h"

#include <VorlaBase/Logging.h>

namespace Vorla {
namespace {
vxlog::CategoryID TlCategory() {
  static const vxlog::CategoryID id = vxlog::LogGetCatID("Vorla.CLSer.TL");
  return id;
}

[[noreturn]] void NotAvailable() {
  throw RUNTIME_EXCEPTION("Not available in this version of the Camera Link transport layer");
}
} // namespace

CVorlaCLSerTl::CVorlaCLSerTl() = default;

CVorlaCLSerTl::~CVorlaCLSerTl() {
  boost::recursive_mutex::scoped_lock guard(m_lock);
  DestroyAllDevices();
}

CTlInfo CVorlaCLSerTl::GetTlInfo() const { return GetCLSerTlInfo(); }

int CVorlaCLSerTl::InternalEnumerateDevices(DeviceInfoList&) { NotAvailable(); }

IVorlaDevice* CVorlaCLSerTl::InternalCreateDevice(const CDeviceInfo& info) {
  gcstring portId;
  if (!info.GetPropertyValue(CLSerKey::PortID, portId) || portId.empty()) {
    vxlog::LogTrace(TlCategory(), vxlog::Error, "Missing PortID property in device info of '%s'",
                    info.GetFullName().c_str());
    throw INVALID_ARGUMENT_EXCEPTION("Missing PortID property in device info of '%s'",
                                     info.GetFullName().c_str());
  }
  gcstring deviceId;
  if (!info.GetPropertyValue(CLSerKey::DeviceID, deviceId)) {
    vxlog::LogTrace(TlCategory(), vxlog::Error, "Missing DeviceID property in device info of '%s'",
                    info.GetFullName().c_str());
    throw RUNTIME_EXCEPTION("Missing DeviceID property in device info of '%s'",
                            info.GetFullName().c_str());
  }
  NotAvailable();
}

CDeviceInfo CVorlaCLSerTl::InternalCreateDeviceInfo() { return CVorlaCLSerDeviceInfo(); }

bool CVorlaCLSerTl::IsDeviceMatch(const CDeviceInfo& device, const CDeviceInfo& filterEntry) {
  return device.IsSubset(filterEntry);
}

gcstring CVorlaCLSerTl::GetDeviceClass() const { return CLSerDeviceClass; }

bool CVorlaCLSerTl::IsXMLFileAvailable(const CDeviceInfo&) { return false; }

void CVorlaCLSerTl::ProvideXMLFile(const CDeviceInfo&, gcstring&, gcstring&) { NotAvailable(); }

} // namespace Vorla
