// DeviceID tokens from camera strings, and the forms of templates and DeviceIDs a host passes.
#include "DeviceIdentity.h"

#include <gtest/gtest.h>

using GenCPDriver::CDeviceIdentity;

TEST(GenCPDeviceId, UnsafeTokensBecomeCIdentifiers) {
  EXPECT_EQ(CDeviceIdentity::SafeToken("HX-0001"), "HX_0001");
  EXPECT_EQ(CDeviceIdentity::SafeToken("1.0"), "_1_0");
  EXPECT_EQ(CDeviceIdentity::SafeToken(""), "_");
  EXPECT_EQ(CDeviceIdentity::SafeToken("a b\xC3\xA9"), "a_b__");
  const std::string evil = CDeviceIdentity::SafeToken("../../lib/evil#x$(HOME)@y");
  EXPECT_TRUE(CDeviceIdentity::IsCIdentifier(evil)) << evil;
  EXPECT_EQ(evil.find_first_of("#/.$()@"), std::string::npos);
}

TEST(GenCPDeviceId, ShortDeviceIdJoinsFiveSafeTokens) {
  CDeviceIdentity id{"Hexmar", "Cam Sim", "HX1300", "2.1", "00042"};
  EXPECT_EQ(id.ShortDeviceID(), "Hexmar#Cam_Sim#HX1300#_2_1#_00042");
  EXPECT_EQ(id.ModelTemplate(), "Hexmar#Cam_Sim#HX1300");
}

TEST(GenCPDeviceId, ShortFormOfTemplatesAndDeviceIds) {
  std::string s;
  bool complete = true;
  ASSERT_TRUE(CDeviceIdentity::ShortForm("Hexmar", s, complete));
  EXPECT_EQ(s, "Hexmar");
  EXPECT_FALSE(complete);
  ASSERT_TRUE(CDeviceIdentity::ShortForm("Hexmar#Fam#Mod#V1#SN1", s, complete));
  EXPECT_TRUE(complete);
  ASSERT_TRUE(CDeviceIdentity::ShortForm(
      "/opt/vorla/clprotocol#libCLProtocolGenCP.so#Hexmar#Fam#Mod#V1#SN1", s, complete));
  EXPECT_EQ(s, "Hexmar#Fam#Mod#V1#SN1");
  EXPECT_TRUE(complete);
  ASSERT_TRUE(CDeviceIdentity::ShortForm("$(GENICAM_CLPROTOCOL)#libX.so#Hexmar", s, complete));
  EXPECT_EQ(s, "Hexmar");
  ASSERT_TRUE(CDeviceIdentity::ShortForm("", s, complete));
  EXPECT_EQ(s, "");
}

TEST(GenCPDeviceId, MalformedRequestsAreRefused) {
  std::string s;
  bool complete = false;
  EXPECT_FALSE(CDeviceIdentity::ShortForm("Hexmar#Fam#Mod#V1#SN1#extra", s, complete));
  EXPECT_FALSE(CDeviceIdentity::ShortForm("Hexmar#1bad", s, complete));
  EXPECT_FALSE(CDeviceIdentity::ShortForm("/dir#lib.so", s, complete));
  EXPECT_FALSE(CDeviceIdentity::ShortForm("Hexmar##Mod", s, complete));
}
