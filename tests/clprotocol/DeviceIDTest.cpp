#include <CLProtocol/CLException.h>
#include <CLProtocol/DeviceID.h>

#include <gtest/gtest.h>

#include <cstdlib>

using CLProtocol::CDeviceID;

TEST(DeviceID, FullDeviceIDGivesEveryToken) {
  CDeviceID id;
  ASSERT_TRUE(id.FromString("/opt/drv#libGenCP.so#Hexmar#Orca#M12#V1_2#0042"));
  EXPECT_EQ(id.GetDriverDirectory(), "/opt/drv");
  EXPECT_EQ(id.GetDriverFileName(), "libGenCP.so");
  EXPECT_EQ(id.GetDriverPath(), "/opt/drv/Linux64_x64/libGenCP.so");
  EXPECT_EQ(id.GetCameraManufacturer(), "Hexmar");
  EXPECT_EQ(id.GetCameraFamily(), "Orca");
  EXPECT_EQ(id.GetCameraModel(), "M12");
  EXPECT_EQ(id.GetCameraVersion(), "V1_2");
  EXPECT_EQ(id.GetCameraSerialNumber(), "0042");
  EXPECT_EQ(id.GetShortDeviceID(), "Hexmar#Orca#M12#V1_2#0042");
  EXPECT_EQ(id.ToString(), "/opt/drv#libGenCP.so#Hexmar#Orca#M12#V1_2#0042");
}

TEST(DeviceID, TemplateAndEmptyFamilyParse) {
  CDeviceID id;
  ASSERT_TRUE(id.FromString("/d#libX.so#Hexmar"));
  EXPECT_EQ(id.GetCameraManufacturer(), "Hexmar");
  EXPECT_EQ(id.GetCameraFamily(), "");
  EXPECT_EQ(id.ToString(), "/d#libX.so#Hexmar");
  ASSERT_TRUE(id.FromString("/d#libX.so#Hexmar##Model"));
  EXPECT_EQ(id.GetCameraFamily(), "");
  EXPECT_EQ(id.GetCameraModel(), "Model");
}

TEST(DeviceID, DirectoryExpandsEnvironmentOnlyWhenAsked) {
  ::setenv("VORLA_TEST_DRVDIR", "/srv/clp", 1);
  CDeviceID id;
  ASSERT_TRUE(id.FromString("$(VORLA_TEST_DRVDIR)/sub#libX.so#Hexmar"));
  EXPECT_EQ(id.GetDriverDirectory(), "/srv/clp/sub");
  EXPECT_EQ(id.GetDriverDirectory(false), "$(VORLA_TEST_DRVDIR)/sub");
  EXPECT_EQ(id.GetDriverPath(), "/srv/clp/sub/Linux64_x64/libX.so");
  EXPECT_EQ(id.GetDriverPath(false), "$(VORLA_TEST_DRVDIR)/sub/Linux64_x64/libX.so");
  ::unsetenv("VORLA_TEST_DRVDIR");
}

TEST(DeviceID, SeparatorInBothSpellings) {
  EXPECT_EQ(CDeviceID::GetTokenSeparator(), "#");
  EXPECT_EQ(CDeviceID::GetTokenSeperator(), "#");
}

TEST(DeviceID, UnsafeOrMalformedTextIsRejectedAndLeavesNothing) {
  const char* const bad[] = {
      "",
      "/d#libX.so",                             // no manufacturer
      "/d#libX.so#",                            // empty manufacturer
      "/d#libX.so#A#B#C#D#E#F",                 // too many tokens
      "/d#../libX.so#Hexmar",                   // file name with a path
      "/d#sub/libX.so#Hexmar",                  //
      "/d#..#Hexmar",                           //
      "/d##Hexmar",                             // no file name
      "/d#libX.so#Hex mar",                     // blank in a camera token
      "/d#libX.so#Hexmar#Fam#../../evil",       // path in a camera token
      "/d#libX.so#Hexmar#Fam#Mod#V1.2",         // dot
      "/d#libX.so#Hexmar#Fam#Mod#V1#S\xc3\xa9", // non-ASCII
      "/d\n#libX.so#Hexmar",                    // control character in the directory
  };
  for (const char* text : bad) {
    CDeviceID id;
    ASSERT_TRUE(id.FromString("/ok#libOk.so#Good#Family"));
    EXPECT_FALSE(id.FromString(text)) << text;
    EXPECT_EQ(id.GetDriverDirectory(), "") << text;
    EXPECT_EQ(id.GetDriverFileName(), "") << text;
    EXPECT_EQ(id.GetCameraManufacturer(), "") << text;
    EXPECT_EQ(id.GetCameraFamily(), "") << text;
    EXPECT_EQ(id.GetDriverPath(), "") << text;
    EXPECT_EQ(id.ToString(), "") << text;
  }
}

TEST(DeviceID, UnparsedObjectYieldsEmptyTokens) {
  CDeviceID id;
  EXPECT_EQ(id.GetCameraManufacturer(), "");
  EXPECT_EQ(id.GetCameraSerialNumber(), "");
  EXPECT_EQ(id.GetShortDeviceID(), "");
  EXPECT_EQ(id.GetDriverPath(), "");
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
