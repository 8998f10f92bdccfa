#include "InfoCommand.h"

#include "CameraSelector.h"
#include "CameraSession.h"
#include "NodeMapView.h"
#include "ToolError.h"

#include <cstdio>

namespace VorlaCl {
namespace {

void Line(const char* label, const std::string& value) {
  std::printf("%-24s %s\n", label, value.c_str());
}

} // namespace

int CInfoCommand::Run(CCameraSession& session) {
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
  return ExitSuccess;
}

} // namespace VorlaCl
