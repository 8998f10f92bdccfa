#include "InactivityTimer.h"

namespace Vorla {

using Platform::CLockGuard;
using Platform::CMutex;
using Platform::CUniqueLock;

CInactivityTimer::CInactivityTimer(Action action)
    : m_action(std::move(action)), m_worker([this] { Work(); }) {}

CInactivityTimer::~CInactivityTimer() {
  Cancel();
  {
    CLockGuard<CMutex> guard(m_dueLock);
    m_stop = true;
  }
  m_wake.notify_one();
  m_worker.join();
}

bool CInactivityTimer::Cancel() {
  if (m_timer != 0) {
    if (!m_queue.DeleteTimer(m_timer)) // waits for a running OnExpiry
      return false;
    m_timer = 0;
  }
  ++m_ticket; // an expiry handed over before is stale now
  return true;
}

bool CInactivityTimer::Arm(uint32_t dueMs) {
  if (!Cancel())
    return false;
  if (dueMs == 0)
    return true;
  m_timer = m_queue.CreateTimer(dueMs, &CInactivityTimer::OnExpiry, this);
  return m_timer != 0;
}

// On the timer thread: hand over, never wait.
void CInactivityTimer::OnExpiry(void* self) {
  auto* timer = static_cast<CInactivityTimer*>(self);
  {
    CLockGuard<CMutex> guard(timer->m_dueLock);
    timer->m_due = true;
    timer->m_dueTicket = timer->m_ticket;
  }
  timer->m_wake.notify_one();
}

void CInactivityTimer::Work() {
  CUniqueLock<CMutex> guard(m_dueLock);
  for (;;) {
    while (!m_due && !m_stop)
      m_wake.wait(guard);
    if (m_stop)
      return;
    m_due = false;
    const Ticket ticket = m_dueTicket;
    guard.Unlock();
    try {
      m_action(ticket);
    } catch (...) {
      // the worker has no one to report to; the action logs its own failures
    }
    guard.Lock();
  }
}

} // namespace Vorla
