#pragma once
#include <GenApi/Synch.h>

#include <cstdint>

namespace GenApi {

class CNodeBase;
class CNodeMap;

//! Wraps every public node operation: holds the node-map lock, names the entry point for error
//! messages and, when the outermost operation completes, fires the collected callbacks (inside
//! the lock first, then after releasing it).
class CEntryGuard {
public:
  // The guard is the lock's own holder, released on one of two ways: the analysis stays out.
  CEntryGuard(const CNodeBase& node, const char* method)
      GENAPI_THREAD_ANNOTATION(no_thread_safety_analysis);
  //! For operations of the map itself; `entry` names them in error messages.
  CEntryGuard(CNodeMap& map, const char* entry) GENAPI_THREAD_ANNOTATION(no_thread_safety_analysis);
  ~CEntryGuard() GENAPI_THREAD_ANNOTATION(no_thread_safety_analysis);
  CEntryGuard(const CEntryGuard&) = delete;
  CEntryGuard& operator=(const CEntryGuard&) = delete;

  //! Ends the operation successfully: fires callbacks and releases the lock.
  void Done() GENAPI_THREAD_ANNOTATION(no_thread_safety_analysis);

private:
  CNodeMap& m_Map;
  bool m_Locked = true;
  bool m_Outermost;
};

} // namespace GenApi
