// Descriptions and device answers built to hurt: lengths read from the device, addresses at the
// top of the range, fields longer than their register, exponential dependency graphs and writes
// that reach a formula. Each must end in a GenICam error or the right value, never in a crash,
// a huge allocation or a hang.
#include "HostileXml.h"
#include "MemoryPort.h"
#include "TestSupport.h"

#include <GenApi/SafeXmlReader.h>

#include <gmock/gmock.h>

#include <cinttypes>
#include <filesystem>
#include <fstream>
#include <functional>

using namespace GenApi;

namespace {

class Hostile : public CMapTest {
protected:
  //! Runs `access`, which must fail with a GenICam error of type E thrown in node `node`.
  template <class E> std::string Error(const std::function<void()>& access, const char* node) {
    try {
      access();
    } catch (const E& e) {
      EXPECT_STREQ(node, e.GetNodeName()) << e.what();
      return e.what();
    }
    ADD_FAILURE() << "no error from " << node;
    return std::string();
  }
};

bool Has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(Hostile, LengthsFromTheDeviceAreCheckedBeforeAnyAllocation) {
  Load(R"(
    <IntReg Name="Len"><Address>0</Address><Length>8</Length><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><Cachable>NoCache</Cachable><Sign>Signed</Sign></IntReg>
    <StringReg Name="Text"><Address>0x100</Address><pLength>Len</pLength>
      <AccessMode>RW</AccessMode><pPort>Device</pPort></StringReg>
    <Register Name="Blob"><Address>0x100</Address><pLength>Len</pLength>
      <AccessMode>RW</AccessMode><pPort>Device</pPort></Register>)");
  CStringPtr text = m_Ref._GetNode("Text");
  CRegisterPtr blob = m_Ref._GetNode("Blob");
  const std::vector<std::pair<const char*, std::function<void()>>> accesses = {
      {"Text", [&] { text->GetValue(); }},
      {"Text", [&] { text->SetValue("x"); }},
      {"Blob", [&] { blob->ToString(); }},
      {"Blob", [&] { blob->FromString("00"); }}};
  for (const int64_t length : {int64_t(-5), int64_t(0), int64_t(1) << 32, int64_t(0x7F7F7F7F7F)}) {
    Int("Len")->SetValue(length);
    for (const auto& access : accesses) {
      const int reads = m_Port.m_Reads, writes = m_Port.m_Writes;
      const std::string error = Error<GenICam::OutOfRangeException>(access.second, access.first);
      EXPECT_TRUE(Has(error, std::to_string(length))) << error;
      EXPECT_EQ(reads + 1, m_Port.m_Reads) << "only the length is read";
      EXPECT_EQ(writes, m_Port.m_Writes);
    }
  }
}

TEST_F(Hostile, WritesAtTheTopOfTheAddressRangeKeepOverlappingCachesRight) {
  // A cached register two bytes below the written one sees the written bytes, wherever the pair
  // sits in the 64-bit space.
  for (const uint64_t address : {0x7FFFFFFFFFFFFFFEull, 0x8000000000000000ull, 0x2ull}) {
    CNodeMapRef ref;
    char nodes[1024];
    std::snprintf(nodes, sizeof nodes, R"(
      <IntReg Name="Cached"><Address>0x%)" PRIx64 R"(</Address><Length>4</Length>
        <AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess>
      </IntReg>
      <IntReg Name="Written"><Address>0x%)" PRIx64 R"(</Address><Length>2</Length>
        <AccessMode>RW</AccessMode><pPort>Device</pPort><Endianess>LittleEndian</Endianess>
      </IntReg>)",
                  address - 2, address);
    ref._LoadXMLFromString(Describe(nodes));
    CMemoryPort port;
    ref._Connect(&port);
    CIntegerPtr cached = ref._GetNode("Cached");
    EXPECT_EQ(0, cached->GetValue());
    CIntegerPtr(ref._GetNode("Written"))->SetValue(0xABCD);
    const int reads = port.m_Reads;
    EXPECT_EQ(0xABCD0000, cached->GetValue()) << std::hex << address;
    EXPECT_EQ(reads, port.m_Reads) << "served from the cache";
  }
}

TEST_F(Hostile, MaskedFieldOutsideARegisterLengthFromTheDevice) {
  // Bits 24..31 of a 4-byte register in either numbering (its last byte in memory); the length
  // then shrinks to 1.
  Load(R"(
    <Integer Name="Len"><Value>4</Value></Integer>
    <MaskedIntReg Name="BE"><Address>0</Address><pLength>Len</pLength><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><LSB>31</LSB><MSB>24</MSB><Endianess>BigEndian</Endianess>
    </MaskedIntReg>
    <MaskedIntReg Name="LE"><Address>0</Address><pLength>Len</pLength><AccessMode>RW</AccessMode>
      <pPort>Device</pPort><LSB>24</LSB><MSB>31</MSB><Endianess>LittleEndian</Endianess>
    </MaskedIntReg>)");
  m_Port.Poke(0, {0x12, 0, 0, 0x34});
  EXPECT_EQ(0x34, Int("BE")->GetValue());
  EXPECT_EQ(0x34, Int("LE")->GetValue());
  Int("Len")->SetValue(1);
  for (const char* name : {"BE", "LE"}) {
    CIntegerPtr field = Int(name);
    const int writes = m_Port.m_Writes;
    EXPECT_TRUE(Has(Error<GenICam::RuntimeException>([&] { field->GetValue(); }, name), "bits"));
    EXPECT_TRUE(Has(Error<GenICam::RuntimeException>([&] { field->SetValue(1); }, name), "bits"));
    EXPECT_EQ(writes, m_Port.m_Writes);
  }
}

