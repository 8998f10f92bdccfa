#include "FeatureCommand.h"

#include "NameSuggester.h"
#include "ToolError.h"

#include <nlohmann/json.hpp>

#include <cstdio>

namespace VorlaCl {
namespace {

std::string JoinSymbols(GenApi::IEnumeration& enumeration) {
  GenICam::gcstring_vector symbols;
  enumeration.GetSymbolics(symbols);
  std::string text;
  for (const auto& s : symbols)
    text += (text.empty() ? "" : ", ") + s;
  return text;
}

} // namespace

int CFeatureCommand::Features(const std::string& name, bool all) const {
  if (m_Json) {
    nlohmann::json out = nlohmann::json::array();
    if (name.empty())
      for (const auto& root : m_View.Roots())
        out.push_back({{"name", root.first}, {"features", Json(*root.second, all)["features"]}});
    else
      out.push_back(Json(m_View.Require(name), true));
    std::printf("%s\n", out.dump(2).c_str());
    return ExitSuccess;
  }
  if (name.empty()) {
    for (const auto& root : m_View.Roots()) {
      std::printf("%s\n", root.first.c_str());
      PrintFeatures(*root.second, 1, all);
    }
    return ExitSuccess;
  }
  GenApi::INode& node = m_View.Require(name);
  if (node.GetPrincipalInterfaceType() == GenApi::intfICategory)
    PrintTree(node, 0, all);
  else
    PrintDetails(node);
  return ExitSuccess;
}

void CFeatureCommand::PrintTree(GenApi::INode& node, int depth, bool all) const {
  if (!all && node.GetVisibility() == GenApi::Invisible)
    return;
  const GenApi::EInterfaceType type = node.GetPrincipalInterfaceType();
  const std::string label = std::string(static_cast<size_t>(depth) * 2, ' ') + node.GetName();
  if (type == GenApi::intfICategory)
    std::printf("%s\n", label.c_str());
  else
    std::printf("%-36s %-12s %s  %s\n", label.c_str(), CNodeMapView::TypeName(type),
                CNodeMapView::AccessName(node.GetAccessMode()),
                CNodeMapView::ValueText(node).c_str());
  PrintFeatures(node, depth + 1, all);
}

nlohmann::json CFeatureCommand::Json(GenApi::INode& node, bool all) const {
  const GenApi::EInterfaceType type = node.GetPrincipalInterfaceType();
  nlohmann::json out = {{"name", node.GetName().c_str()}};
  if (auto* category = dynamic_cast<GenApi::ICategory*>(&node)) {
    out["features"] = nlohmann::json::array();
    GenApi::FeatureList_t features;
    category->GetFeatures(features);
    for (GenApi::IValue* feature : features)
      if (GenApi::INode* child = feature->GetNode())
        if (all || child->GetVisibility() != GenApi::Invisible)
          out["features"].push_back(Json(*child, all));
    return out;
  }
  out["type"] = CNodeMapView::TypeName(type);
  out["access"] = CNodeMapView::AccessName(node.GetAccessMode());
  out["value"] = CNodeMapView::ValueText(node);
  return out;
}

void CFeatureCommand::PrintFeatures(GenApi::INode& node, int depth, bool all) const {
  auto* category = dynamic_cast<GenApi::ICategory*>(&node);
  if (!category)
    return;
  GenApi::FeatureList_t features;
  category->GetFeatures(features);
  for (GenApi::IValue* feature : features)
    if (GenApi::INode* child = feature->GetNode())
      PrintTree(*child, depth, all);
}

void CFeatureCommand::PrintDetails(GenApi::INode& node) const {
  const GenApi::EInterfaceType type = node.GetPrincipalInterfaceType();
  std::printf("%s\n", node.GetName().c_str());
  std::printf("  %-13s %s\n", "type", CNodeMapView::TypeName(type));
  std::printf("  %-13s %s\n", "access mode", CNodeMapView::AccessName(node.GetAccessMode()));
  std::printf("  %-13s %s\n", "value", CNodeMapView::ValueText(node).c_str());
  if (node.GetDisplayName() != node.GetName())
    std::printf("  %-13s %s\n", "display name", node.GetDisplayName().c_str());
  if (!node.GetDescription().empty())
    std::printf("  %-13s %s\n", "description", node.GetDescription().c_str());
  if (!GenApi::IsAvailable(node.GetAccessMode()))
    return;
  try {
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node))
      std::printf("  %-13s %lld to %lld, step %lld %s\n", "range",
                  static_cast<long long>(integer->GetMin()),
                  static_cast<long long>(integer->GetMax()),
                  static_cast<long long>(integer->GetInc()), integer->GetUnit().c_str());
    else if (auto* real = dynamic_cast<GenApi::IFloat*>(&node))
      std::printf("  %-13s %g to %g %s\n", "range", real->GetMin(), real->GetMax(),
                  real->GetUnit().c_str());
    else if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node))
      std::printf("  %-13s %s\n", "entries", JoinSymbols(*enumeration).c_str());
  } catch (const GenICam::GenericException& e) {
    std::printf("  %-13s <%s>\n", "range", e.GetDescription());
  }
}

