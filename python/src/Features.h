#pragma once
// The features of a camera, or of its transport layer, by name: vorla.Features.
#include <pybind11/pybind11.h>

#include <memory>
#include <string>

namespace GenApi {
struct INode;
struct INodeMap;
} // namespace GenApi
namespace Vorla {
class IVorlaDevice;
}

namespace VorlaPy {

class CCamera;

//! `features["Width"]` reads, `features["Width"] = 640` writes, `features.feature("Width")`
//! describes, iteration walks the tree from its root; an unknown name raises
//! vorla.FeatureNotFound with the nearest names. Thread-safe through the camera's lock.
class CFeatures {
public:
  CFeatures(std::shared_ptr<CCamera> camera, bool transportLayer);

  pybind11::object Get(const std::string& name) const;
  void Set(const std::string& name, pybind11::handle value) const;
  pybind11::object Feature(const std::string& name) const;
  bool Contains(const std::string& name) const;
  //! Every node under the root category, depth first, categories before their features.
  pybind11::list Walk() const;
  //! Every feature name (entries and ports left out), in the node map's order.
  pybind11::list Names() const;

private:
  GenApi::INodeMap* Map(Vorla::IVorlaDevice& device) const;
  //! The node, or FeatureNotFound naming the nearest features; the camera's lock is held.
  GenApi::INode& Require(Vorla::IVorlaDevice& device, const std::string& name) const;

  std::shared_ptr<CCamera> m_pCamera;
  bool m_TransportLayer;
};

} // namespace VorlaPy
