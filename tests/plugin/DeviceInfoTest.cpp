#include "VorlaCLSerTlDeviceInfoImpl.h"

#include <gtest/gtest.h>

using namespace Vorla;

TEST(DeviceInfo, CopiesKeepEveryPropertyAndAnyDeviceClass) {
  CDeviceInfo foreign;
  foreign.SetDeviceClass("OtherCameraLink");
  foreign.SetPropertyValue("VendorSpecific", "42");
  const CVorlaCLSerDeviceInfo copy(foreign);
  EXPECT_EQ(copy.GetDeviceClass(), "OtherCameraLink");
  gcstring value;
  EXPECT_TRUE(copy.GetPropertyValue("VendorSpecific", value));
  EXPECT_EQ(value, "42");

  CVorlaCLSerDeviceInfo assigned;
  assigned.SetPortID("A#1");
  assigned = copy;
  EXPECT_FALSE(assigned.IsPortIDAvailable());
  EXPECT_EQ(assigned.GetDeviceClass(), "OtherCameraLink");
}

// A record an application makes is user provided; one the transport layer found is not, in every
// copy.
TEST(DeviceInfo, EnumeratedRecordsAreNotUserProvided) {
  EXPECT_TRUE(CDeviceInfo().IsUserProvided());
  CVorlaCLSerTlDeviceInfoImpl found;
  EXPECT_FALSE(found.IsUserProvided());
  EXPECT_EQ(found.GetDeviceClass(), "HexmarCameraLink");
  const DeviceInfoList asHostSees{CDeviceInfo(found)};
  EXPECT_FALSE(asHostSees[0].IsUserProvided());
}
