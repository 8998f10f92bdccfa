#pragma once
#include <platform/TimerQueue.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace Vorla {

//! The inactivity timer of a port: at most one armed one-shot timer on a queue of its own.
class COneShotTimer {
public:
  using Callback = void (*)(uintptr_t first, void* second);

  COneShotTimer() = default;
  //! Deletes the queue, waiting for a running callback.
  ~COneShotTimer();
  COneShotTimer(const COneShotTimer&) = delete;
  COneShotTimer& operator=(const COneShotTimer&) = delete;

  //! Deletes an armed timer (waiting for its running callback) and, unless `dueMs` is 0, arms
  //! a new one. False when the queue or the timer could not be made, or deletion failed.
  bool Arm(uint32_t dueMs, Callback callback, uintptr_t first, void* second);
  //! Deletes an armed timer, waiting for its running callback. False if deletion failed.
  bool Cancel();
  //! True from the start of a Cancel or re-Arm until a new timer is armed; a callback that waits
  //! for a lock polls this to give up instead of deadlocking against the canceller.
  bool IsCancelRequested() const { return m_cancelRequested; }

private:
  static void Trampoline(void* self);

  std::mutex m_cs; // guards the fields below (not the queue's own state); owned by the timer
  std::unique_ptr<Platform::CTimerQueue> m_queue;
  Platform::CTimerQueue::Handle m_timer = 0;
  Callback m_callback = nullptr;
  uintptr_t m_first = 0;
  void* m_second = nullptr;
  std::atomic<bool> m_cancelRequested{false};
};

} // namespace Vorla
