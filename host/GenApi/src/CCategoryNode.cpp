#include "CCategoryNode.h"

#include "CNodeMap.h"

namespace GenApi {

bool CCategoryNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::pFeature)
    return m_Features.push_back(CRef{text, nullptr}), true;
  return CNodeBase::SetProperty(prop, text, attr);
}

void CCategoryNode::Link() {
  CNodeBase::Link();
  m_IsFeature = true;
  // A missing feature is left out of the category; the others stay usable.
  std::vector<CRef> found;
  for (CRef& feature : m_Features)
    if (Resolve(feature, "pFeature", false)) {
      feature.p->m_IsFeature = true;
      found.push_back(feature);
    }
  m_Features.swap(found);
}

void CCategoryNode::GetFeatures(FeatureList_t& Features) const {
  AutoLock lock(m_pMap->GetLock());
  Features.clear();
  for (const CRef& feature : m_Features)
    Features.push_back(feature.p);
}

} // namespace GenApi
