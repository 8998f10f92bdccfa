#include "NodeMapView.h"

#include "NameSuggester.h"
#include "ToolError.h"

namespace VorlaCl {

CNodeMapView::CNodeMapView(GenApi::INodeMap* camera, GenApi::INodeMap* transportLayer)
    : m_Camera(camera), m_TransportLayer(transportLayer) {}

GenApi::INode* CNodeMapView::Find(const std::string& name) const {
  for (GenApi::INodeMap* map : {m_Camera, m_TransportLayer})
    if (map)
      if (GenApi::INode* node = map->GetNode(name))
        return node;
  return nullptr;
}

GenApi::INode& CNodeMapView::Require(const std::string& name) const {
  if (GenApi::INode* node = Find(name))
    return *node;
  throw CToolError(ExitFailure,
                   "No feature '" + name + "'" + CNameSuggester(FeatureNames()).DidYouMean(name));
}

std::vector<std::pair<std::string, GenApi::INode*>> CNodeMapView::Roots() const {
  std::vector<std::pair<std::string, GenApi::INode*>> roots;
  if (GenApi::INode* root = m_Camera ? m_Camera->GetNode("Root") : nullptr)
    roots.emplace_back("Camera", root);
  if (GenApi::INode* root = m_TransportLayer ? m_TransportLayer->GetNode("Root") : nullptr)
    roots.emplace_back("Transport layer", root);
  return roots;
}

std::vector<std::string> CNodeMapView::FeatureNames() const {
  std::vector<std::string> names;
  for (GenApi::INodeMap* map : {m_Camera, m_TransportLayer}) {
    if (!map)
      continue;
    GenApi::NodeList_t nodes;
    map->GetNodes(nodes);
    for (GenApi::INode* node : nodes) {
      const GenApi::EInterfaceType type = node->GetPrincipalInterfaceType();
      if (type != GenApi::intfIEnumEntry && type != GenApi::intfIPort)
        names.push_back(node->GetName());
    }
  }
  return names;
}

const char* CNodeMapView::TypeName(GenApi::EInterfaceType type) {
  switch (type) {
  case GenApi::intfIInteger:
    return "Integer";
  case GenApi::intfIBoolean:
    return "Boolean";
  case GenApi::intfICommand:
    return "Command";
  case GenApi::intfIFloat:
    return "Float";
  case GenApi::intfIString:
    return "String";
  case GenApi::intfIRegister:
    return "Register";
  case GenApi::intfICategory:
    return "Category";
  case GenApi::intfIEnumeration:
    return "Enumeration";
  case GenApi::intfIEnumEntry:
    return "EnumEntry";
  case GenApi::intfIPort:
    return "Port";
  case GenApi::intfIBase:
    return "Base";
  case GenApi::intfIValue:
    break;
  }
  return "Value";
}

const char* CNodeMapView::AccessName(GenApi::EAccessMode mode) {
  static const char* const names[] = {"NI", "NA", "WO", "RO", "RW"};
  return mode >= GenApi::NI && mode <= GenApi::RW ? names[mode] : "??";
}

std::string CNodeMapView::ValueText(GenApi::INode& node) {
  const GenApi::EInterfaceType type = node.GetPrincipalInterfaceType();
  if (type == GenApi::intfICategory || !GenApi::IsReadable(node.GetAccessMode()))
    return "";
  auto* value = dynamic_cast<GenApi::IValue*>(&node);
  if (!value)
    return "";
  try {
    if (type == GenApi::intfICommand)
      return value->ToString() == "0" ? "(done)" : "(running)";
    return value->ToString();
  } catch (const GenICam::GenericException& e) {
    return std::string("<") + e.GetDescription() + ">";
  }
}

std::string CNodeMapView::Read(GenApi::INode& node) {
  auto* value = dynamic_cast<GenApi::IValue*>(&node);
  const GenApi::EAccessMode mode = node.GetAccessMode();
  if (!value || node.GetPrincipalInterfaceType() == GenApi::intfICategory)
    throw CToolError(ExitFailure, "'" + node.GetName() + "' is a " +
                                      TypeName(node.GetPrincipalInterfaceType()) +
                                      " and has no value");
  if (!GenApi::IsReadable(mode))
    throw CToolError(ExitFailure, "'" + node.GetName() + "' is not readable (access mode " +
                                      AccessName(mode) + ")");
  return value->ToString(false, true);
}

} // namespace VorlaCl
