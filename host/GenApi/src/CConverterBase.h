#pragma once
#include "CFormulaSet.h"
#include "CNodeMap.h"

#include <algorithm>
#include <type_traits>

namespace GenApi {

//! What Converter and IntConverter share: a view of the pValue node through FormulaFrom (the
//! node's value, TO, to the user's) and FormulaTo (the user's value, FROM, back). TBase is the
//! interface base (CFloatBase or CIntegerBase), TValue its value type; the node classes route
//! their Get/Set/Min/Max members here.
template <class TBase, class TValue> class CConverterBase : public TBase {
public:
  CConverterBase(CNodeMap& map, ENodeType type) : TBase(map, type) {}

  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override {
    switch (prop) {
    case EProp::FormulaTo:
      m_To = text;
      return true;
    case EProp::FormulaFrom:
      m_From = text;
      return true;
    case EProp::pValue:
      m_Value.Name = text;
      return true;
    case EProp::Slope:
      m_Slope = text;
      return true;
    default:
      return m_Formulas.SetProperty(prop, text, attr) || TBase::SetProperty(prop, text, attr);
    }
  }

  void Link() override {
    TBase::Link();
    if (!m_Value.IsSet())
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s' has no pValue", m_Name.c_str());
    this->Resolve(m_Value, "pValue");
    if (!m_Value.p->IsNumeric())
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not a number", m_Name.c_str(),
                                                m_Value.Name.c_str());
    this->AddChild(m_Value.p);
    m_Formulas.Link(*this, {"TO", "FROM"});
    m_ToFormula = m_Formulas.Compile(*this, m_To, "FormulaTo");
    m_FromFormula = m_Formulas.Compile(*this, m_From, "FormulaFrom");
  }

  EAccessMode NaturalAccessMode() const override { return m_Value.p->GetAccessMode(); }
  void InvalidateOwn() override { m_Value.p->InvalidateOwn(); }
  ECachingMode GetCachingMode() const override { return m_Value.p->GetCachingMode(); }

protected:
  using TBase::EntryPoint;
  using TBase::m_Name;
  using TBase::m_pMap;

  //! The converted value; without Verify computed at most once per generation of the map.
  TValue Convert(bool verify, bool ignoreCache) {
    this->ThrowIfNotImplemented(); // pValue or a variable may be missing
    const uint64_t generation = m_pMap->Generation();
    if (!verify && m_MemoGeneration == generation && (m_MemoFresh || !ignoreCache))
      return m_Memo;
    m_pMap->Step();
    CNodeBase* node = m_Value.p;
    const FormulaValue to = node->IsFloatValue()
                                ? FormulaValue::FromFloat(node->GetFloatV(verify, ignoreCache))
                                : FormulaValue::FromInt(node->GetIntV(verify, ignoreCache));
    const TValue value = From(to, ignoreCache);
    if (!verify) {
      m_Memo = value;
      m_MemoGeneration = generation;
      m_MemoFresh = ignoreCache;
    }
    return value;
  }

  void ConvertBack(TValue value, bool verify) {
    this->ThrowIfNotImplemented(); // pValue or a variable may be missing
    m_pMap->PreWrite(this);
    const FormulaValue extras[2] = {FormulaValue::FromInt(0), Wrap(value)};
    const FormulaValue result = m_Formulas.Evaluate(m_ToFormula, IsInteger, false, extras);
    m_Value.p->CheckWritableTarget();
    if (m_Value.p->IsFloatValue())
      m_Value.p->SetFloatV(result.AsFloat(), verify);
    else
      m_Value.p->SetIntV(result.AsInt(), verify);
    m_pMap->PostWrite(this);
  }

  //! The converted range of the pValue node, ordered as Slope says.
  void Limits(TValue& min, TValue& max) {
    this->ThrowIfNotImplemented(); // pValue or a variable may be missing
    CNodeBase* node = m_Value.p;
    const bool isFloat = node->IsFloatValue();
    const TValue a = From(isFloat ? FormulaValue::FromFloat(node->GetFloatMinV())
                                  : FormulaValue::FromInt(node->GetIntMinV()),
                          false);
    const TValue b = From(isFloat ? FormulaValue::FromFloat(node->GetFloatMaxV())
                                  : FormulaValue::FromInt(node->GetIntMaxV()),
                          false);
    if (m_Slope == "Increasing") {
      min = a, max = b;
    } else if (m_Slope == "Decreasing") {
      min = b, max = a;
    } else { // Automatic or Varying: probe both ends
      min = std::min(a, b), max = std::max(a, b);
    }
  }

private:
  static constexpr bool IsInteger = std::is_integral<TValue>::value;

  static FormulaValue Wrap(TValue value) {
    if constexpr (IsInteger)
      return FormulaValue::FromInt(value);
    else
      return FormulaValue::FromFloat(value);
  }

  TValue From(const FormulaValue& to, bool ignoreCache) const {
    const FormulaValue extras[2] = {to, FormulaValue::FromInt(0)};
    const FormulaValue result = m_Formulas.Evaluate(m_FromFormula, IsInteger, ignoreCache, extras);
    if constexpr (IsInteger)
      return result.AsInt();
    else
      return result.AsFloat();
  }

  CFormulaSet m_Formulas;
  CRef m_Value;
  std::string m_To, m_From, m_Slope;
  size_t m_ToFormula = 0, m_FromFormula = 0;
  // memo of Convert (map lock held)
  TValue m_Memo = 0;
  uint64_t m_MemoGeneration = 0;
  bool m_MemoFresh = false;
};

} // namespace GenApi