// Forty formulas that each add the previous one twice: 2^40 evaluations without memoisation.
std::string Doubling(int levels) {
  std::string nodes = "<Integer Name=\"N0\"><Value>1</Value></Integer>";
  for (int i = 1; i <= levels; ++i) {
    const std::string previous = "N" + std::to_string(i - 1);
    nodes += "<IntSwissKnife Name=\"N" + std::to_string(i) + "\"><pVariable Name=\"A\">" +
             previous + "</pVariable><pVariable Name=\"B\">" + previous +
             "</pVariable><Formula>A + B</Formula></IntSwissKnife>";
  }
  return nodes;
}

TEST_F(Hostile, SharedDependenciesAreEvaluatedOncePerOperation) {
  Load(Doubling(40) + "<SwissKnife Name=\"F\"><pVariable Name=\"X\">N40</pVariable>"
                      "<pVariable Name=\"Y\">N40</pVariable><Formula>X + Y</Formula></SwissKnife>");
  EXPECT_EQ(int64_t(1) << 40, Int("N40")->GetValue());
  Int("N0")->SetValue(3); // the next operation sees the change
  EXPECT_EQ(int64_t(3) << 40, Int("N40")->GetValue());
  EXPECT_EQ(double(int64_t(3) << 41), CFloatPtr(m_Ref._GetNode("F"))->GetValue());
}

TEST_F(Hostile, WorkOfOneOperationIsBounded) {
  // Each register's address is the previous register's value, twice: exponential in reads.
  std::string nodes = "<IntReg Name=\"R0\"><Address>0</Address><Length>1</Length>"
                      "<AccessMode>RO</AccessMode><pPort>Device</pPort></IntReg>";
  for (int i = 1; i <= 40; ++i)
    nodes += "<IntReg Name=\"R" + std::to_string(i) + "\"><pAddress>R" + std::to_string(i - 1) +
             "</pAddress><pAddress>R" + std::to_string(i - 1) +
             "</pAddress><Length>1</Length><AccessMode>RO</AccessMode><pPort>Device</pPort>"
             "</IntReg>";
  Load(nodes);
  const std::string error =
      Error<GenICam::RuntimeException>([&] { Int("R40")->GetValue(); }, "R40");
  EXPECT_TRUE(Has(error, "R40.GetValue()")) << error;
  EXPECT_EQ(0, Int("R1")->GetValue()) << "the map stays usable";
}

TEST_F(Hostile, WritesThatReachAFormulaAreRefused) {
  Load(R"(
    <Integer Name="Base"><Value>1</Value></Integer>
    <SwissKnife Name="SK"><pVariable Name="X">Base</pVariable><Formula>X * 2</Formula></SwissKnife>
    <IntReg Name="ReadOnly"><Address>0</Address><Length>4</Length><AccessMode>RO</AccessMode>
      <pPort>Device</pPort></IntReg>
    <Float Name="Copying"><Value>1</Value><pValueCopy>SK</pValueCopy></Float>
    <Integer Name="Indexed"><pIndex>Base</pIndex><pValueIndexed Index="1">SK</pValueIndexed>
      <ValueDefault>0</ValueDefault></Integer>
    <Integer Name="CopyingToRO"><Value>1</Value><pValueCopy>ReadOnly</pValueCopy></Integer>)");
  const struct {
    const char* Written;
    const char* Refusing;
  } cases[] = {{"Copying", "SK"}, {"Indexed", "SK"}, {"CopyingToRO", "ReadOnly"}};
  for (const auto& c : cases) {
    CValuePtr value = m_Ref._GetNode(c.Written);
    const std::string error =
        Error<GenICam::AccessException>([&] { value->FromString("5"); }, c.Refusing);
    EXPECT_TRUE(Has(error, "Node is not writable.")) << error;
    EXPECT_TRUE(Has(error, std::string(c.Written) + ".SetValue()")) << error;
  }
  EXPECT_EQ(0, m_Port.m_Writes);
  EXPECT_EQ(2.0, CFloatPtr(m_Ref._GetNode("SK"))->GetValue());
}

} // namespace

TEST(HostileDescription, EntitiesAndEndlessTextsAreRefusedNamingTheSource) {
  const testsupport::CTempFolder folder;
  const std::string file = folder.File("camera.xml");
  for (const auto& trick :
       testsupport::HostileXml(folder.Path().string(), CSafeXmlReader::DescriptionElementText)) {
    std::string xml = Describe("<Integer Name=\"I\"><ToolTip>" + trick.text +
                               "</ToolTip><Value>1</Value></Integer>\n");
    xml.insert(xml.find('\n') + 1, trick.doctype + "\n");
    std::ofstream(file) << xml;
    using ::testing::StartsWith;
    EXPECT_THAT(testsupport::Thrown<GenICam::RuntimeException>(
                    [&] { CNodeMapRef()._LoadXMLFromString(xml); }),
                StartsWith("the camera's GenApi description: " + trick.refusal))
        << trick.what;
    EXPECT_THAT(testsupport::Thrown<GenICam::RuntimeException>(
                    [&] { CNodeMapRef()._LoadXMLFromFile(file); }),
                StartsWith("GenApi description '" + file + "': " + trick.refusal))
        << trick.what;
  }
}