int CFeatureCommand::Get(const std::vector<std::string>& names) const {
  // Look every name up first, so that a typo fails before anything is read.
  std::vector<GenApi::INode*> nodes;
  for (const std::string& name : names)
    nodes.push_back(&m_View.Require(name));
  nlohmann::json values = nlohmann::json::object();
  for (GenApi::INode* node : nodes) {
    const std::string value = CNodeMapView::Read(*node);
    if (m_Json)
      values[node->GetName().c_str()] = value;
    else
      std::printf("%s = %s\n", node->GetName().c_str(), value.c_str());
  }
  if (m_Json)
    std::printf("%s\n", values.dump(2).c_str());
  return ExitSuccess;
}

int CFeatureCommand::Set(const std::vector<std::string>& assignments) const {
  for (const std::string& assignment : assignments)
    m_View.Require(assignment.substr(0, assignment.find('=')));
  for (const std::string& assignment : assignments)
    SetOne(assignment);
  return ExitSuccess;
}

std::string CFeatureCommand::WhyLocked() const {
  // A grab locks the transport parameters, and with them the camera's geometry and format.
  GenApi::CIntegerPtr locked = m_View.Find("TLParamsLocked");
  try {
    if (locked && GenApi::IsReadable(locked) && locked->GetValue() != 0)
      return ": a grab holds the camera (TLParamsLocked = 1); end the grab, or free the camera "
             "with 'vorla-cl set TLParamsLocked=0'";
  } catch (const GenICam::GenericException&) {
  }
  return "";
}

void CFeatureCommand::SetOne(const std::string& assignment) const {
  const size_t equals = assignment.find('=');
  const std::string name = assignment.substr(0, equals);
  const std::string text = equals == std::string::npos ? "" : assignment.substr(equals + 1);
  GenApi::INode& node = m_View.Require(name);
  const GenApi::EAccessMode mode = node.GetAccessMode();
  if (!GenApi::IsWritable(mode))
    throw CToolError(ExitFailure, "'" + name + "' is not writable (access mode " +
                                      CNodeMapView::AccessName(mode) + ")" + WhyLocked());
  if (auto* command = dynamic_cast<GenApi::ICommand*>(&node)) {
    command->Execute();
    std::printf("%s executed\n", name.c_str());
    return;
  }
  auto* value = dynamic_cast<GenApi::IValue*>(&node);
  if (!value || equals == std::string::npos)
    throw CToolError(ExitUsage, "'" + assignment + "' is not Name=Value");
  if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) {
    GenICam::gcstring_vector symbols;
    enumeration->GetSymbolics(symbols);
    if (!enumeration->GetEntryByName(text) ||
        !GenApi::IsAvailable(enumeration->GetEntryByName(text)->GetAccessMode()))
      throw CToolError(ExitFailure, "'" + name + "' has no entry '" + text + "'" +
                                        CNameSuggester(symbols).DidYouMean(text) +
                                        " (entries: " + JoinSymbols(*enumeration) + ")");
  }
  try {
    value->FromString(text);
  } catch (const GenICam::GenericException& e) {
    throw CToolError(ExitFailure,
                     "Cannot set '" + name + "' to '" + text + "': " + e.GetDescription());
  }
  if (GenApi::IsReadable(node.GetAccessMode()))
    std::printf("%s = %s\n", name.c_str(), CNodeMapView::Read(node).c_str());
  else
    std::printf("%s set to %s\n", name.c_str(), text.c_str());
}

} // namespace VorlaCl
