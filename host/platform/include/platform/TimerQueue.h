#pragma once
#include <platform/Visibility.h>

#include <cstdint>
#include <memory>

namespace Vorla {
namespace Platform {

//! A queue of one-shot timers served by one thread of its own (a Windows timer queue there).
//! Callbacks run on that thread, one at a time.
class VORLA_PLATFORM_API CTimerQueue {
public:
  using Callback = void (*)(void* context);
  using Handle = uint64_t; // 0 is never a valid timer

  CTimerQueue();
  //! Deletes every timer, waiting for a running callback (unless called from one).
  ~CTimerQueue();
  CTimerQueue(const CTimerQueue&) = delete;
  CTimerQueue& operator=(const CTimerQueue&) = delete;

  //! Arms a one-shot timer that calls `callback(context)` after `dueMs`; 0 on failure.
  Handle CreateTimer(uint32_t dueMs, Callback callback, void* context);
  //! Removes a timer. A callback that is running is waited for, except when DeleteTimer is
  //! called from that callback itself. Returns false for an unknown handle.
  bool DeleteTimer(Handle timer);
  //! True on the queue's own thread (inside a callback).
  bool IsCallbackThread() const;

private:
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

} // namespace Platform
} // namespace Vorla
