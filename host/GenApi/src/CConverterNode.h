#pragma once
#include "CFloatBase.h"
#include "CFormulaSet.h"

namespace GenApi {

//! Converter: a float view of the pValue node. FormulaFrom maps the node's value (TO) to the
//! user's, FormulaTo maps the user's value (FROM) back.
class CConverterNode : public CFloatBase {
public:
  explicit CConverterNode(CNodeMap& map) : CFloatBase(map, ENodeType::Converter) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  double GetFloatV(bool verify, bool ignoreCache) override;
  void SetFloatV(double value, bool verify) override;
  double GetFloatMinV() override;
  double GetFloatMaxV() override;
  EAccessMode NaturalAccessMode() const override { return m_Value.p->GetAccessMode(); }
  void InvalidateOwn() override { m_Value.p->InvalidateOwn(); }
  ECachingMode GetCachingMode() const override { return m_Value.p->GetCachingMode(); }

private:
  double From(const FormulaValue& to, bool ignoreCache) const;
  void Limits(double& min, double& max);

  CFormulaSet m_Formulas;
  CRef m_Value;
  std::string m_To, m_From, m_Slope;
  size_t m_ToFormula = 0, m_FromFormula = 0;
};

} // namespace GenApi
