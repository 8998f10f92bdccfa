#pragma once
#include "CNodeBase.h"

#include <GenApi/ICategory.h>

namespace GenApi {

//! Category: lists features.
class CCategoryNode : public CNodeBase, public ICategory {
public:
  explicit CCategoryNode(CNodeMap& map) : CNodeBase(map, ENodeType::Category) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfICategory; }
  void GetFeatures(FeatureList_t& Features) const override;

private:
  std::vector<CRef> m_Features;
};

} // namespace GenApi
