#pragma once
// The handle table of a Camera Link serial library, written once for every kind of port.
#include <CLProtocol/ClSerial.h>
#include <platform/Mutex.h>

#include <map>
#include <memory>

// GCC says __SANITIZE_ADDRESS__, clang __has_feature(address_sanitizer).
#if defined(__SANITIZE_ADDRESS__)
#define CLSER_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CLSER_LEAK_CHECKED 1
#endif
#endif
#if defined(CLSER_LEAK_CHECKED)
#include <sanitizer/lsan_interface.h>
#endif

namespace ClSerCommon {

//! The handles given out for the ports of `TPort` (which names its ports with a static
//! `Devices()` and opens one with `Open()`). Handles are counters, not addresses: a stale handle
//! can never reach a new port's memory. Thread-safe.
template <class TPort> class CPortTable {
public:
  static CPortTable& Instance() {
    // Never destroyed: a client may still close handles while the process exits. When the client
    // unloads the library first, only the leak checker still sees the table; it is told so.
    static CPortTable* table = [] {
      auto* made = new CPortTable;
#if defined(CLSER_LEAK_CHECKED)
      __lsan_ignore_object(made);
#endif
      return made;
    }();
    return *table;
  }

  CLINT32 Open(CLUINT32 index, hSerRef* ref) {
    if (!ref)
      return CL_ERR_INVALID_PTR;
    const auto devices = TPort::Devices();
    if (index >= devices.size())
      return CL_ERR_INVALID_INDEX;
    auto port = std::make_shared<TPort>(devices[index]);
    const CLINT32 status = port->Open();
    if (status != CL_ERR_NO_ERR)
      return status;
    Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
    const hSerRef handle = reinterpret_cast<hSerRef>(m_nextHandle++);
    m_ports[handle] = std::move(port);
    *ref = handle;
    return CL_ERR_NO_ERR;
  }

  //! The port behind a handle, null for an unknown or closed handle. The shared owner keeps a
  //! port alive while a call on another thread still uses it after a close.
  std::shared_ptr<TPort> Find(hSerRef ref) {
    Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
    const auto it = m_ports.find(ref);
    return it == m_ports.end() ? nullptr : it->second;
  }

  void Close(hSerRef ref) {
    std::shared_ptr<TPort> port;
    {
      Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
      const auto it = m_ports.find(ref);
      if (it == m_ports.end())
        return;
      port = std::move(it->second);
      m_ports.erase(it);
    }
    // The port closes when the last user lets go, outside the table lock.
  }

private:
  Vorla::Platform::CMutex m_lock; // leaf, owned by the table
  std::map<hSerRef, std::shared_ptr<TPort>> m_ports VORLA_GUARDED_BY(m_lock);
  uintptr_t m_nextHandle VORLA_GUARDED_BY(m_lock) = 0x100;
};

} // namespace ClSerCommon
