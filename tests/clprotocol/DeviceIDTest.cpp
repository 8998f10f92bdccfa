#include "TestSupport.h"

#include <CLProtocol/CLException.h>
#include <CLProtocol/DeviceID.h>

#include <gtest/gtest.h>

using CLProtocol::CDeviceID;

// DeviceIDs as GenICam's reference CLProtocol module writes and reads them: token 0 is the folder
// that holds the driver, camera tokens take anything but '#', and what is malformed is refused
// cleanly, leaving every token empty. Expected: driver path and short DeviceID, empty = refused.
TEST(DeviceID, ParsesLikeTheReferenceModuleAndRefusesMalformedText) {
  const struct {
    const char* text;
    const char* driverPath;
    const char* shortID;
  } rows[] = {
      {"/opt/v/Linux64_x64#libGenCP.so#Hexmar#Orca#M12#Version.1.0.0#SN-0001",
       "/opt/v/Linux64_x64/libGenCP.so", "Hexmar#Orca#M12#Version.1.0.0#SN-0001"},
      {"/opt/v/Linux64_x64#libGenCP.so#Hexmar", "/opt/v/Linux64_x64/libGenCP.so", "Hexmar"},
      {"/d#libX.so#Hex mar#Fam/ily#Mod@el#$(HOME)#S\xc3\xa9", "/d/libX.so",
       "Hex mar#Fam/ily#Mod@el#$(HOME)#S\xc3\xa9"},
      {"/d#libX.so#Hexmar##Model", "/d/libX.so", "Hexmar##Model"},
      {"", "", ""},
      {"/d", "", ""},                        // one token
      {"/d#libX.so", "", ""},                // two tokens: no manufacturer
      {"/d#libX.so#", "", ""},               // empty manufacturer
      {"/d#libX.so#A#B#C#D#E#F", "", ""},    // eight tokens
      {"/d#../libX.so#Hexmar", "", ""},      // file name with a path
      {"/d#..#Hexmar", "", ""},              //
      {"/d##Hexmar", "", ""},                // no file name
      {"/d\n#libX.so#Hexmar", "", ""},       // control character in the directory
      {"/d#libX.so#Hexmar#Fa\tmily", "", ""} // and in a camera token
  };
  for (const auto& row : rows) {
    CDeviceID id;
    ASSERT_TRUE(id.FromString("/ok#libOk.so#Good#Family"));
    EXPECT_EQ(id.FromString(row.text), *row.driverPath != 0) << row.text;
    EXPECT_EQ(id.GetDriverPath(), row.driverPath) << row.text;
    EXPECT_EQ(id.GetShortDeviceID(), row.shortID) << row.text;
    EXPECT_EQ(id.ToString(), *row.driverPath ? row.text : "") << row.text;
  }
  CDeviceID id;
  ASSERT_TRUE(id.FromString("/opt/v/Linux64_x64#libGenCP.so#Hexmar#Orca#M12#1.0#SN-1"));
  EXPECT_EQ(id.GetDriverDirectory(), "/opt/v/Linux64_x64");
  EXPECT_EQ(id.GetDriverFileName(), "libGenCP.so");
  EXPECT_EQ(id.GetCameraManufacturer(), "Hexmar");
  EXPECT_EQ(id.GetCameraFamily(), "Orca");
  EXPECT_EQ(id.GetCameraModel(), "M12");
  EXPECT_EQ(id.GetCameraVersion(), "1.0");
  EXPECT_EQ(id.GetCameraSerialNumber(), "SN-1");
  EXPECT_EQ(CDeviceID().GetDriverPath(), "");
}

TEST(DeviceID, DirectoryExpandsEnvironmentOnlyWhenAsked) {
  const testsupport::CEnvGuard folder("VORLA_TEST_DRVDIR", "/srv/clp");
  CDeviceID id;
  ASSERT_TRUE(id.FromString("$(VORLA_TEST_DRVDIR)/Linux64_x64#libX.so#Hexmar"));
  EXPECT_EQ(id.GetDriverDirectory(), "/srv/clp/Linux64_x64");
  EXPECT_EQ(id.GetDriverDirectory(false), "$(VORLA_TEST_DRVDIR)/Linux64_x64");
  EXPECT_EQ(id.GetDriverPath(), "/srv/clp/Linux64_x64/libX.so");
  EXPECT_EQ(id.GetDriverPath(false), "$(VORLA_TEST_DRVDIR)/Linux64_x64/libX.so");
}

TEST(CLErrException, CarriesCodeTypeAndPlace) {
  try {
    throw CLERR_EXCEPTION("Timeout").SetCLErrorCode(CL_ERR_TIMEOUT);
  } catch (const GenICam::GenericException& e) {
    const auto* cl = dynamic_cast<const CLProtocol::CLErrException*>(&e);
    ASSERT_NE(cl, nullptr);
    EXPECT_EQ(cl->GetCLErrorCode(), CL_ERR_TIMEOUT);
    EXPECT_STREQ(e.GetDescription(), "Timeout");
    EXPECT_STREQ(e.GetExceptionType(), "CLErrException");
    EXPECT_STREQ(e.GetSourceFileName(), "DeviceIDTest.cpp");
    EXPECT_NE(std::string(e.what()).find("CLErrException"), std::string::npos);
  }
  EXPECT_EQ(CLProtocol::CLErrException("x", "f", 1).GetCLErrorCode(), CL_ERR_NO_ERR);
}
