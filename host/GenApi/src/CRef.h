#pragma once
#include <string>

namespace GenApi {

class CNodeBase;

//! A reference to another node by name, resolved when the map is linked.
struct CRef {
  std::string Name;
  CNodeBase* p = nullptr;
  bool IsSet() const { return !Name.empty(); }
};

} // namespace GenApi
