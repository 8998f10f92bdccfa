#pragma once
#include <VorlaBase/InfoBase.h>

namespace Vorla {

//! A camera as a transport layer found it, or as a client names it.
class VORLABASE_API CDeviceInfo : public CInfoBase {
public:
  CInfoBase& SetPropertyValue(const gcstring& name, const gcstring& value) override;

  gcstring GetUserDefinedName() const { return Get(Key::UserDefinedName); }
  CDeviceInfo& SetUserDefinedName(const gcstring& v) { return Set(Key::UserDefinedName, v); }
  bool IsUserDefinedNameAvailable() const { return GetPropertyAvailable(Key::UserDefinedName); }
  gcstring GetSerialNumber() const { return Get(Key::SerialNumber); }
  CDeviceInfo& SetSerialNumber(const gcstring& v) { return Set(Key::SerialNumber, v); }
  bool IsSerialNumberAvailable() const { return GetPropertyAvailable(Key::SerialNumber); }
  gcstring GetDeviceFactory() const { return Get(Key::DeviceFactory); }
  CDeviceInfo& SetDeviceFactory(const gcstring& v) { return Set(Key::DeviceFactory, v); }
  bool IsDeviceFactoryAvailable() const { return GetPropertyAvailable(Key::DeviceFactory); }

private:
  CDeviceInfo& Set(const char* key, const gcstring& v) {
    SetPropertyValue(key, v);
    return *this;
  }
};

using DeviceInfoList = std::vector<CDeviceInfo>;

} // namespace Vorla
