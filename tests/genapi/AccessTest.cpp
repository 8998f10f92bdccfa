#include "MemoryPort.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace GenApi;

namespace {

const char* const kNodes = R"(
  <Integer Name="Impl"><Value>1</Value></Integer>
  <Integer Name="Avail"><Value>1</Value></Integer>
  <Boolean Name="Lock"><Value>0</Value></Boolean>
  <Integer Name="Width"><pIsImplemented>Impl</pIsImplemented><pIsAvailable>Avail</pIsAvailable>
    <pIsLocked>Lock</pIsLocked><pValue>WidthReg</pValue><Min>16</Min><Max>1024</Max><Inc>16</Inc>
  </Integer>
  <IntReg Name="WidthReg"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort></IntReg>
  <Integer Name="Imposed"><ImposedAccessMode>RO</ImposedAccessMode><Value>1</Value></Integer>
  <IntReg Name="ROReg"><Address>8</Address><Length>4</Length><AccessMode>RO</AccessMode>
    <pPort>Device</pPort></IntReg>
  <Integer Name="OverRO"><ImposedAccessMode>RW</ImposedAccessMode><pValue>ROReg</pValue></Integer>
  <Integer Name="Streamed"><Streamable>Yes</Streamable><Value>0</Value><Max>5</Max></Integer>
)";

class Access : public CMapTest {
protected:
  void SetUp() override { Load(kNodes); }
};

TEST_F(Access, ImplementedAvailableLocked) {
  CIntegerPtr width = Int("Width");
  EXPECT_EQ(RW, width->GetAccessMode());
  CBooleanPtr(m_Ref._GetNode("Lock"))->SetValue(true);
  EXPECT_EQ(RO, width->GetAccessMode());
  try {
    width->SetValue(32);
    FAIL();
  } catch (const GenICam::AccessException& e) {
    EXPECT_STREQ("Node is not writable.", e.GetDescription());
    EXPECT_STREQ("Width", e.GetNodeName());
    EXPECT_STREQ("Width.SetValue()", e.GetEntryPoint());
  }
  Int("Avail")->SetValue(0);
  EXPECT_EQ(NA, width->GetAccessMode());
  EXPECT_THROW(width->GetMin(), GenICam::AccessException);
  Int("Impl")->SetValue(0);
  EXPECT_EQ(NI, width->GetAccessMode());
  EXPECT_FALSE(IsImplemented(width));
}

TEST_F(Access, ImposedModesAndThePortModeOnlyRestrictAndUnconnectedPortsAreNotImplemented) {
  EXPECT_EQ(RO, Int("Imposed")->GetAccessMode());
  EXPECT_EQ(RO, Int("OverRO")->GetAccessMode()); // RW imposed on RO stays RO
  CIntegerPtr width = Int("Width");
  width->GetNode()->ImposeAccessMode(RO);
  EXPECT_EQ(RO, width->GetAccessMode());
  width->GetNode()->ImposeAccessMode(RW); // lifts the restriction again
  EXPECT_EQ(RW, width->GetAccessMode());
  width->GetNode()->ImposeAccessMode(NA);
  EXPECT_FALSE(IsAvailable(width));
  m_Port.m_Mode = RO;
  EXPECT_EQ(RO, Int("WidthReg")->GetAccessMode());
  CNodeMapRef other;
  other._LoadXMLFromString(Describe(kNodes));
  EXPECT_EQ(NI, CIntegerPtr(other._GetNode("Width"))->GetAccessMode());
  EXPECT_FALSE(other._Connect(&m_Port, "NoSuchPort"));
  try { // an access through the unconnected port names its node
    CIntegerPtr(other._GetNode("WidthReg"))->GetValue();
    FAIL();
  } catch (const GenICam::AccessException& e) {
    EXPECT_STREQ("WidthReg", e.GetNodeName());
  }
}

TEST_F(Access, RangeChecksWithTheReferenceTexts) {
  CIntegerPtr width = Int("Width");
  auto message = [&](int64_t value) {
    try {
      width->SetValue(value);
    } catch (const GenICam::OutOfRangeException& e) {
      return std::string(e.GetDescription());
    }
    return std::string();
  };
  EXPECT_EQ("Value = 8 must be equal or greater than Min = 16.", message(8));
  EXPECT_EQ("Value = 2000 must be equal or smaller than Max = 1024.", message(2000));
  EXPECT_EQ("The difference between Value = 40 and Min = 16 must be dividable without rest by "
            "Inc = 16.",
            message(40));
  EXPECT_EQ("", message(48));
  EXPECT_EQ(48, width->GetValue());
}

TEST_F(Access, VerifyFalseSkipsTheRangeCheckOnlyOnStreamableNodes) {
  EXPECT_THROW(Int("Width")->SetValue(8, false), GenICam::OutOfRangeException);
  Int("Streamed")->SetValue(9, false);
  EXPECT_EQ(9, Int("Streamed")->GetValue());
  EXPECT_THROW(Int("Streamed")->SetValue(9, true), GenICam::OutOfRangeException);
  EXPECT_THROW(Int("Streamed")->GetValue(true), GenICam::OutOfRangeException);
}

TEST_F(Access, TextForms) {
  CIntegerPtr width = Int("Width");
  width->FromString("0x40");
  EXPECT_EQ("64", width->ToString());
  EXPECT_EQ(
      "Node 'Width' : cannot convert string 'abc' to int.",
      testsupport::Thrown<GenICam::InvalidArgumentException>([&] { width->FromString("abc"); }));
}

} // namespace
