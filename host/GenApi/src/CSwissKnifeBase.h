#pragma once
#include "CFormulaSet.h"
#include "CNodeMap.h"

#include <type_traits>

namespace GenApi {

//! What SwissKnife and IntSwissKnife share: a read-only value computed by one formula, in integer
//! arithmetic when TValue is an integer. TBase is the interface base (CFloatBase or CIntegerBase).
template <class TBase, class TValue> class CSwissKnifeBase : public TBase {
public:
  CSwissKnifeBase(CNodeMap& map, ENodeType type) : TBase(map, type) {}

  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override {
    if (prop == EProp::Formula)
      return m_Text = text, true;
    return m_Formulas.SetProperty(prop, text, attr) || TBase::SetProperty(prop, text, attr);
  }

  void Link() override {
    TBase::Link();
    m_Formulas.Link(*this, {});
    m_Formula = m_Formulas.Compile(*this, m_Text, "Formula");
  }

  EAccessMode NaturalAccessMode() const override { return RO; }

protected:
  //! The formula's value, computed at most once per generation of the map (a fresh value also
  //! serves a request that allows the cache).
  TValue Compute(bool ignoreCache) {
    this->ThrowIfNotImplemented(); // a variable may be missing: the formula was never compiled
    CNodeMap& map = this->Map();
    const uint64_t generation = map.Generation();
    if (m_MemoGeneration == generation && (m_MemoFresh || !ignoreCache))
      return m_Memo;
    map.Step();
    const FormulaValue result = m_Formulas.Evaluate(m_Formula, IsInteger, ignoreCache, nullptr);
    if constexpr (IsInteger)
      m_Memo = result.AsInt();
    else
      m_Memo = result.AsFloat();
    m_MemoGeneration = generation;
    m_MemoFresh = ignoreCache;
    return m_Memo;
  }

private:
  static constexpr bool IsInteger = std::is_integral<TValue>::value;

  CFormulaSet m_Formulas;
  std::string m_Text;
  size_t m_Formula = 0;
  // memo of Compute (map lock held)
  TValue m_Memo = 0;
  uint64_t m_MemoGeneration = 0;
  bool m_MemoFresh = false;
};

} // namespace GenApi
