#include <vorla/VorlaCLSerDeviceInfo.h>

namespace Vorla {

CVorlaCLSerDeviceInfo::CVorlaCLSerDeviceInfo() { SetDeviceClass(CLSerDeviceClass); }
CVorlaCLSerDeviceInfo::CVorlaCLSerDeviceInfo(const CDeviceInfo& info) : CDeviceInfo(info) {}
CVorlaCLSerDeviceInfo::CVorlaCLSerDeviceInfo(const CVorlaCLSerDeviceInfo& info)
  : CDeviceInfo(info) {}
CVorlaCLSerDeviceInfo& CVorlaCLSerDeviceInfo::operator=(const CVorlaCLSerDeviceInfo& info) {
  CDeviceInfo::operator=(info);
  return *this;
}
CVorlaCLSerDeviceInfo::~CVorlaCLSerDeviceInfo() = default;

GenICam::gcstring CVorlaCLSerDeviceInfo::GetKey(const char* key) const {
  GenICam::gcstring value;
  return GetPropertyValue(key, value) ? value : GenICam::gcstring(PropertyNotAvailable);
}

CVorlaCLSerDeviceInfo& CVorlaCLSerDeviceInfo::SetKey(const char* key,
                                                     const GenICam::gcstring& value) {
  SetPropertyValue(key, value);
  return *this;
}

#define VORLA_CLSER_ACCESSORS(Name)                                                              \
  GenICam::gcstring CVorlaCLSerDeviceInfo::Get##Name() const { return GetKey(CLSerKey::Name); } \
  CVorlaCLSerDeviceInfo& CVorlaCLSerDeviceInfo::Set##Name(const GenICam::gcstring& value) {    \
    return SetKey(CLSerKey::Name, value);                                                      \
  }                                                                                            \
  bool CVorlaCLSerDeviceInfo::Is##Name##Available() const {                                    \
    return GetPropertyAvailable(CLSerKey::Name);                                               \
  }

VORLA_CLSER_ACCESSORS(PortID)
VORLA_CLSER_ACCESSORS(DeviceID)
VORLA_CLSER_ACCESSORS(InitialBaudRate)
VORLA_CLSER_ACCESSORS(DeviceXMLFileOverride)
VORLA_CLSER_ACCESSORS(DeviceSpecificString)
VORLA_CLSER_ACCESSORS(PortSpecificString)

#undef VORLA_CLSER_ACCESSORS

} // namespace Vorla
