#include "MemoryPort.h"

#include <gtest/gtest.h>

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

bool Has(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

TEST(BadInput, MalformedXmlNamesLineAndColumn) {
  const std::string error = LoadError(Describe("<Integer Name=\"A\"><Value>1</Value>\n</Intger>"));
  EXPECT_TRUE(Has(error, "line 4")) << error;
  EXPECT_TRUE(Has(error, "column")) << error;
  EXPECT_TRUE(Has(LoadError("<NotGenApi/>"), "RegisterDescription"));
  EXPECT_TRUE(Has(LoadError(""), "XML"));
}

TEST(BadInput, MissingReferenceNamesTheNode) {
  const std::string error =
      LoadError(Describe("<Integer Name=\"A\"><pValue>Nope</pValue></Integer>"));
  EXPECT_TRUE(Has(error, "'A'")) << error;
  EXPECT_TRUE(Has(error, "'Nope'")) << error;
}

TEST(BadInput, FormulaThatDoesNotParse) {
  const std::string error =
      LoadError(Describe("<IntSwissKnife Name=\"K\"><Formula>1 + * 2</Formula></IntSwissKnife>"));
  EXPECT_TRUE(Has(error, "'K'")) << error;
  EXPECT_TRUE(Has(LoadError(Describe(
                      "<IntSwissKnife Name=\"K\"><Formula>UNKNOWN + 1</Formula></IntSwissKnife>")),
                  "UNKNOWN"));
}

TEST(BadInput, DependencyCycle) {
  const std::string error = LoadError(Describe(R"(
    <Integer Name="A"><pValue>B</pValue></Integer>
    <Integer Name="B"><pMax>C</pMax><Value>1</Value></Integer>
    <IntSwissKnife Name="C"><pVariable Name="X">A</pVariable><Formula>X</Formula></IntSwissKnife>)"));
  EXPECT_TRUE(Has(error, "cycle")) << error;
}

TEST(BadInput, DeepChainIsRefusedNotOverflowed) {
  std::string nodes = "<Integer Name=\"N0\"><Value>1</Value></Integer>";
  for (int i = 1; i < 5000; ++i)
    nodes += "<Integer Name=\"N" + std::to_string(i) + "\"><pValue>N" + std::to_string(i - 1) +
             "</pValue></Integer>";
  EXPECT_TRUE(Has(LoadError(Describe(nodes)), "deeper"));
}

TEST(BadInput, BadLiteralsAndDuplicates) {
  const std::string error = LoadError(Describe("<Integer Name=\"A\"><Value>x1</Value></Integer>"));
  EXPECT_TRUE(Has(error, "'A'") && Has(error, "line")) << error;
  EXPECT_TRUE(Has(LoadError(Describe("<Integer Name=\"A\"><Value>1</Value></Integer>"
                                     "<Integer Name=\"A\"><Value>1</Value></Integer>")),
                  "twice"));
  EXPECT_TRUE(Has(LoadError(Describe("<IntReg Name=\"R\"><Address>0</Address><Length>9</Length>"
                                     "<pPort>Device</pPort></IntReg>")),
                  "'R'"));
}

TEST(BadInput, UnconnectedPortGivesAnErrorNamingTheNode) {
  CNodeMapRef ref;
  ref._LoadXMLFromString(Describe("<IntReg Name=\"R\"><Address>0</Address><Length>4</Length>"
                                  "<AccessMode>RW</AccessMode><pPort>Device</pPort></IntReg>"));
  try {
    CIntegerPtr(ref._GetNode("R"))->GetValue();
    FAIL();
  } catch (const GenICam::AccessException& e) {
    EXPECT_STREQ("R", e.GetNodeName());
  }
}

} // namespace
