#pragma once
// The device-info record of Camera Link serial cameras, with typed access to its own keys.
#include <VorlaBase/DeviceInfo.h>
#include <vorla/VorlaCLSerDef.h>

namespace Vorla {

// Keys of the Camera Link serial properties.
namespace CLSerKey {
constexpr const char* PortID = "PortID";
constexpr const char* DeviceID = "DeviceID";
constexpr const char* InitialBaudRate = "InitialBaudRate";
constexpr const char* DeviceXMLFileOverride = "DeviceXMLFileOverride";
constexpr const char* DeviceSpecificString = "DeviceSpecificString";
constexpr const char* PortSpecificString = "PortSpecificString";
} // namespace CLSerKey

//! The device class of every record of this transport layer.
constexpr const char* CLSerDeviceClass = "HexmarCameraLink";

class VORLACLSER_API CVorlaCLSerDeviceInfo : public CDeviceInfo {
public:
  //! An empty record of device class "HexmarCameraLink".
  CVorlaCLSerDeviceInfo();
  //! Copies every property, whatever its device class.
  CVorlaCLSerDeviceInfo(const CDeviceInfo& info);
  CVorlaCLSerDeviceInfo(const CVorlaCLSerDeviceInfo& info);
  CVorlaCLSerDeviceInfo& operator=(const CVorlaCLSerDeviceInfo& info);
  ~CVorlaCLSerDeviceInfo() override;

  // Getters answer CInfoBase::PropertyNotAvailable for an absent key.
  GenICam::gcstring GetPortID() const;
  CVorlaCLSerDeviceInfo& SetPortID(const GenICam::gcstring& value);
  bool IsPortIDAvailable() const;
  GenICam::gcstring GetDeviceID() const;
  CVorlaCLSerDeviceInfo& SetDeviceID(const GenICam::gcstring& value);
  bool IsDeviceIDAvailable() const;
  GenICam::gcstring GetInitialBaudRate() const;
  CVorlaCLSerDeviceInfo& SetInitialBaudRate(const GenICam::gcstring& value);
  bool IsInitialBaudRateAvailable() const;
  GenICam::gcstring GetDeviceXMLFileOverride() const;
  CVorlaCLSerDeviceInfo& SetDeviceXMLFileOverride(const GenICam::gcstring& value);
  bool IsDeviceXMLFileOverrideAvailable() const;
  GenICam::gcstring GetDeviceSpecificString() const;
  CVorlaCLSerDeviceInfo& SetDeviceSpecificString(const GenICam::gcstring& value);
  bool IsDeviceSpecificStringAvailable() const;
  GenICam::gcstring GetPortSpecificString() const;
  CVorlaCLSerDeviceInfo& SetPortSpecificString(const GenICam::gcstring& value);
  bool IsPortSpecificStringAvailable() const;

private:
  GenICam::gcstring GetKey(const char* key) const;
  CVorlaCLSerDeviceInfo& SetKey(const char* key, const GenICam::gcstring& value);
};

} // namespace Vorla
