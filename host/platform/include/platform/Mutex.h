#pragma once
// Locks that Clang's thread-safety analysis understands (-Wthread-safety in the clang preset):
// members say which lock guards them, functions which lock they need or must not hold, and the
// compiler checks every access. Other compilers see plain mutexes.
//
// The one lock order of the product. A thread that holds a lock takes only locks further down
// this list; the leaves take nothing while held and never run foreign code (a plug-in, an
// application callback) under them.
//
//   0. the application's own      vorla-cl's signal handler (CInterruption; the handler it runs
//                                 cancels a grab); a Python camera (python/src/Camera.h, taken
//                                 only with the GIL released); the Python log route's passing
//                                 lock (python/src/LogRoute.cpp: taken with the GIL released,
//                                 held while logging's handlers run; a handler that calls the
//                                 package on the same thread does not pass lines again)
//   1. transport layer            (CVorlaCLSerTl, recursive)
//   2. device                     (CVorlaCLSerDevice, its removal link)
//   3. stream grabber             (CVorlaCLSerStreamGrabber, the application's state machine)
//   4. plug-in control            (every IFrameGrabber call passes through it, one at a time)
//   5. camera node map            (GenApi's node-map lock; node callbacks fire inside it)
//   6. port                       (CVorlaCLSerPort, recursive, serial I/O)
//   6a. port timer                (the port's timeout and inactivity timer; its holder waits
//                                  only for the timer thread's hand-over, never for 6)
//   7. timer service              (the process's timer thread and its table)
//   leaves: buffer table, node-callback table, removal-callback list, log sinks (then only a
//           log listener's own leaf: the Python log route's queue, python/src/LogRoute.cpp),
//           the port's removal-sink lock, the inactivity timer's hand-over to its worker, a
//           Python grab's returned buffers (python/src/BufferQueue.h), a serial library's
//           handle table (drivers/clser-common/PortTable.h) and each of its ports' own lock
//           (clsertty, clsercom: taken under 6 by the host's calls, never with the table's)
//
// A port's inactivity close runs on a worker thread of the port's timer, not on the timer
// thread: the worker takes 6 like any caller. The device lock (2) is the device's GenApi CLock,
// annotated like these; it guards the removal link and the removal-callback list, and no
// callback runs under it.
//
// A plug-in call made under 4 may wait for the plug-in's own delivery threads. Those threads
// deliver frames through 5, 6 and the buffer table only: they never take 1 to 4, and no lock
// they need is held across a plug-in call.
#include <boost/thread/recursive_mutex.hpp>

#include <mutex>

#if defined(__clang__)
#define VORLA_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define VORLA_THREAD_ANNOTATION(x)
#endif

#define VORLA_CAPABILITY(x) VORLA_THREAD_ANNOTATION(capability(x))
#define VORLA_SCOPED_CAPABILITY VORLA_THREAD_ANNOTATION(scoped_lockable)
#define VORLA_GUARDED_BY(x) VORLA_THREAD_ANNOTATION(guarded_by(x))
#define VORLA_PT_GUARDED_BY(x) VORLA_THREAD_ANNOTATION(pt_guarded_by(x))
#define VORLA_ACQUIRED_BEFORE(...) VORLA_THREAD_ANNOTATION(acquired_before(__VA_ARGS__))
#define VORLA_ACQUIRED_AFTER(...) VORLA_THREAD_ANNOTATION(acquired_after(__VA_ARGS__))
#define VORLA_REQUIRES(...) VORLA_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define VORLA_ACQUIRE(...) VORLA_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define VORLA_RELEASE(...) VORLA_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define VORLA_TRY_ACQUIRE(...) VORLA_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define VORLA_EXCLUDES(...) VORLA_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define VORLA_RETURN_CAPABILITY(x) VORLA_THREAD_ANNOTATION(lock_returned(x))
#define VORLA_NO_THREAD_SAFETY_ANALYSIS VORLA_THREAD_ANNOTATION(no_thread_safety_analysis)

namespace Vorla {
namespace Platform {

//! A non-recursive mutex. Thread-safe; Lockable, so std::condition_variable_any waits on it.
class VORLA_CAPABILITY("mutex") CMutex {
public:
  CMutex() = default;
  CMutex(const CMutex&) = delete;
  CMutex& operator=(const CMutex&) = delete;

  void lock() VORLA_ACQUIRE() { m_mutex.lock(); }
  void unlock() VORLA_RELEASE() { m_mutex.unlock(); }
  bool try_lock() VORLA_TRY_ACQUIRE(true) { return m_mutex.try_lock(); }

private:
  std::mutex m_mutex;
};

//! A recursive mutex: the owning thread may take it again. The analysis treats it as exclusive,
//! so code that re-enters it states so with VORLA_REQUIRES on the inner functions. Thread-safe.
class VORLA_CAPABILITY("mutex") CRecursiveMutex {
public:
  CRecursiveMutex() = default;
  CRecursiveMutex(const CRecursiveMutex&) = delete;
  CRecursiveMutex& operator=(const CRecursiveMutex&) = delete;

  void lock() VORLA_ACQUIRE() { m_mutex.lock(); }
  void unlock() VORLA_RELEASE() { m_mutex.unlock(); }
  bool try_lock() VORLA_TRY_ACQUIRE(true) { return m_mutex.try_lock(); }

private:
  boost::recursive_mutex m_mutex;
};

//! Holds a lock for a scope. Bound to the thread that made it.
template <class TMutex> class VORLA_SCOPED_CAPABILITY CLockGuard {
public:
  explicit CLockGuard(TMutex& mutex) VORLA_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
  ~CLockGuard() VORLA_RELEASE() { m_mutex.unlock(); }
  CLockGuard(const CLockGuard&) = delete;
  CLockGuard& operator=(const CLockGuard&) = delete;

private:
  TMutex& m_mutex;
};

//! A scope's lock that may be dropped and taken again inside the scope (around a call that must
//! run unlocked, or by a condition variable's wait). Bound to the thread that made it.
template <class TMutex> class VORLA_SCOPED_CAPABILITY CUniqueLock {
public:
  explicit CUniqueLock(TMutex& mutex) VORLA_ACQUIRE(mutex) : m_mutex(mutex) { Lock(); }
  ~CUniqueLock() VORLA_RELEASE() {
    if (m_locked)
      m_mutex.unlock();
  }
  CUniqueLock(const CUniqueLock&) = delete;
  CUniqueLock& operator=(const CUniqueLock&) = delete;

  void Lock() VORLA_ACQUIRE() {
    m_mutex.lock();
    m_locked = true;
  }
  void Unlock() VORLA_RELEASE() {
    m_locked = false;
    m_mutex.unlock();
  }
  // Lockable, for std::condition_variable_any.
  void lock() VORLA_ACQUIRE() { Lock(); }
  void unlock() VORLA_RELEASE() { Unlock(); }

private:
  TMutex& m_mutex;
  bool m_locked = false;
};

} // namespace Platform
} // namespace Vorla
