#include <platform/TimerQueue.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace Vorla {
namespace Platform {

using Clock = std::chrono::steady_clock;

struct CTimerQueue::Impl {
  struct Timer {
    Clock::time_point due;
    Callback callback;
    void* context;
    bool fired; // a fired one-shot timer stays known until deleted, as on Windows
  };

  // Guards everything below. Owned by the queue; never held while a callback runs.
  std::mutex lock;
  std::condition_variable changed;
  std::map<Handle, Timer> timers;
  Handle next = 1;
  Handle running = 0; // the timer whose callback runs now
  bool stopping = false;
  std::thread thread; // the service thread, owned by the queue, joined by its destructor

  void Serve() {
    std::unique_lock<std::mutex> guard(lock);
    while (!stopping) {
      auto earliest = timers.end();
      for (auto it = timers.begin(); it != timers.end(); ++it)
        if (!it->second.fired &&
            (earliest == timers.end() || it->second.due < earliest->second.due))
          earliest = it;
      if (earliest == timers.end()) {
        changed.wait(guard);
        continue;
      }
      if (Clock::now() < earliest->second.due) {
        const Clock::time_point due = earliest->second.due; // the node may go while we wait
        changed.wait_until(guard, due);
        continue;
      }
      const Handle id = earliest->first;
      const Timer timer = earliest->second;
      earliest->second.fired = true;
      running = id;
      guard.unlock();
      timer.callback(timer.context);
      guard.lock();
      running = 0;
      changed.notify_all();
    }
  }
};

CTimerQueue::CTimerQueue() : m_impl(std::make_unique<Impl>()) {
  m_impl->thread = std::thread([this] { m_impl->Serve(); });
}

CTimerQueue::~CTimerQueue() {
  {
    std::unique_lock<std::mutex> guard(m_impl->lock);
    m_impl->stopping = true;
    m_impl->timers.clear();
    m_impl->changed.notify_all();
  }
  if (IsCallbackThread())
    m_impl->thread.detach(); // a callback ending its own queue; it returns into a stopped loop
  else
    m_impl->thread.join();
}

CTimerQueue::Handle CTimerQueue::CreateTimer(uint32_t dueMs, Callback callback, void* context) {
  if (!callback)
    return 0;
  std::lock_guard<std::mutex> guard(m_impl->lock);
  const Handle id = m_impl->next++;
  m_impl->timers[id] = Impl::Timer{Clock::now() + std::chrono::milliseconds(dueMs), callback,
                                   context, false};
  m_impl->changed.notify_all();
  return id;
}

bool CTimerQueue::DeleteTimer(Handle timer) {
  std::unique_lock<std::mutex> guard(m_impl->lock);
  const bool pending = m_impl->timers.erase(timer) != 0;
  if (m_impl->running == timer && timer != 0) {
    if (!IsCallbackThread())
      m_impl->changed.wait(guard, [&] { return m_impl->running != timer; });
    return true;
  }
  m_impl->changed.notify_all();
  return pending;
}

bool CTimerQueue::IsCallbackThread() const {
  return std::this_thread::get_id() == m_impl->thread.get_id();
}

} // namespace Platform
} // namespace Vorla
