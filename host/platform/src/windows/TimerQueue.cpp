#include <platform/Mutex.h>
#include <platform/TimerQueue.h>

#include <windows.h>

#include <memory>
#include <unordered_map>

// The system's timer queues: each CTimerQueue owns one, its timers are one-shot timer-queue
// timers whose callbacks run on the system thread pool.
namespace Vorla {
namespace Platform {
namespace {

struct Timer {
  CTimerQueue::Callback callback;
  void* context;
  HANDLE handle = nullptr;
};

// The callback this thread is running, so that deleting it from inside does not wait for itself.
thread_local const Timer* t_running = nullptr;

VOID CALLBACK Fire(PVOID parameter, BOOLEAN) {
  const auto* timer = static_cast<const Timer*>(parameter);
  const Timer* const outer = t_running;
  t_running = timer;
  try {
    timer->callback(timer->context); // may delete `timer`: not touched afterwards
  } catch (...) {
    // a thread-pool thread has no one to report to
  }
  t_running = outer;
}

// A queue's state: the system queue and the table that makes an unknown handle harmless.
struct Queue {
  HANDLE queue = ::CreateTimerQueue();
  CMutex lock; // a leaf: nothing waits under it
  std::unordered_map<CTimerQueue::Handle, std::unique_ptr<Timer>> timers VORLA_GUARDED_BY(lock);
  CTimerQueue::Handle next VORLA_GUARDED_BY(lock) = 1;
  bool closing VORLA_GUARDED_BY(lock) = false; // being destroyed: no timer is armed any more
};

Queue* QueueOf(uint64_t owner) {
  return reinterpret_cast<Queue*>(static_cast<uintptr_t>(owner));
}

// Deletes a timer, waiting for its running callback unless that callback is this thread.
void Delete(Queue& queue, std::unique_ptr<Timer> timer) {
  ::DeleteTimerQueueTimer(queue.queue, timer->handle,
                          t_running == timer.get() ? nullptr : INVALID_HANDLE_VALUE);
}

} // namespace

CTimerQueue::CTimerQueue() : m_owner(reinterpret_cast<uintptr_t>(new Queue)) {}

CTimerQueue::~CTimerQueue() {
  Queue* const queue = QueueOf(m_owner);
  std::unordered_map<Handle, std::unique_ptr<Timer>> timers;
  {
    CLockGuard<CMutex> guard(queue->lock);
    queue->closing = true; // a callback that runs while we wait arms nothing any more
    timers.swap(queue->timers);
  }
  for (auto& entry : timers)
    Delete(*queue, std::move(entry.second));
  if (queue->queue)
    ::DeleteTimerQueueEx(queue->queue, nullptr); // its timers are gone already
  delete queue;
}

CTimerQueue::Handle CTimerQueue::CreateTimer(uint32_t dueMs, Callback callback, void* context) {
  Queue* const queue = QueueOf(m_owner);
  if (!callback || !queue->queue)
    return 0;
  CLockGuard<CMutex> guard(queue->lock);
  if (queue->closing)
    return 0;
  const Handle id = queue->next++;
  try {
    // In the table before it is armed, so that a callback deleting its own timer finds it.
    Timer& timer = *(queue->timers[id] = std::make_unique<Timer>(Timer{callback, context}));
    if (::CreateTimerQueueTimer(&timer.handle, queue->queue, &Fire, &timer, dueMs, 0,
                                WT_EXECUTEONLYONCE))
      return id;
  } catch (const std::exception&) {
    // out of memory: reported as a timer that could not be made
  }
  queue->timers.erase(id);
  return 0;
}

bool CTimerQueue::DeleteTimer(Handle timer) {
  Queue* const queue = QueueOf(m_owner);
  std::unique_ptr<Timer> entry;
  {
    CLockGuard<CMutex> guard(queue->lock);
    const auto it = queue->timers.find(timer);
    if (it == queue->timers.end())
      return false;
    entry = std::move(it->second);
    queue->timers.erase(it);
  }
  Delete(*queue, std::move(entry));
  return true;
}

} // namespace Platform
} // namespace Vorla
