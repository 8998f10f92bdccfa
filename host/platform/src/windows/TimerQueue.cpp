#include <platform/TimerQueue.h>

#include <windows.h>

#include <map>
#include <mutex>

namespace Vorla {
namespace Platform {

struct CTimerQueue::Impl {
  HANDLE queue = nullptr;
  std::mutex lock; // guards timers
  std::map<Handle, HANDLE> timers;
  Handle next = 1;
  DWORD callbackThread = 0;
  struct Call {
    Impl* impl;
    Callback callback;
    void* context;
  };
  static VOID CALLBACK Trampoline(PVOID parameter, BOOLEAN) {
    auto* call = static_cast<Call*>(parameter);
    call->impl->callbackThread = ::GetCurrentThreadId();
    call->callback(call->context);
    call->impl->callbackThread = 0;
  }
  std::map<Handle, std::unique_ptr<Call>> calls;
};

CTimerQueue::CTimerQueue() : m_impl(std::make_unique<Impl>()) {
  m_impl->queue = ::CreateTimerQueue();
}

CTimerQueue::~CTimerQueue() {
  if (m_impl->queue)
    ::DeleteTimerQueueEx(m_impl->queue, IsCallbackThread() ? nullptr : INVALID_HANDLE_VALUE);
}

CTimerQueue::Handle CTimerQueue::CreateTimer(uint32_t dueMs, Callback callback, void* context) {
  std::lock_guard<std::mutex> guard(m_impl->lock);
  if (!m_impl->queue || !callback)
    return 0;
  auto call = std::make_unique<Impl::Call>(Impl::Call{m_impl.get(), callback, context});
  HANDLE timer = nullptr;
  if (!::CreateTimerQueueTimer(&timer, m_impl->queue, &Impl::Trampoline, call.get(), dueMs, 0,
                               WT_EXECUTEONLYONCE))
    return 0;
  const Handle id = m_impl->next++;
  m_impl->timers[id] = timer;
  m_impl->calls[id] = std::move(call);
  return id;
}

bool CTimerQueue::DeleteTimer(Handle timer) {
  HANDLE h = nullptr;
  {
    std::lock_guard<std::mutex> guard(m_impl->lock);
    const auto it = m_impl->timers.find(timer);
    if (it == m_impl->timers.end())
      return false;
    h = it->second;
    m_impl->timers.erase(it);
  }
  const BOOL ok = ::DeleteTimerQueueTimer(m_impl->queue, h,
                                          IsCallbackThread() ? nullptr : INVALID_HANDLE_VALUE);
  std::lock_guard<std::mutex> guard(m_impl->lock);
  m_impl->calls.erase(timer);
  return ok != FALSE || ::GetLastError() == ERROR_IO_PENDING;
}

bool CTimerQueue::IsCallbackThread() const {
  return m_impl->callbackThread == ::GetCurrentThreadId();
}

} // namespace Platform
} // namespace Vorla
