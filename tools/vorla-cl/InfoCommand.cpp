#include "InfoCommand.h"

#include "CameraSelector.h"
#include "CameraSession.h"
#include "DriverLogRoute.h"
#include "NodeMapView.h"
#include "ToolError.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace VorlaCl {
namespace {} // namespace

int CInfoCommand::Run(CCameraSession& session, bool json) {
  nlohmann::json document = nlohmann::json::object();
  const auto Line = [&](const char* label, const std::string& value) {
    if (json)
      document[label] = value;
    else
      std::printf("%-24s %s\n", label, value.c_str());
  };
  Vorla::IVorlaDevice& device = session.OpenDevice();
  const Vorla::CDeviceInfo& record = session.Record();
  Vorla::gcstring portId, deviceId;
  record.GetPropertyValue("PortID", portId);
  record.GetPropertyValue("DeviceID", deviceId);
  Line("Friendly name", record.GetFriendlyName());
  Line("Full name", record.GetFullName());
  Line("Vendor", record.GetVendorName());
  Line("Model", record.GetModelName());
  Line("Serial number", CCameraSelector::SerialNumberOf(record));
  Line("Port", portId);
  Line("Device id", deviceId);
  Line("Device class", record.GetDeviceClass());

  const CNodeMapView view(device.GetNodeMap(), device.GetTLNodeMap());
  static const char* const features[] = {
      "DeviceVendorName",  "DeviceModelName",      "DeviceFamilyName",
      "DeviceVersion",     "DeviceSerialNumber",   "DeviceUserID",
      "DeviceTemperature", "ClSerialPortBaudRate", "AutoCloseTimeout"};
  for (const char* name : features)
    if (GenApi::INode* node = view.Find(name))
      if (GenApi::IsReadable(node->GetAccessMode()))
        Line(name, CNodeMapView::ValueText(*node));
  // Said only when known: a description file bound to the camera bypasses the driver.
  if (CDriverLogRoute::DescriptionFromCache())
    Line("Description", "from the description cache");
  if (json)
    std::printf("%s\n", document.dump(2).c_str());
  return ExitSuccess;
}

} // namespace VorlaCl
