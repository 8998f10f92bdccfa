#include "CSwissKnifeNode.h"

#include "CNodeMap.h"

namespace GenApi {

bool CSwissKnifeNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::Formula)
    return m_Text = text, true;
  return m_Formulas.SetProperty(prop, text, attr) || CFloatBase::SetProperty(prop, text, attr);
}

void CSwissKnifeNode::Link() {
  CFloatBase::Link();
  m_Formulas.Link(*this, {});
  m_Formula = m_Formulas.Compile(*this, m_Text, "Formula");
}

double CSwissKnifeNode::GetFloatV(bool verify, bool ignoreCache) {
  return m_Formulas.Evaluate(m_Formula, false, ignoreCache, nullptr).AsFloat();
}

} // namespace GenApi
