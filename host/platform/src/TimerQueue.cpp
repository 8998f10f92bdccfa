#include <platform/TimerQueue.h>

#include "TimerService.h"

namespace Vorla {
namespace Platform {

CTimerQueue::CTimerQueue() : m_owner(CTimerService::Instance().NewOwner()) {}

CTimerQueue::~CTimerQueue() {
  CTimerService::Instance().DeleteAll(m_owner);
}

CTimerQueue::Handle CTimerQueue::CreateTimer(uint32_t dueMs, Callback callback, void* context) {
  return CTimerService::Instance().Create(m_owner, dueMs, callback, context);
}

bool CTimerQueue::DeleteTimer(Handle timer) {
  return CTimerService::Instance().Delete(m_owner, timer);
}

} // namespace Platform
} // namespace Vorla
