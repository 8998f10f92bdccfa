#include "OneShotTimer.h"

#include <new>

namespace Vorla {

COneShotTimer::~COneShotTimer() {
  m_cancelRequested = true;
  m_queue.reset(); // waits for a running callback
}

bool COneShotTimer::Cancel() {
  m_cancelRequested = true;
  Platform::CTimerQueue::Handle timer;
  {
    std::lock_guard<std::mutex> guard(m_cs);
    timer = m_timer;
  }
  if (timer == 0)
    return true;
  // Not under m_cs: the running callback's trampoline needs it.
  if (!m_queue->DeleteTimer(timer))
    return false;
  std::lock_guard<std::mutex> guard(m_cs);
  if (m_timer == timer)
    m_timer = 0;
  return true;
}

bool COneShotTimer::Arm(uint32_t dueMs, Callback callback, uintptr_t first, void* second) {
  if (!m_queue) {
    m_queue.reset(new (std::nothrow) Platform::CTimerQueue);
    if (!m_queue)
      return false;
  }
  if (!Cancel())
    return false;
  if (dueMs == 0)
    return true;
  // Held across creation so that an early expiry finds the new handle stored.
  std::lock_guard<std::mutex> guard(m_cs);
  m_callback = callback;
  m_first = first;
  m_second = second;
  m_cancelRequested = false;
  const auto timer = m_queue->CreateTimer(dueMs, &COneShotTimer::Trampoline, this);
  if (timer == 0) {
    m_callback = nullptr;
    m_first = 0;
    m_second = nullptr;
    return false;
  }
  m_timer = timer;
  return true;
}

void COneShotTimer::Trampoline(void* self) {
  auto* timer = static_cast<COneShotTimer*>(self);
  Callback callback;
  uintptr_t first;
  void* second;
  {
    std::lock_guard<std::mutex> guard(timer->m_cs);
    if (!timer->m_callback)
      return;
    callback = timer->m_callback;
    first = timer->m_first;
    second = timer->m_second;
  }
  try {
    callback(first, second);
  } catch (...) {
    // a timer thread has no one to report to
  }
}

} // namespace Vorla
