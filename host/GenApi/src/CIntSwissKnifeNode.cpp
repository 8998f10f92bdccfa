#include "CIntSwissKnifeNode.h"

#include "CNodeMap.h"

namespace GenApi {

bool CIntSwissKnifeNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::Formula)
    return m_Text = text, true;
  return m_Formulas.SetProperty(prop, text, attr) || CIntegerBase::SetProperty(prop, text, attr);
}

void CIntSwissKnifeNode::Link() {
  CIntegerBase::Link();
  m_Formulas.Link(*this, {});
  m_Formula = m_Formulas.Compile(*this, m_Text, "Formula");
}

int64_t CIntSwissKnifeNode::GetIntV(bool verify, bool ignoreCache) {
  return m_Formulas.Evaluate(m_Formula, true, ignoreCache, nullptr).AsInt();
}

} // namespace GenApi
