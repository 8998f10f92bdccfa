#include "TimerService.h"

#include <chrono>

namespace Vorla {
namespace Platform {

CTimerService& CTimerService::Instance() {
  static CTimerService* const service = new CTimerService; // never destroyed, see the class
  return *service;
}

CTimerService::CTimerService() : m_work(boost::asio::make_work_guard(m_io)) {
  m_thread = std::thread([this] { m_io.run(); });
  m_threadId = m_thread.get_id();
  m_thread.detach();
}

CTimerService::Id CTimerService::NewOwner() {
  CLockGuard<CMutex> guard(m_lock);
  return m_nextId++;
}

CTimerService::Id CTimerService::Create(Id owner, uint32_t dueMs, Callback callback,
                                        void* context) {
  if (!callback || owner == 0)
    return 0;
  CLockGuard<CMutex> guard(m_lock);
  if (owner == m_runningOwner && m_runningOwnerClosing)
    return 0; // its queue is being destroyed
  const Id id = m_nextId++;
  try {
    auto timer =
        std::make_unique<boost::asio::steady_timer>(m_io, std::chrono::milliseconds(dueMs));
    auto& entry = m_timers[id];
    entry = Entry{owner, callback, context, std::move(timer)};
    // The handler knows the timer by id only: the entry may be gone by the time it runs.
    entry.timer->async_wait(
        [this, id](const boost::system::error_code& error) { OnExpiry(id, error); });
    return id;
  } catch (const std::exception&) {
    m_timers.erase(id);
    return 0; // out of memory: reported as a timer that could not be made
  }
}

void CTimerService::OnExpiry(Id timer, const boost::system::error_code& error) {
  if (error)
    return; // deleted before it expired
  CUniqueLock<CMutex> guard(m_lock);
  const auto it = m_timers.find(timer);
  if (it == m_timers.end())
    return; // deleted after it expired, before this handler ran: it never fires
  const Entry& entry = it->second;
  const Callback callback = entry.callback;
  void* const context = entry.context;
  m_runningTimer = timer;
  m_runningOwner = entry.owner;
  guard.Unlock();
  try {
    callback(context);
  } catch (...) {
    // the timer thread has no one to report to, and must keep serving the other timers
  }
  guard.Lock();
  m_runningTimer = 0;
  m_runningOwner = 0;
  m_runningOwnerClosing = false;
  m_callbackDone.notify_all();
}

void CTimerService::WaitForCallback(CUniqueLock<CMutex>& guard, Id owner, Id timer) {
  // A callback deleting its own timer (or queue) must not wait for itself; and as callbacks run
  // one at a time, no other callback can be running then either.
  if (IsServiceThread())
    return;
  while (timer != 0 ? m_runningTimer == timer : m_runningOwner == owner)
    m_callbackDone.wait(guard);
}

bool CTimerService::Delete(Id owner, Id timer) {
  CUniqueLock<CMutex> guard(m_lock);
  const auto it = m_timers.find(timer);
  if (it == m_timers.end() || it->second.owner != owner)
    return false;
  m_timers.erase(it); // destroying the asio timer cancels a wait still pending
  WaitForCallback(guard, owner, timer);
  return true;
}

void CTimerService::DeleteAll(Id owner) {
  CUniqueLock<CMutex> guard(m_lock);
  for (auto it = m_timers.begin(); it != m_timers.end();)
    it = it->second.owner == owner ? m_timers.erase(it) : std::next(it);
  // A callback of `owner` that still runs may create a timer on its queue: it gets none, so
  // nothing of the queue fires once its destruction has begun.
  if (m_runningOwner == owner)
    m_runningOwnerClosing = true;
  WaitForCallback(guard, owner, 0);
}

} // namespace Platform
} // namespace Vorla
