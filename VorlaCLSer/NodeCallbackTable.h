#pragma once
#include <GenApi/Types.h>
#include <platform/Mutex.h>
#include <vorla/IFrameGrabber.h>

#include <vector>

namespace GenApi {
struct INode;
}

namespace Vorla {

class IVorlaDevice;

//! The frame-grabber plug-in's callbacks on camera nodes: one row per registration, its handle
//! the row's index plus 1; a freed row is reused and the table never shrinks. Node changes reach
//! it inside the camera node map's lock, so its own lock is a leaf taken after that one; GenApi
//! calls and the plug-in's callbacks run without it. Thread-safe.
class CNodeCallbackTable {
public:
  explicit CNodeCallbackTable(IVorlaDevice& device) : m_Device(device) {}
  ~CNodeCallbackTable() { Clear(); }
  CNodeCallbackTable(const CNodeCallbackTable&) = delete;
  CNodeCallbackTable& operator=(const CNodeCallbackTable&) = delete;

  //! Calls `callback` with the node's value, `context` and `cookie` after each change of the
  //! camera node `nodeName`. A handle, 0 on failure (logged).
  uintptr_t Register(const char* nodeName, PluginNodeCallback callback, uint64_t context,
                     uint32_t cookie) VORLA_EXCLUDES(m_Lock);
  //! True when the registration of `handle` was removed.
  bool Deregister(uintptr_t handle) VORLA_EXCLUDES(m_Lock);
  //! Removes every registration: no callback follows (the plug-in's code may go).
  void Clear() VORLA_EXCLUDES(m_Lock);

private:
  struct SRow {
    GenApi::INode* m_pNode = nullptr; // null: a free row
    PluginNodeCallback m_Callback = nullptr;
    GenApi::CallbackHandleType m_hCallback = 0;
    uint64_t m_Context = 0;
    uint32_t m_Cookie = 0;
    bool m_Removing = false; // a deregistration is under way
  };

  void OnNodeChanged(GenApi::INode* node) VORLA_EXCLUDES(m_Lock);

  IVorlaDevice& m_Device;
  // Owned by the table; guards the rows.
  Platform::CMutex m_Lock;
  std::vector<SRow> m_Rows VORLA_GUARDED_BY(m_Lock);
};

} // namespace Vorla
