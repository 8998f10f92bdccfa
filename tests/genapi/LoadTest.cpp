#include "MemoryPort.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace GenApi;

namespace {

const char* const kIntegerNodes = R"(
  <Category Name="Root"><pFeature>Gain</pFeature></Category>
  <Integer Name="Gain"><ToolTip>g</ToolTip><Value>3</Value><Min>0</Min><Max>10</Max></Integer>
)";

TEST(NodeMapRef, LoadsFindsRefusesASecondLoadAndSharesTheMapWithCopies) {
  CNodeMapRef ref;
  EXPECT_EQ(nullptr, static_cast<INodeMap*>(ref));
  ref._LoadXMLFromString(Describe(kIntegerNodes));
  ASSERT_NE(nullptr, ref._Ptr);
  EXPECT_EQ(nullptr, ref._GetNode("Missing"));
  CIntegerPtr gain = ref._GetNode("Gain");
  EXPECT_EQ(3, gain->GetValue());
  EXPECT_EQ("g", gain->GetNode()->GetToolTip());
  EXPECT_EQ("DLL already loaded", testsupport::Thrown<GenICam::RuntimeException>(
                                      [&] { ref._LoadXMLFromString(Describe(kIntegerNodes)); }));
  ref._Destroy();
  EXPECT_THROW(ref._GetNode("Gain"), GenICam::AccessException);
  ref._LoadXMLFromString(Describe(kIntegerNodes));
  CNodeMapRef copy(ref); // copies share the map
  CIntegerPtr(copy._GetNode("Gain"))->SetValue(7);
  EXPECT_EQ(7, CIntegerPtr(ref._GetNode("Gain"))->GetValue());
  CNodeMapRef fromFile;
  EXPECT_THROW(fromFile._LoadXMLFromFile("/nonexistent/file.xml"), GenICam::RuntimeException);
  EXPECT_EQ(nullptr, fromFile._Ptr);
}

TEST(Pointer, NullOrWrongTypeThrowsOnDereference) {
  CNodeMapRef ref;
  ref._LoadXMLFromString(Describe(kIntegerNodes));
  CFloatPtr wrong = ref._GetNode("Gain");
  EXPECT_FALSE(wrong.IsValid());
  EXPECT_EQ("NULL pointer dereferenced",
            testsupport::Thrown<GenICam::LogicalErrorException>([&] { wrong->GetValue(); }));
  CNodeMapPtr noMap(static_cast<INodeMap*>(CNodeMapRef()));
  EXPECT_THROW(noMap->GetNode("x"), GenICam::LogicalErrorException);
  EXPECT_FALSE(IsReadable(wrong));
}

TEST(Injection, AddsNewNodesAndReplacesSameNamesUnlessTheTargetHasPriority) {
  CNodeMapRef ref;
  ref._LoadXMLFromStringInject(Describe(kIntegerNodes),
                               Describe("<Integer Name=\"Gain\"><Value>5</Value></Integer>"
                                        "<Integer Name=\"Extra\"><pValue>Gain</pValue></Integer>",
                                        false));
  EXPECT_EQ(5, CIntegerPtr(ref._GetNode("Extra"))->GetValue());
  EXPECT_EQ(5, CIntegerPtr(ref._GetNode("Gain"))->GetValue());
  // A higher merge priority of the target wins.
  CNodeMapRef prior;
  prior._LoadXMLFromStringInject(
      Describe("<Integer Name=\"A\" MergePriority=\"1\"><Value>1</Value></Integer>"),
      Describe("<Integer Name=\"A\"><Value>2</Value></Integer>", false));
  EXPECT_EQ(1, CIntegerPtr(prior._GetNode("A"))->GetValue());
}

TEST(Load, GroupsAreFlattenedAndEnumEntriesAreNodes) {
  CNodeMapRef ref;
  ref._LoadXMLFromString(Describe(R"(
    <Group Comment="x"><Group Comment="y">
      <Enumeration Name="Mode">
        <EnumEntry Name="Off"><Value>0</Value></EnumEntry>
        <EnumEntry Name="On"><Value>1</Value></EnumEntry>
        <Value>1</Value>
      </Enumeration>
    </Group></Group>)"));
  CEnumerationPtr mode = ref._GetNode("Mode");
  EXPECT_EQ("On", mode->ToString());
  CEnumEntryPtr off = ref._GetNode("Mode_Off");
  EXPECT_EQ("Off", off->GetSymbolic());
  mode->FromString("Off");
  EXPECT_EQ(0, mode->GetIntValue());
  NodeList_t entries;
  mode->GetEntries(entries);
  EXPECT_EQ(2u, entries.size());
}

} // namespace
