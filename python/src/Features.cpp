#include "Features.h"

#include "Camera.h"
#include "ErrorTranslator.h"
#include "Feature.h"
#include "NodeMapView.h"
#include "ToolError.h"

#include <VorlaBase/IVorlaDevice.h>

#include <pybind11/stl.h>

#include <functional>
#include <set>
#include <vector>

namespace py = pybind11;

namespace VorlaPy {

CFeatures::CFeatures(std::shared_ptr<CCamera> camera, bool transportLayer)
    : m_pCamera(std::move(camera)), m_TransportLayer(transportLayer) {}

GenApi::INodeMap* CFeatures::Map(Vorla::IVorlaDevice& device) const {
  return m_TransportLayer ? device.GetTLNodeMap() : device.GetNodeMap();
}

GenApi::INode& CFeatures::Require(Vorla::IVorlaDevice& device, const std::string& name) const {
  GenApi::INodeMap* map = Map(device);
  // The tool's lookup: the same message, with the nearest names, as `vorla-cl get`.
  const VorlaCl::CNodeMapView view(m_TransportLayer ? nullptr : map,
                                   m_TransportLayer ? map : nullptr);
  try {
    return view.Require(name);
  } catch (const VorlaCl::CToolError& e) {
    throw CPyError(CPyError::FeatureNotFound, e.what());
  }
}

py::object CFeatures::Get(const std::string& name) const {
  return CFeature::ToPython(m_pCamera, m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
    return CFeature::ReadLocked(Require(device, name));
  }));
}

void CFeatures::Set(const std::string& name, py::handle value) const {
  const CFeature::SValue node = m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
    GenApi::INode& found = Require(device, name);
    return CFeature::SValue{&found, found.GetPrincipalInterfaceType(), 0, 0, name};
  });
  CFeature(m_pCamera, node.m_pNode, node.m_Type, name).SetValue(value);
}

py::object CFeatures::Feature(const std::string& name) const {
  const CFeature::SValue node = m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
    GenApi::INode& found = Require(device, name);
    return CFeature::SValue{&found, found.GetPrincipalInterfaceType(), 0, 0, name};
  });
  return py::cast(CFeature(m_pCamera, node.m_pNode, node.m_Type, name));
}

bool CFeatures::Contains(const std::string& name) const {
  return m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
    GenApi::INodeMap* map = Map(device);
    return map && map->GetNode(name.c_str()) != nullptr;
  });
}

py::list CFeatures::Walk() const {
  const std::vector<CFeature::SValue> nodes = m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
    std::vector<CFeature::SValue> found;
    GenApi::INodeMap* map = Map(device);
    GenApi::INode* root = map ? map->GetNode("Root") : nullptr;
    // The description decides the tree's shape: each node is listed once, and a category
    // nested deeper than any real one is listed but not entered.
    constexpr int MaxDepth = 32;
    std::set<GenApi::INode*> seen;
    const std::function<void(GenApi::INode&, int)> visit = [&](GenApi::INode& node, int depth) {
      if (!seen.insert(&node).second)
        return;
      found.push_back({&node, node.GetPrincipalInterfaceType(), 0, 0, node.GetName().c_str()});
      auto* category = dynamic_cast<GenApi::ICategory*>(&node);
      if (!category || depth == MaxDepth)
        return;
      GenApi::FeatureList_t features;
      category->GetFeatures(features);
      for (GenApi::IValue* feature : features)
        if (GenApi::INode* child = feature->GetNode())
          visit(*child, depth + 1);
    };
    if (root)
      visit(*root, 0);
    return found;
  });
  py::list list;
  for (const CFeature::SValue& node : nodes)
    list.append(py::cast(CFeature(m_pCamera, node.m_pNode, node.m_Type, node.m_Text)));
  return list;
}

py::list CFeatures::Names() const {
  return py::cast(m_pCamera->Call([&](Vorla::IVorlaDevice& device) {
    GenApi::INodeMap* map = Map(device);
    return VorlaCl::CNodeMapView(m_TransportLayer ? nullptr : map, m_TransportLayer ? map : nullptr)
        .FeatureNames();
  }));
}

} // namespace VorlaPy
