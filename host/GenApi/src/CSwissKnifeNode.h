#pragma once
#include "CFloatBase.h"
#include "CFormulaSet.h"

namespace GenApi {

//! SwissKnife: a read-only float computed by a formula.
class CSwissKnifeNode : public CFloatBase {
public:
  explicit CSwissKnifeNode(CNodeMap& map) : CFloatBase(map, ENodeType::SwissKnife) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  double GetFloatV(bool verify, bool ignoreCache) override;
  EAccessMode NaturalAccessMode() const override { return RO; }

private:
  CFormulaSet m_Formulas;
  std::string m_Text;
  size_t m_Formula = 0;
};

} // namespace GenApi
