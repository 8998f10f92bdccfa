#include <VorlaBase/DeviceInfo.h>

#include <gtest/gtest.h>

using namespace Vorla;

// An absent property answers the marker; setting one replaces its value and keeps its place.
TEST(InfoBase, AbsentPropertiesAnswerTheMarkerAndSetReplacesKeepingTheFirstOrder) {
  CDeviceInfo info;
  gcstring value = "untouched";
  EXPECT_FALSE(info.GetPropertyValue("PortID", value));
  EXPECT_EQ(value, "untouched");
  EXPECT_EQ(info.GetSerialNumber(), CInfoBase::PropertyNotAvailable);
  EXPECT_FALSE(info.IsSerialNumberAvailable());
  info.SetSerialNumber("");
  EXPECT_TRUE(info.IsSerialNumberAvailable());
  EXPECT_EQ(info.GetSerialNumber(), "");
  info.SetDeviceClass("A").SetFullName("F");
  info.SetSerialNumber("B");
  gcstring_vector names;
  EXPECT_EQ(info.GetPropertyNames(names), 3u);
  EXPECT_EQ(names, (gcstring_vector{"SerialNumber", "DeviceClass", "FullName"}));
  EXPECT_EQ(info.GetSerialNumber(), "B");
}

TEST(InfoBase, SubsetNeedsEveryFilterPropertyWithAnEqualValue) {
  CDeviceInfo device;
  device.SetDeviceClass("HexmarCameraLink");
  device.SetFullName("P|x");
  device.SetUserDefinedName("");
  CDeviceInfo empty;
  EXPECT_TRUE(device.IsSubset(empty)); // an empty entry matches everything
  CDeviceInfo filter;
  filter.SetDeviceClass("HexmarCameraLink");
  EXPECT_TRUE(device.IsSubset(filter));
  filter.SetUserDefinedName("");
  EXPECT_TRUE(device.IsSubset(filter));
  filter.SetSerialNumber(""); // absent in the device, even if empty in the filter
  EXPECT_FALSE(device.IsSubset(filter));
  CDeviceInfo other;
  other.SetDeviceClass("hexmarcameralink");
  EXPECT_FALSE(device.IsSubset(other));
}
