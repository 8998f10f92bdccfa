#pragma once
// vorla-cl features, get and set.
#include "NodeMapView.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace VorlaCl {

//! Shows, reads and writes the features of an open camera.
class CFeatureCommand {
public:
  //! With `json`, Features and Get print one JSON document instead of text.
  CFeatureCommand(const CNodeMapView& view, bool json) : m_View(view), m_Json(json) {}

  //! The category tree below `name` (every root when empty), one feature a line: name, type,
  //! access mode, value. Invisible features only with `all`. A feature that is not a category
  //! is shown with its description, range or entries.
  int Features(const std::string& name, bool all) const;
  //! "Name = value" for each name.
  int Get(const std::vector<std::string>& names) const;
  //! Writes each "Name=Value" in order (enumerations by symbol; commands are executed, with or
  //! without "=") and prints the value read back from the camera.
  int Set(const std::vector<std::string>& assignments) const;

private:
  void PrintTree(GenApi::INode& node, int depth, bool all) const;
  //! The features of a category, one level deeper.
  void PrintFeatures(GenApi::INode& node, int depth, bool all) const;
  void PrintDetails(GenApi::INode& node) const;
  //! A feature as JSON: name, type, access mode and value; a category's features below it.
  nlohmann::json Json(GenApi::INode& node, bool all) const;
  void SetOne(const std::string& assignment) const;
  //! Why features are locked when a grab holds the camera; empty otherwise.
  std::string WhyLocked() const;

  const CNodeMapView& m_View;
  bool m_Json;
};

} // namespace VorlaCl
