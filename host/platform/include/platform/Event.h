#pragma once
#include <platform/Visibility.h>

#include <cstdint>
#include <memory>

namespace Vorla {
namespace Platform {

//! An event that threads and poll loops can wait on: on Linux a condition variable plus an
//! eventfd that is readable exactly while the event is signalled, on Windows an event object. A
//! second, independent "alert" channel lets one thread break another out of an alertable wait
//! without signalling. Thread-safe: every operation may be called from any thread at any time.
class VORLA_PLATFORM_API CEvent {
public:
#if defined(_WIN32)
  using NativeHandle = void*; // HANDLE
#else
  using NativeHandle = int; // file descriptor, pollable for POLLIN
#endif
  enum class EWaitResult { Timeout, Signaled, Alerted };
  static constexpr uint32_t Infinite = 0xFFFFFFFF;

  //! A manual-reset event stays signalled until Reset; an auto-reset one lets exactly one wait
  //! through per Signal.
  CEvent(bool manualReset, bool initiallySignaled);
  ~CEvent();
  CEvent(const CEvent&) = delete;
  CEvent& operator=(const CEvent&) = delete;

  void Signal();
  void Reset();
  //! Waits up to `timeoutMs` (Infinite: no limit) for the event; with `alertable`, also for an
  //! Alert. An auto-reset event is reset by the wait that it ends.
  EWaitResult Wait(uint32_t timeoutMs, bool alertable = false);
  //! Ends one alertable wait, now or the next one to come.
  void Alert();
  //! For the application's own poll/WaitForMultipleObjects loop. Readable (signalled) while the
  //! event is signalled; consuming it is Reset's job, not the poller's. On Linux the descriptor
  //! is made on the first call (signalling costs a system call only from then on); throws
  //! std::system_error when the process has no descriptor left.
  NativeHandle GetNativeHandle() const;

private:
  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

} // namespace Platform
} // namespace Vorla
