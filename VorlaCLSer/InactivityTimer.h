#pragma once
#include <platform/Mutex.h>
#include <platform/TimerQueue.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <thread>

namespace Vorla {

//! The inactivity timer of a port: at most one armed one-shot timer on the process's timer
//! thread, whose expiry is handed to a worker thread of this timer. The due action (a port's
//! inactivity close: it waits for the port lock and talks to the camera) so never runs on the
//! timer thread, and a slow close of one port holds up no other timer of the process.
//!
//! Arm and Cancel are not thread-safe: the owner serialises them (the port does so under its
//! timer lock). They wait for a running timer callback, which only hands the expiry over, never
//! for the action. The action runs on the worker, one at a time, with the ticket of the arming
//! that came due; IsCurrent(ticket) is false once the timer was re-armed or cancelled since, so
//! the owner drops a close that an access overtook.
class CInactivityTimer {
public:
  using Ticket = uint64_t;
  using Action = std::function<void(Ticket)>;

  explicit CInactivityTimer(Action action);
  //! Cancels the timer and ends the worker after a running action.
  ~CInactivityTimer();
  CInactivityTimer(const CInactivityTimer&) = delete;
  CInactivityTimer& operator=(const CInactivityTimer&) = delete;

  //! Cancels and, unless `dueMs` is 0, arms anew. False when the timer could not be made, or
  //! deletion failed.
  bool Arm(uint32_t dueMs);
  //! Deletes an armed timer and makes every earlier ticket stale. False if deletion failed.
  bool Cancel();
  //! Thread-safe.
  bool IsCurrent(Ticket ticket) const { return ticket == m_ticket; }

private:
  static void OnExpiry(void* self);
  void Work() VORLA_EXCLUDES(m_dueLock);

  const Action m_action;
  Platform::CTimerQueue m_queue;
  Platform::CTimerQueue::Handle m_timer = 0; // 0 when not armed
  std::atomic<Ticket> m_ticket{0};           // advanced by every Arm and Cancel
  // A leaf: guards the hand-over from the timer thread to the worker. Owned by the timer.
  Platform::CMutex m_dueLock;
  std::condition_variable_any m_wake;
  bool m_due VORLA_GUARDED_BY(m_dueLock) = false;
  Ticket m_dueTicket VORLA_GUARDED_BY(m_dueLock) = 0;
  bool m_stop VORLA_GUARDED_BY(m_dueLock) = false;
  std::thread m_worker; // owned; joined by the destructor
};

} // namespace Vorla
