#pragma once
#include <cstdint>

namespace GenApi {

class CNodeBase;
class CNodeMap;

//! Wraps every public node operation: holds the node-map lock, names the entry point for error
//! messages and, when the outermost operation completes, fires the collected callbacks (inside
//! the lock first, then after releasing it).
class CEntryGuard {
public:
  CEntryGuard(const CNodeBase& node, const char* method);
  //! For operations of the map itself; `entry` names them in error messages.
  CEntryGuard(CNodeMap& map, const char* entry);
  ~CEntryGuard();
  CEntryGuard(const CEntryGuard&) = delete;
  CEntryGuard& operator=(const CEntryGuard&) = delete;

  //! Ends the operation successfully: fires callbacks and releases the lock.
  void Done();

private:
  CNodeMap& m_Map;
  bool m_Locked = true;
  bool m_Outermost;
};

} // namespace GenApi
