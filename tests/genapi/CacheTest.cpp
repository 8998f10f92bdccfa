#include "MemoryPort.h"

#include <gtest/gtest.h>

using namespace GenApi;

namespace {

std::string Reg(const char* name, const char* cache, const char* extra = "") {
  return std::string("<IntReg Name=\"") + name +
         "\"><Address>0x100</Address><Length>4</Length><AccessMode>RW</AccessMode>"
         "<pPort>Device</pPort><Cachable>" +
         cache + "</Cachable>" + extra + "</IntReg>";
}

using Caching = CMapTest;

// Two reads, a write and two reads again: how often each mode asks the device.
TEST_F(Caching, EachModeReadsTheDeviceOnlyWhenItMust) {
  const std::pair<const char*, int> modes[] = {
      {"WriteThrough", 1}, {"WriteAround", 2}, {"NoCache", 4}};
  for (const auto& [mode, reads] : modes) {
    CNodeMapRef ref;
    ref._LoadXMLFromString(Describe(Reg("R", mode)));
    CMemoryPort port;
    ASSERT_TRUE(ref._Connect(&port));
    CIntegerPtr r = ref._GetNode("R");
    r->GetValue();
    r->GetValue();
    r->SetValue(9);
    EXPECT_EQ(9, r->GetValue());
    EXPECT_EQ(9, r->GetValue());
    EXPECT_EQ(reads, port.m_Reads) << mode;
  }
  // A value node reads its register's cache; Verify and IgnoreCache read the device.
  Load(Reg("R", "WriteThrough") + "<Integer Name=\"W\"><pValue>R</pValue></Integer>");
  m_Port.Poke(0x100, {7, 0, 0, 0});
  EXPECT_EQ(7, Int("W")->GetValue());
  m_Port.Poke(0x100, {8, 0, 0, 0}); // changed behind the map's back
  EXPECT_EQ(7, Int("W")->GetValue());
  EXPECT_EQ(8, Int("W")->GetValue(true));
  m_Port.Poke(0x100, {0, 0, 0, 0}); // the minimum passes Verify
  EXPECT_EQ(0, Int("R")->GetValue(true, true));
  EXPECT_EQ(3, m_Port.m_Reads);
}

TEST_F(Caching, InvalidatorAndInvalidateNodes) {
  Load(Reg("R", "WriteThrough", "<pInvalidator>Binning</pInvalidator>") +
       "<Integer Name=\"Binning\"><Value>1</Value></Integer>");
  Int("R")->GetValue();
  Int("Binning")->SetValue(2);
  Int("R")->GetValue();
  EXPECT_EQ(2, m_Port.m_Reads);
  m_Ref._InvalidateNodes();
  Int("R")->GetValue();
  EXPECT_EQ(3, m_Port.m_Reads);
  Int("R")->GetNode()->InvalidateNode();
  Int("R")->GetValue();
  EXPECT_EQ(4, m_Port.m_Reads);
}

TEST_F(Caching, SelectorChangeInvalidatesSelectedFeatures) {
  Load(R"(
    <Integer Name="Sel"><Value>0</Value><pSelected>Gain</pSelected></Integer>
    <IntReg Name="Gain"><Address>0x200</Address><Length>1</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort></IntReg>)");
  Int("Gain")->GetValue();
  Int("Sel")->SetValue(1);
  Int("Gain")->GetValue();
  EXPECT_EQ(2, m_Port.m_Reads);
}

TEST_F(Caching, PollingInvalidatesNonCachedNodes) {
  Load(Reg("R", "WriteThrough", "<PollingTime>100</PollingTime>"));
  int fired = 0;
  Register(Int("R")->GetNode(), [&](INode*) { ++fired; });
  Int("R")->GetValue();
  m_Ref._Poll(50);
  Int("R")->GetValue();
  EXPECT_EQ(1, m_Port.m_Reads);
  EXPECT_EQ(0, fired);
  m_Ref._Poll(60);
  Int("R")->GetValue();
  EXPECT_EQ(2, m_Port.m_Reads);
  EXPECT_EQ(1, fired);
}

} // namespace
