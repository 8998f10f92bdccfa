#pragma once
#include <VorlaBase/VorlaBaseDef.h>

#include <cstdint>
#include <memory>

namespace Vorla {

namespace Platform {
class CEvent;
}

#if defined(_WIN32)
using WaitObjectNativeHandle = void*; //!< an event HANDLE for WaitForMultipleObjects
#else
using WaitObjectNativeHandle = int; //!< a file descriptor for poll/epoll (POLLIN = signalled)
#endif

//! Time-out value of Wait that waits without limit.
constexpr unsigned WaitObjectInfinite = 0xFFFFFFFF;

//! An event that a producer signals and consumers wait on, with a time-out or in their own poll
//! loop through GetNativeHandle. Thread-safe: every operation may be called from any thread.
class VORLABASE_API WaitObjectEx {
public:
  //! A manual-reset object stays signalled until Reset; an auto-reset one lets exactly one Wait
  //! through per Signal.
  explicit WaitObjectEx(bool manualReset = true, bool initiallySignaled = false);
  virtual ~WaitObjectEx();
  WaitObjectEx(const WaitObjectEx&) = delete;
  WaitObjectEx& operator=(const WaitObjectEx&) = delete;

  void Signal();
  void Reset();
  //! True when the object was (or became) signalled within `timeoutMs` milliseconds
  //! (WaitObjectInfinite: no limit); false on time-out.
  bool Wait(unsigned timeoutMs) const;
  //! Readable (Linux: POLLIN) exactly while the object is signalled. Belongs to the object: do
  //! not read from or close it.
  WaitObjectNativeHandle GetNativeHandle() const;

protected:
  std::unique_ptr<Platform::CEvent> m_pEvent;
};

} // namespace Vorla
