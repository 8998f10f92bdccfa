#include "MemoryPort.h"

#include <gtest/gtest.h>

using namespace GenApi;

namespace {

class Formulas : public CMapTest {
protected:
  double Float(const char* name) { return CFloatPtr(m_Ref._GetNode(name))->GetValue(); }
};

TEST_F(Formulas, IntegerDivisionInIntegerNodesAndPromotionInFloatOnes) {
  Load(R"(
    <Integer Name="Seven"><Value>7</Value></Integer>
    <IntSwissKnife Name="IDiv"><pVariable Name="A">Seven</pVariable><Formula>A / 2</Formula>
    </IntSwissKnife>
    <SwissKnife Name="FDiv"><pVariable Name="A">Seven</pVariable><Formula>A / 2</Formula>
    </SwissKnife>
    <IntSwissKnife Name="Mixed"><pVariable Name="A">Seven</pVariable><Formula>A / 2.0 * 2</Formula>
    </IntSwissKnife>
    <IntSwissKnife Name="Prec"><Formula>1 + 2 * 3 &lt;&lt; 1 = 14 ? 0x10 | 1 : 0</Formula>
    </IntSwissKnife>)");
  EXPECT_EQ(3, Int("IDiv")->GetValue());
  EXPECT_DOUBLE_EQ(3.5, Float("FDiv"));
  EXPECT_EQ(7, Int("Mixed")->GetValue());
  EXPECT_EQ(17, Int("Prec")->GetValue());
}

TEST_F(Formulas, ConstantsExpressionsAndDottedNames) {
  Load(R"(
    <Integer Name="X"><Value>4</Value><Min>1</Min><Max>9</Max></Integer>
    <Enumeration Name="Mode"><EnumEntry Name="Fast"><Value>5</Value></EnumEntry>
      <Value>5</Value></Enumeration>
    <IntSwissKnife Name="K"><pVariable Name="X">X</pVariable>
      <pVariable Name="X.Max">X</pVariable><pVariable Name="M.Entry.Fast">Mode</pVariable>
      <Constant Name="TEN">10</Constant><Expression Name="XPLUS">TEN + X</Expression>
      <Formula>TEN * XPLUS + X.Max * 1000 + M.Entry.Fast * 100000</Formula></IntSwissKnife>)");
  EXPECT_EQ(140 + 9000 + 500000, Int("K")->GetValue());
}

TEST_F(Formulas, ConvertersBothWays) {
  Load(R"(
    <Integer Name="Raw"><Value>100</Value><Min>0</Min><Max>1000</Max></Integer>
    <Converter Name="Conv"><FormulaTo>FROM * 10</FormulaTo><FormulaFrom>TO / 10</FormulaFrom>
      <pValue>Raw</pValue></Converter>
    <IntConverter Name="Neg"><FormulaTo>0 - FROM</FormulaTo><FormulaFrom>0 - TO</FormulaFrom>
      <pValue>Raw</pValue><Slope>Decreasing</Slope></IntConverter>)");
  CFloatPtr conv = m_Ref._GetNode("Conv");
  EXPECT_DOUBLE_EQ(10.0, conv->GetValue());
  conv->SetValue(25.5);
  EXPECT_EQ(255, Int("Raw")->GetValue());
  EXPECT_DOUBLE_EQ(100.0, conv->GetMax());
  CIntegerPtr neg = m_Ref._GetNode("Neg");
  EXPECT_EQ(-255, neg->GetValue());
  EXPECT_EQ(-1000, neg->GetMin());
  EXPECT_EQ(0, neg->GetMax());
  neg->SetValue(-7);
  EXPECT_EQ(7, Int("Raw")->GetValue());
}

TEST_F(Formulas, IndexedValuesAndCommands) {
  Load(R"(
    <Integer Name="Sel"><Value>20</Value></Integer>
    <Integer Name="Table"><pIndex>Sel</pIndex><ValueIndexed Index="10">100</ValueIndexed>
      <ValueIndexed Index="20">200</ValueIndexed><ValueDefault>600</ValueDefault></Integer>
    <Integer Name="Trigger"><Value>0</Value></Integer>
    <Command Name="Start"><pValue>Trigger</pValue><CommandValue>1</CommandValue></Command>)");
  EXPECT_EQ(200, Int("Table")->GetValue());
  CIntegerPtr(m_Ref._GetNode("Sel"))->SetValue(30);
  EXPECT_EQ(600, Int("Table")->GetValue());
  CCommandPtr start = m_Ref._GetNode("Start");
  start->Execute();
  EXPECT_EQ(1, Int("Trigger")->GetValue());
  EXPECT_FALSE(start->IsDone());
  CIntegerPtr(m_Ref._GetNode("Trigger"))->SetValue(0);
  EXPECT_TRUE(start->IsDone());
}

} // namespace
