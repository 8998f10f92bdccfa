#include "CIntConverterNode.h"

#include "CNodeMap.h"

#include <algorithm>

namespace GenApi {

bool CIntConverterNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
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
    return m_Formulas.SetProperty(prop, text, attr) || CIntegerBase::SetProperty(prop, text, attr);
  }
}

void CIntConverterNode::Link() {
  CIntegerBase::Link();
  if (!m_Value.IsSet())
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s' has no pValue", m_Name.c_str());
  Resolve(m_Value, "pValue");
  if (!m_Value.p->IsNumeric())
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not a number", m_Name.c_str(),
                                              m_Value.Name.c_str());
  AddChild(m_Value.p);
  m_Formulas.Link(*this, {"TO", "FROM"});
  m_ToFormula = m_Formulas.Compile(*this, m_To, "FormulaTo");
  m_FromFormula = m_Formulas.Compile(*this, m_From, "FormulaFrom");
}

int64_t CIntConverterNode::From(const FormulaValue& to, bool ignoreCache) const {
  const FormulaValue extras[2] = {to, FormulaValue::FromInt(0)};
  return m_Formulas.Evaluate(m_FromFormula, true, ignoreCache, extras).AsInt();
}

int64_t CIntConverterNode::GetIntV(bool verify, bool ignoreCache) {
  CNodeBase* node = m_Value.p;
  const FormulaValue to = node->IsFloatValue()
                              ? FormulaValue::FromFloat(node->GetFloatV(verify, ignoreCache))
                              : FormulaValue::FromInt(node->GetIntV(verify, ignoreCache));
  return From(to, ignoreCache);
}

void CIntConverterNode::SetIntV(int64_t value, bool verify) {
  m_pMap->PreWrite(this);
  const FormulaValue extras[2] = {FormulaValue::FromInt(0), FormulaValue::FromInt(value)};
  const FormulaValue result = m_Formulas.Evaluate(m_ToFormula, true, false, extras);
  if (m_Value.p->IsFloatValue())
    m_Value.p->SetFloatV(result.AsFloat(), verify);
  else
    m_Value.p->SetIntV(result.AsInt(), verify);
  m_pMap->PostWrite(this);
}

void CIntConverterNode::Limits(int64_t& min, int64_t& max) {
  CNodeBase* node = m_Value.p;
  const bool isFloat = node->IsFloatValue();
  const int64_t a = From(isFloat ? FormulaValue::FromFloat(node->GetFloatMinV())
                                 : FormulaValue::FromInt(node->GetIntMinV()),
                         false);
  const int64_t b = From(isFloat ? FormulaValue::FromFloat(node->GetFloatMaxV())
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

int64_t CIntConverterNode::GetIntMinV() {
  int64_t min = 0, max = 0;
  Limits(min, max);
  return min;
}

int64_t CIntConverterNode::GetIntMaxV() {
  int64_t min = 0, max = 0;
  Limits(min, max);
  return max;
}

} // namespace GenApi
