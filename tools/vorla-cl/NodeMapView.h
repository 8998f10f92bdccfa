#pragma once
// The features of an open camera as the user names them: its own node map first, then the
// transport layer's parameters of the device.
#include <GenApi/GenApi.h>

#include <string>
#include <utility>
#include <vector>

namespace VorlaCl {

//! Looks features up by name and renders them as text. Bound to the thread that uses the device.
class CNodeMapView {
public:
  //! Either map may be null.
  CNodeMapView(GenApi::INodeMap* camera, GenApi::INodeMap* transportLayer);

  //! The node of that name, or null.
  GenApi::INode* Find(const std::string& name) const;
  //! The node, or a CToolError that names the nearest existing features.
  GenApi::INode& Require(const std::string& name) const;
  //! Root categories with a heading: the camera's, then the transport layer's.
  std::vector<std::pair<std::string, GenApi::INode*>> Roots() const;
  //! Every feature name of both maps (enumeration entries and ports left out).
  std::vector<std::string> FeatureNames() const;

  static const char* TypeName(GenApi::EInterfaceType type);
  static const char* AccessName(GenApi::EAccessMode mode);
  //! The value when readable (a read error in angle brackets), otherwise empty. Categories
  //! have none; a command shows whether it is done.
  static std::string ValueText(GenApi::INode& node);
  //! Reads the value from the device, never from the cache; throws a CToolError when it is
  //! not readable.
  static std::string Read(GenApi::INode& node);

private:
  GenApi::INodeMap* m_Camera;
  GenApi::INodeMap* m_TransportLayer;
};

} // namespace VorlaCl
