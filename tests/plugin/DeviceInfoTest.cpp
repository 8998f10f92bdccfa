#include "VorlaCLSerTlDeviceInfoImpl.h"

#include <gtest/gtest.h>

using namespace Vorla;

TEST(DeviceInfo, EachFamilyReadsAndWritesItsOwnKey) {
  struct Family {
    const char* key;
    CVorlaCLSerDeviceInfo& (CVorlaCLSerDeviceInfo::*set)(const gcstring&);
    gcstring (CVorlaCLSerDeviceInfo::*get)() const;
    bool (CVorlaCLSerDeviceInfo::*available)() const;
  };
  const Family families[] = {
      {"PortID", &CVorlaCLSerDeviceInfo::SetPortID, &CVorlaCLSerDeviceInfo::GetPortID,
       &CVorlaCLSerDeviceInfo::IsPortIDAvailable},
      {"DeviceID", &CVorlaCLSerDeviceInfo::SetDeviceID, &CVorlaCLSerDeviceInfo::GetDeviceID,
       &CVorlaCLSerDeviceInfo::IsDeviceIDAvailable},
      {"InitialBaudRate", &CVorlaCLSerDeviceInfo::SetInitialBaudRate,
       &CVorlaCLSerDeviceInfo::GetInitialBaudRate,
       &CVorlaCLSerDeviceInfo::IsInitialBaudRateAvailable},
      {"DeviceXMLFileOverride", &CVorlaCLSerDeviceInfo::SetDeviceXMLFileOverride,
       &CVorlaCLSerDeviceInfo::GetDeviceXMLFileOverride,
       &CVorlaCLSerDeviceInfo::IsDeviceXMLFileOverrideAvailable},
      {"DeviceSpecificString", &CVorlaCLSerDeviceInfo::SetDeviceSpecificString,
       &CVorlaCLSerDeviceInfo::GetDeviceSpecificString,
       &CVorlaCLSerDeviceInfo::IsDeviceSpecificStringAvailable},
      {"PortSpecificString", &CVorlaCLSerDeviceInfo::SetPortSpecificString,
       &CVorlaCLSerDeviceInfo::GetPortSpecificString,
       &CVorlaCLSerDeviceInfo::IsPortSpecificStringAvailable},
  };
  for (const Family& f : families) {
    CVorlaCLSerDeviceInfo info;
    EXPECT_FALSE((info.*f.available)()) << f.key;
    CVorlaCLSerDeviceInfo& chained = (info.*f.set)(gcstring("v-") + f.key);
    EXPECT_EQ(&chained, &info);
    EXPECT_TRUE((info.*f.available)()) << f.key;
    EXPECT_EQ((info.*f.get)(), gcstring("v-") + f.key);
    gcstring raw;
    EXPECT_TRUE(info.GetPropertyValue(f.key, raw)); // exactly this key, spelled so
    EXPECT_EQ(raw, gcstring("v-") + f.key);
    gcstring_vector names;
    EXPECT_EQ(info.GetPropertyNames(names), 2u) << f.key; // device class + this key only
  }
}

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

TEST(DeviceInfo, EnumeratedRecordsAreNotUserProvided) {
  CVorlaCLSerTlDeviceInfoImpl found;
  EXPECT_FALSE(found.IsUserProvided());
  EXPECT_EQ(found.GetDeviceClass(), "HexmarCameraLink");
  const CDeviceInfo asHostSees(found);
  EXPECT_FALSE(asHostSees.IsUserProvided());
}
