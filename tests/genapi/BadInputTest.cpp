#include "MemoryPort.h"
#include "TestSupport.h"

#include <functional>
#include <iterator>

using namespace GenApi;

namespace {

// Loads and returns the error text; the holder must stay empty and reusable.
std::string LoadError(const std::string& xml) {
  CNodeMapRef ref;
  try {
    ref._LoadXMLFromString(xml);
  } catch (const GenICam::GenericException& e) {
    EXPECT_EQ(nullptr, ref._Ptr);
    ref._LoadXMLFromString(Describe("<Integer Name=\"A\"><Value>1</Value></Integer>"));
    EXPECT_NE(nullptr, ref._GetNode("A"));
    return e.what();
  }
  ADD_FAILURE() << "loaded";
  return std::string();
}

// Descriptions that cannot load, and the parts their error text must name.
TEST(BadInput, LoadErrorsNameWhatIsWrong) {
  std::string chain = "<Integer Name=\"N0\"><Value>1</Value></Integer>";
  for (int i = 1; i < 5000; ++i)
    chain += "<Integer Name=\"N" + std::to_string(i) + "\"><pValue>N" + std::to_string(i - 1) +
             "</pValue></Integer>";
  const struct {
    std::string Xml;
    std::vector<const char*> Parts;
  } cases[] = {
      {Describe("<Integer Name=\"A\"><Value>1</Value>\n</Intger>"), {"line 4", "column"}},
      {"<NotGenApi/>", {"RegisterDescription"}},
      {"", {"XML"}},
      {Describe("<IntSwissKnife Name=\"K\"><Formula>1 + * 2</Formula></IntSwissKnife>"), {"'K'"}},
      {Describe("<IntSwissKnife Name=\"K\"><Formula>UNKNOWN + 1</Formula></IntSwissKnife>"),
       {"UNKNOWN"}},
      {Describe(R"(
        <Integer Name="A"><pValue>B</pValue></Integer>
        <Integer Name="B"><pMax>C</pMax><Value>1</Value></Integer>
        <IntSwissKnife Name="C"><pVariable Name="X">A</pVariable><Formula>X</Formula></IntSwissKnife>)"),
       {"cycle"}},
      {Describe(chain), {"deeper"}},
      {Describe("<Integer Name=\"A\"><Value>x1</Value></Integer>"), {"'A'", "line"}},
      {Describe("<Integer Name=\"A\"><Value>1</Value></Integer>"
                "<Integer Name=\"A\"><Value>1</Value></Integer>"),
       {"twice"}},
      {Describe("<IntReg Name=\"R\"><Address>0</Address><Length>9</Length>"
                "<pPort>Device</pPort></IntReg>"),
       {"'R'"}},
  };
  for (const auto& c : cases) {
    const std::string error = LoadError(c.Xml);
    for (const char* part : c.Parts)
      EXPECT_NE(error.find(part), std::string::npos) << error;
  }
}

std::vector<std::string> g_Warnings;

TEST(BadInput, DanglingReferencesLoadWithTheNodesThatNeedThemNotImplemented) {
  g_Warnings.clear();
  const LogFunction previous = SetLogFunction([](const char* category, const char* text) {
    g_Warnings.push_back(std::string(category) + ": " + text);
  });
  CNodeMapRef ref;
  ref._LoadXMLFromString(Describe(R"(
    <IntReg Name="R"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode>
      <pPort>Nowhere</pPort></IntReg>
    <Integer Name="W"><pValue>R</pValue></Integer>
    <IntSwissKnife Name="K"><pVariable Name="X">Gone</pVariable><Formula>X</Formula></IntSwissKnife>
    <Float Name="Scaled"><pValue>Gone</pValue></Float>
    <IntReg Name="NoPort"><Address>0</Address><Length>4</Length><AccessMode>RW</AccessMode></IntReg>
    <Integer Name="Fine"><Value>1</Value><pInvalidator>Gone</pInvalidator></Integer>
    <Category Name="Root"><pFeature>Fine</pFeature><pFeature>Gone</pFeature></Category>)"));
  SetLogFunction(previous);
  EXPECT_EQ((std::vector<std::string>{
                "GenApi.Loader: The description refers to the missing node 'Nowhere' (pPort of "
                "'R'); the nodes that need it are not implemented",
                "GenApi.Loader: The description refers to the missing node 'Gone' (pVariable of "
                "'K'); the nodes that need it are not implemented"}),
            g_Warnings);

  CMemoryPort port;
  ref._Connect(&port);
  const struct {
    const char* Node;
    const char* Why;
  } cases[] = {{"R", "pPort of 'R' refers to the missing node 'Nowhere'"},
               {"W", "pPort of 'R' refers to the missing node 'Nowhere'"},
               {"K", "pVariable of 'K' refers to the missing node 'Gone'"},
               {"Scaled", "pValue of 'Scaled' refers to the missing node 'Gone'"},
               {"NoPort", "'NoPort' has no pPort"}};
  for (const auto& c : cases) {
    CValuePtr value = ref._GetNode(c.Node);
    EXPECT_FALSE(IsImplemented(value->GetNode())) << c.Node;
    EXPECT_EQ("Node is not implemented: " + std::string(c.Why) + ".",
              testsupport::Thrown<GenICam::AccessException>([&] { value->ToString(); }));
  }
  EXPECT_EQ(1, CIntegerPtr(ref._GetNode("Fine"))->GetValue());
  FeatureList_t features;
  CCategoryPtr(ref._GetNode("Root"))->GetFeatures(features);
  EXPECT_EQ(1u, features.size());
}

TEST(BadInput, NodesThatNeedAMissingNodeRefuseEveryUseInsteadOfReadingThroughNothing) {
  const LogFunction previous = SetLogFunction([](const char*, const char*) {});
  CNodeMapRef ref;
  ref._LoadXMLFromString(Describe(R"(
    <Register Name="Indexed"><Address>0</Address><pIndex Offset="4">Gone</pIndex><Length>4</Length>
      <AccessMode>RW</AccessMode><pPort>Device</pPort></Register>
    <Register Name="Sized"><pAddress>Gone</pAddress><pLength>Gone</pLength><AccessMode>RW</AccessMode>
      <pPort>Device</pPort></Register>
    <IntSwissKnife Name="IntKnife"><pVariable Name="X">Gone</pVariable><Formula>X</Formula></IntSwissKnife>
    <SwissKnife Name="Knife"><pVariable Name="X">Gone</pVariable><Formula>X</Formula></SwissKnife>
    <SwissKnife Name="Unnamed"><pVariable Name="X"></pVariable><Formula>X</Formula></SwissKnife>
    <Integer Name="Limited"><Value>1</Value><pMax>IntKnife</pMax></Integer>
    <Float Name="Stepped"><Value>1</Value><pInc>Knife</pInc></Float>
    <Converter Name="Converted"><FormulaTo>FROM</FormulaTo><FormulaFrom>TO</FormulaFrom>
      <pValue>Gone</pValue></Converter>)"));
  SetLogFunction(previous);
  const std::function<void()> uses[] = {
      [&] { CRegisterPtr(ref._GetNode("Indexed"))->GetAddress(); },
      [&] { CRegisterPtr(ref._GetNode("Indexed"))->GetLength(); },
      [&] { CRegisterPtr(ref._GetNode("Sized"))->GetAddress(); },
      [&] { CRegisterPtr(ref._GetNode("Sized"))->GetLength(); },
      [&] { CIntegerPtr(ref._GetNode("Limited"))->GetMax(); },
      [&] { CFloatPtr(ref._GetNode("Stepped"))->HasInc(); },
      [&] { CFloatPtr(ref._GetNode("Unnamed"))->GetValue(); },
      [&] { CFloatPtr(ref._GetNode("Stepped"))->GetInc(); },
      [&] { CFloatPtr(ref._GetNode("Converted"))->GetMin(); },
      [&] { CFloatPtr(ref._GetNode("Converted"))->SetValue(1.0); },
  };
  for (size_t i = 0; i < std::size(uses); ++i)
    EXPECT_THROW(uses[i](), GenICam::GenericException) << "use " << i;
}

TEST(BadInput, AddressElementsAddUpWrappingInsteadOfOverflowing) {
  CNodeMapRef ref;
  ref._LoadXMLFromString(Describe(R"(
    <Register Name="R"><Address>0x7FFFFFFFFFFFFFF0</Address><Address>0x108</Address>
      <Length>4</Length><AccessMode>RW</AccessMode><pPort>Device</pPort></Register>)"));
  EXPECT_EQ(static_cast<uint64_t>(CRegisterPtr(ref._GetNode("R"))->GetAddress()),
            0x80000000000000F8ull);
}

} // namespace
