#include "CConverterNode.h"

#include "CNodeMap.h"

#include <algorithm>

namespace GenApi {

bool CConverterNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
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
    return m_Formulas.SetProperty(prop, text, attr) || CFloatBase::SetProperty(prop, text, attr);
  }
}

void CConverterNode::Link() {
  CFloatBase::Link();
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

double CConverterNode::From(const FormulaValue& to, bool ignoreCache) const {
  const FormulaValue extras[2] = {to, FormulaValue::FromInt(0)};
  return m_Formulas.Evaluate(m_FromFormula, false, ignoreCache, extras).AsFloat();
}

double CConverterNode::GetFloatV(bool verify, bool ignoreCache) {
  CNodeBase* node = m_Value.p;
  const FormulaValue to = node->IsFloatValue()
                              ? FormulaValue::FromFloat(node->GetFloatV(verify, ignoreCache))
                              : FormulaValue::FromInt(node->GetIntV(verify, ignoreCache));
  return From(to, ignoreCache);
}

void CConverterNode::SetFloatV(double value, bool verify) {
  m_pMap->PreWrite(this);
  const FormulaValue extras[2] = {FormulaValue::FromInt(0), FormulaValue::FromFloat(value)};
  const FormulaValue result = m_Formulas.Evaluate(m_ToFormula, false, false, extras);
  if (m_Value.p->IsFloatValue())
    m_Value.p->SetFloatV(result.AsFloat(), verify);
  else
    m_Value.p->SetIntV(result.AsInt(), verify);
  m_pMap->PostWrite(this);
}

void CConverterNode::Limits(double& min, double& max) {
  CNodeBase* node = m_Value.p;
  const bool isFloat = node->IsFloatValue();
  const double a = From(isFloat ? FormulaValue::FromFloat(node->GetFloatMinV())
                                : FormulaValue::FromInt(node->GetIntMinV()),
                        false);
  const double b = From(isFloat ? FormulaValue::FromFloat(node->GetFloatMaxV())
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

double CConverterNode::GetFloatMinV() {
  double min = 0, max = 0;
  Limits(min, max);
  return min;
}

double CConverterNode::GetFloatMaxV() {
  double min = 0, max = 0;
  Limits(min, max);
  return max;
}

} // namespace GenApi
