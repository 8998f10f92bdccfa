#pragma once
// A record of string properties: transport-layer and device information.
#include <Base/GCString.h>
#include <VorlaBase/VorlaBaseDef.h>

#include <utility>
#include <vector>

namespace Vorla {

using GenICam::gcstring;
using GenICam::gcstring_vector;

// Standard property keys.
namespace Key {
constexpr const char* DeviceClass = "DeviceClass";
constexpr const char* FullName = "FullName";
constexpr const char* VendorName = "VendorName";
constexpr const char* ModelName = "ModelName";
constexpr const char* UserDefinedName = "UserDefinedName";
constexpr const char* SerialNumber = "SerialNumber";
constexpr const char* FriendlyName = "FriendlyName";
constexpr const char* DeviceFactory = "DeviceFactory";
constexpr const char* Version = "Version";
} // namespace Key

class CInfoImpl;

class VORLABASE_API CInfoBase {
public:
  //! What the getters of absent properties answer.
  static const char* const PropertyNotAvailable;

  CInfoBase();
  CInfoBase(const CInfoBase&);
  CInfoBase& operator=(const CInfoBase&);

  //! Appends the names of all present properties, in the order they were first set.
  virtual unsigned int GetPropertyNames(gcstring_vector& names) const;
  virtual bool GetPropertyAvailable(const gcstring& name) const;
  //! Fills `value` and answers true when the property is present; leaves it alone otherwise.
  virtual bool GetPropertyValue(const gcstring& name, gcstring& value) const;
  virtual CInfoBase& SetPropertyValue(const gcstring& name, const gcstring& value);
  //! True when every property of `subset` is present here with an equal value.
  virtual bool IsSubset(const CInfoBase& subset) const;
  //! True for records filled in by a client, false for records a transport layer found.
  virtual bool IsUserProvided() const;
  virtual ~CInfoBase();

  gcstring GetDeviceClass() const { return Get(Key::DeviceClass); }
  CInfoBase& SetDeviceClass(const gcstring& v) { return SetPropertyValue(Key::DeviceClass, v); }
  bool IsDeviceClassAvailable() const { return GetPropertyAvailable(Key::DeviceClass); }
  gcstring GetFullName() const { return Get(Key::FullName); }
  CInfoBase& SetFullName(const gcstring& v) { return SetPropertyValue(Key::FullName, v); }
  bool IsFullNameAvailable() const { return GetPropertyAvailable(Key::FullName); }
  gcstring GetVendorName() const { return Get(Key::VendorName); }
  CInfoBase& SetVendorName(const gcstring& v) { return SetPropertyValue(Key::VendorName, v); }
  bool IsVendorNameAvailable() const { return GetPropertyAvailable(Key::VendorName); }
  gcstring GetModelName() const { return Get(Key::ModelName); }
  CInfoBase& SetModelName(const gcstring& v) { return SetPropertyValue(Key::ModelName, v); }
  bool IsModelNameAvailable() const { return GetPropertyAvailable(Key::ModelName); }
  gcstring GetFriendlyName() const { return Get(Key::FriendlyName); }
  CInfoBase& SetFriendlyName(const gcstring& v) { return SetPropertyValue(Key::FriendlyName, v); }
  bool IsFriendlyNameAvailable() const { return GetPropertyAvailable(Key::FriendlyName); }

protected:
  //! The value, or PropertyNotAvailable.
  gcstring Get(const char* key) const;

private:
  friend class CInfoImpl;
  std::vector<std::pair<gcstring, gcstring>> m_properties;
  bool m_userProvided = true;
};

} // namespace Vorla
