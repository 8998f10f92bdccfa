#pragma once
// SIGINT and SIGTERM for vorla-cl: the first asks the running command to end cleanly, a second
// ends the process at once.
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <platform/Mutex.h>

#include <atomic>
#include <functional>
#include <thread>

namespace VorlaCl {

//! Catches SIGINT and SIGTERM for its lifetime on a thread of its own. A command that can end
//! cleanly installs a handler (CScope) that wakes its waits; without one, or at a second signal,
//! the process ends at once with 128 + the signal's number. Thread-safe; one per process.
class CInterruption {
public:
  CInterruption();
  ~CInterruption();
  CInterruption(const CInterruption&) = delete;
  CInterruption& operator=(const CInterruption&) = delete;

  //! The process's one object, while it exists (null otherwise).
  static CInterruption* Current() { return s_Current.load(); }

  //! The signal that arrived, 0 while none did.
  int Signal() const { return m_Signal.load(); }
  bool Interrupted() const { return Signal() != 0; }
  //! The exit status for an interrupted command: 130 for SIGINT, 143 for SIGTERM.
  int ExitStatus() const { return 128 + Signal(); }

  //! Installs `onSignal` for its lifetime; it runs on the signal thread and must only wake the
  //! command (cancel a wait, notify a condition), the command then ends by itself. The
  //! destructor waits for a handler that is running.
  class CScope {
  public:
    explicit CScope(std::function<void()> onSignal);
    ~CScope();
    CScope(const CScope&) = delete;
    CScope& operator=(const CScope&) = delete;
  };

private:
  void Arm();
  void Arrived(int signal) VORLA_EXCLUDES(m_Lock);
  void SetHandler(std::function<void()> handler) VORLA_EXCLUDES(m_Lock);

  static std::atomic<CInterruption*> s_Current;
  boost::asio::io_context m_Io;
  boost::asio::signal_set m_Signals;
  std::atomic<int> m_Signal{0};
  // Owned by this object; held while the handler runs, first in the product's lock order (the
  // handler cancels a grab, taking the stream grabber's lock).
  Vorla::Platform::CMutex m_Lock;
  std::function<void()> m_Handler VORLA_GUARDED_BY(m_Lock);
  std::thread m_Thread;
};

} // namespace VorlaCl
