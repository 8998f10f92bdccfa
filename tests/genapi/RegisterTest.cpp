#include "MemoryPort.h"

#include <gtest/gtest.h>

using namespace GenApi;

namespace {

using Registers = CMapTest;

const char* const kReg = R"(
  <IntReg Name="%s"><Address>0x100</Address><Length>%s</Length><AccessMode>RW</AccessMode>
    <pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>%s</Sign><Endianess>%s</Endianess>
  </IntReg>)";

std::string Reg(const char* name, const char* length, const char* sign, const char* order) {
  char text[512];
  std::snprintf(text, sizeof text, kReg, name, length, sign, order);
  return text;
}

TEST_F(Registers, ByteOrderAndSignExtension) {
  Load(Reg("BE", "4", "Unsigned", "BigEndian") + Reg("LE", "4", "Unsigned", "LittleEndian") +
       Reg("S2", "2", "Signed", "BigEndian"));
  m_Port.Poke(0x100, {0x12, 0x34, 0xFF, 0xFE});
  EXPECT_EQ(0x1234FFFE, Int("BE")->GetValue());
  EXPECT_EQ(0xFEFF3412, Int("LE")->GetValue());
  EXPECT_EQ(0x1234, Int("S2")->GetValue());
  m_Port.Poke(0x100, {0xFF, 0xFE});
  EXPECT_EQ(-2, Int("S2")->GetValue());
  EXPECT_EQ(-32768, Int("S2")->GetMin());
  EXPECT_EQ(32767, Int("S2")->GetMax());
  Int("BE")->SetValue(0x01020304);
  EXPECT_EQ(0x01, m_Port.Peek(0x100));
  EXPECT_EQ(0x04, m_Port.Peek(0x103));
}

TEST_F(Registers, MaskedFieldsInBothByteOrders) {
  // The same physical bits 8..11 of a 2-byte register, numbered per byte order.
  Load(R"(
    <MaskedIntReg Name="BE"><Address>0x10</Address><Length>2</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Cachable>NoCache</Cachable><LSB>7</LSB><MSB>4</MSB>
      <Sign>Signed</Sign><Endianess>BigEndian</Endianess></MaskedIntReg>
    <MaskedIntReg Name="LE"><Address>0x20</Address><Length>2</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Cachable>NoCache</Cachable><LSB>8</LSB><MSB>11</MSB>
      <Endianess>LittleEndian</Endianess></MaskedIntReg>
    <MaskedIntReg Name="Top"><Address>0x20</Address><Length>2</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Bit>15</Bit></MaskedIntReg>)");
  m_Port.Poke(0x10, {0x0A, 0x00}); // big endian: value 0x0A00, field = 0xA
  EXPECT_EQ(-6, Int("BE")->GetValue());
  EXPECT_EQ(-8, Int("BE")->GetMin());
  EXPECT_EQ(7, Int("BE")->GetMax());
  m_Port.Poke(0x20, {0xFF, 0x0A}); // little endian: value 0x0AFF
  EXPECT_EQ(0xA, Int("LE")->GetValue());
  Int("LE")->SetValue(0x5);
  EXPECT_EQ(0xFF, m_Port.Peek(0x20)); // the other bits survive the read-modify-write
  EXPECT_EQ(0x05, m_Port.Peek(0x21));
  Int("Top")->SetValue(1);
  EXPECT_EQ(0x85, m_Port.Peek(0x21));
  EXPECT_EQ(0x5, Int("LE")->GetValue());
  Int("BE")->SetValue(-1);
  EXPECT_EQ(0x0F, m_Port.Peek(0x10));
}

TEST_F(Registers, StructEntriesShareTheRegister) {
  Load(R"(
    <StructReg Comment="S"><Address>0x40</Address><Length>4</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Endianess>LittleEndian</Endianess>
      <StructEntry Name="A"><Bit>0</Bit></StructEntry>
      <StructEntry Name="B"><LSB>1</LSB><MSB>3</MSB></StructEntry>
      <StructEntry Name="C"><Bit>4</Bit><AccessMode>RO</AccessMode></StructEntry>
    </StructReg>)");
  Int("A")->SetValue(1);
  Int("B")->SetValue(5);
  EXPECT_EQ(0x0B, m_Port.Peek(0x40));
  EXPECT_EQ(1, Int("A")->GetValue());
  EXPECT_EQ(5, Int("B")->GetValue());
  EXPECT_FALSE(IsWritable(Int("C")));
}

TEST_F(Registers, AddressSumWithIndexAndInlineSwissKnife) {
  Load(R"(
    <Integer Name="Sel"><Value>3</Value></Integer>
    <Integer Name="Base"><Value>0x1000</Value></Integer>
    <IntReg Name="R"><Address>0x10</Address><pAddress>Base</pAddress>
      <IntSwissKnife><pVariable Name="S">Sel</pVariable><Formula>S * 0x100</Formula></IntSwissKnife>
      <pIndex Offset="8">Sel</pIndex><pIndex>Sel</pIndex>
      <Length>2</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>)");
  // 0x10 + 0x1000 + 0x300 + 3*8 + 3*2
  m_Port.Poke(0x10 + 0x1000 + 0x300 + 24 + 6, {0x34, 0x12});
  EXPECT_EQ(0x1234, Int("R")->GetValue());
}

TEST_F(Registers, FloatAndStringRegisters) {
  Load(R"(
    <FloatReg Name="F"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Endianess>BigEndian</Endianess></FloatReg>
    <FloatReg Name="D"><Address>8</Address><Length>8</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort></FloatReg>
    <StringReg Name="S"><Address>0x20</Address><Length>4</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort></StringReg>)");
  CFloatPtr f = m_Ref._GetNode("F");
  f->SetValue(1.5);
  EXPECT_EQ(0x3F, m_Port.Peek(0)); // 1.5f = 0x3FC00000, big endian
  EXPECT_DOUBLE_EQ(1.5, f->GetValue());
  CFloatPtr d = m_Ref._GetNode("D");
  d->SetValue(-2.25);
  EXPECT_DOUBLE_EQ(-2.25, d->GetValue(false, true));
  CStringPtr s = m_Ref._GetNode("S");
  s->SetValue("abcd");
  EXPECT_EQ("abcd", s->GetValue(false, true));
  s->SetValue("xy");
  EXPECT_EQ("xy", s->GetValue(false, true));
  EXPECT_THROW(s->SetValue("toolong"), GenICam::OutOfRangeException);
}

} // namespace
