#include "OneShotTimer.h"

namespace Vorla {

COneShotTimer::COneShotTimer(Callback callback, void* context)
    : m_callback(callback), m_context(context) {}

bool COneShotTimer::Cancel() {
  if (m_timer == 0)
    return true;
  if (!m_queue.DeleteTimer(m_timer))
    return false;
  m_timer = 0;
  return true;
}

bool COneShotTimer::Arm(uint32_t dueMs) {
  if (!Cancel())
    return false;
  if (dueMs == 0)
    return true;
  m_timer = m_queue.CreateTimer(dueMs, m_callback, m_context);
  return m_timer != 0;
}

} // namespace Vorla
