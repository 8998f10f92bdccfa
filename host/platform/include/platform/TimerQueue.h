#pragma once
#include <platform/Visibility.h>

#include <cstdint>

namespace Vorla {
namespace Platform {

//! A group of one-shot timers, deleted together with the queue. On Windows it is a system timer
//! queue whose callbacks run on the thread pool; elsewhere every queue of the process is served by
//! one timer thread (a Boost.Asio io_context), where callbacks run one at a time. Either way a
//! callback must not block for long.
//!
//! Thread-safe: timers may be created and deleted from any thread, also from a callback, which
//! may even delete its own timer or destroy its own queue.
class VORLA_PLATFORM_API CTimerQueue {
public:
  using Callback = void (*)(void* context);
  using Handle = uint64_t; // 0 is never a valid timer

  CTimerQueue();
  //! Deletes every timer of the queue, waiting for a running callback (unless called from one).
  ~CTimerQueue();
  CTimerQueue(const CTimerQueue&) = delete;
  CTimerQueue& operator=(const CTimerQueue&) = delete;

  //! Arms a one-shot timer that calls `callback(context)` after `dueMs`; 0 on failure, and for
  //! a callback of this queue while the queue is being destroyed. An exception out of the
  //! callback is swallowed.
  Handle CreateTimer(uint32_t dueMs, Callback callback, void* context);
  //! Removes a timer; it never fires afterwards. A callback that is running is waited for,
  //! except when DeleteTimer is called from a callback itself. A fired timer stays known until
  //! deleted. Returns false for a handle that this queue does not know.
  bool DeleteTimer(Handle timer);

private:
  uint64_t m_owner; // this queue's key in the process's timer service (on Windows, its state)
};

} // namespace Platform
} // namespace Vorla
