#pragma once
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <platform/Mutex.h>

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <thread>
#include <unordered_map>

namespace Vorla {
namespace Platform {

//! The process's one timer thread: a Boost.Asio io_context that runs every one-shot timer of
//! every CTimerQueue. Callbacks run on that thread one at a time, so a callback must not block
//! for long (it would hold up every other timer of the process).
//!
//! Thread-safe. Made on first use and never destroyed: a timer queue may outlive static
//! destruction (a port cached in a static), and a service that stopped first would leave it
//! hanging; the idle thread ends with the process.
class CTimerService {
public:
  using Callback = void (*)(void* context);
  using Id = uint64_t; // 0 is never a valid owner or timer

  static CTimerService& Instance();

  //! A new owner (a timer queue) for the timers created below.
  Id NewOwner() VORLA_EXCLUDES(m_lock);
  //! Arms a one-shot timer of `owner`; 0 on failure or while DeleteAll(owner) waits.
  Id Create(Id owner, uint32_t dueMs, Callback callback, void* context) VORLA_EXCLUDES(m_lock);
  //! Removes a timer of `owner`, waiting for its running callback unless called from the
  //! service thread. False when `owner` has no such timer.
  bool Delete(Id owner, Id timer) VORLA_EXCLUDES(m_lock);
  //! Removes every timer of `owner`, waiting as Delete does; a running callback of `owner` can
  //! create no timer meanwhile.
  void DeleteAll(Id owner) VORLA_EXCLUDES(m_lock);
  bool IsServiceThread() const { return std::this_thread::get_id() == m_threadId; }

  CTimerService(const CTimerService&) = delete;
  CTimerService& operator=(const CTimerService&) = delete;

private:
  CTimerService();
  void OnExpiry(Id timer, const boost::system::error_code& error) VORLA_EXCLUDES(m_lock);
  //! Waits until `timer` (when not 0), or else every timer of `owner`, has no callback running.
  void WaitForCallback(CUniqueLock<CMutex>& guard, Id owner, Id timer) VORLA_REQUIRES(m_lock);

  struct Entry {
    Id owner;
    Callback callback;
    void* context;
    // A fired one-shot timer stays known until deleted, as a Windows timer-queue timer does.
    std::unique_ptr<boost::asio::steady_timer> timer;
  };

  boost::asio::io_context m_io;
  boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work;
  // The timer service's lock, last in the product's lock order: guards the fields below; never
  // held while a callback runs. The service thread takes it only to look an expired timer up.
  // Owned by the service.
  CMutex m_lock;
  std::condition_variable_any m_callbackDone; // signalled under m_lock when a callback returns
  std::unordered_map<Id, Entry> m_timers VORLA_GUARDED_BY(m_lock);
  Id m_nextId VORLA_GUARDED_BY(m_lock) = 1;
  Id m_runningTimer VORLA_GUARDED_BY(m_lock) = 0; // the timer whose callback runs, with its owner
  Id m_runningOwner VORLA_GUARDED_BY(m_lock) = 0;
  bool m_runningOwnerClosing VORLA_GUARDED_BY(m_lock) = false; // its queue is being destroyed
  // The service thread, owned by the service; it runs m_io for the life of the process.
  std::thread m_thread;
  std::thread::id m_threadId;
};

} // namespace Platform
} // namespace Vorla
