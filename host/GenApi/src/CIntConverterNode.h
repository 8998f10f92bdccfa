#pragma once
#include "CFormulaSet.h"
#include "CIntegerBase.h"

namespace GenApi {

//! IntConverter: an integer view of the pValue node. FormulaFrom maps the node's value (TO) to the
//! user's, FormulaTo maps the user's value (FROM) back.
class CIntConverterNode : public CIntegerBase {
public:
  explicit CIntConverterNode(CNodeMap& map) : CIntegerBase(map, ENodeType::IntConverter) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  int64_t GetIntMinV() override;
  int64_t GetIntMaxV() override;
  EAccessMode NaturalAccessMode() const override { return m_Value.p->GetAccessMode(); }
  void InvalidateOwn() override { m_Value.p->InvalidateOwn(); }
  ECachingMode GetCachingMode() const override { return m_Value.p->GetCachingMode(); }

private:
  int64_t From(const FormulaValue& to, bool ignoreCache) const;
  void Limits(int64_t& min, int64_t& max);

  CFormulaSet m_Formulas;
  CRef m_Value;
  std::string m_To, m_From, m_Slope;
  size_t m_ToFormula = 0, m_FromFormula = 0;
};

} // namespace GenApi
