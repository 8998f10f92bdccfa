#pragma once
#include "CFormulaSet.h"
#include "CIntegerBase.h"

namespace GenApi {

//! IntSwissKnife: a read-only integer computed by a formula in integer arithmetic. Also used
//! unnamed inside registers as an address term.
class CIntSwissKnifeNode : public CIntegerBase {
public:
  explicit CIntSwissKnifeNode(CNodeMap& map) : CIntegerBase(map, ENodeType::IntSwissKnife) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  EAccessMode NaturalAccessMode() const override { return RO; }

private:
  CFormulaSet m_Formulas;
  std::string m_Text;
  size_t m_Formula = 0;
};

} // namespace GenApi
