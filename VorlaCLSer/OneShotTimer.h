#pragma once
#include <platform/TimerQueue.h>

#include <cstdint>

namespace Vorla {

//! The inactivity timer of a port: at most one armed one-shot timer, on the process's timer
//! thread. The callback and its context are fixed at construction.
//!
//! Not thread-safe: the owner serialises Arm, Cancel and destruction (the port does so under
//! its timer lock). The callback runs on the timer thread, concurrently with them; Arm, Cancel
//! and the destructor wait for it, except when called from it.
class COneShotTimer {
public:
  using Callback = Platform::CTimerQueue::Callback;

  COneShotTimer(Callback callback, void* context);
  //! Deletes an armed timer, waiting for its running callback.
  ~COneShotTimer() = default;
  COneShotTimer(const COneShotTimer&) = delete;
  COneShotTimer& operator=(const COneShotTimer&) = delete;

  //! Deletes an armed timer (waiting for its running callback) and, unless `dueMs` is 0, arms a
  //! new one. False when the timer could not be made, or deletion failed.
  bool Arm(uint32_t dueMs);
  //! Deletes an armed timer, waiting for its running callback. False if deletion failed.
  bool Cancel();

private:
  const Callback m_callback;
  void* const m_context;
  Platform::CTimerQueue m_queue;
  Platform::CTimerQueue::Handle m_timer = 0; // 0 when not armed
};

} // namespace Vorla
