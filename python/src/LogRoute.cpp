#include "LogRoute.h"

#include <platform/Mutex.h>

#include <pybind11/pybind11.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <deque>

namespace py = pybind11;
using Vorla::Platform::CLockGuard;
using Vorla::Platform::CMutex;
using Vorla::Platform::CUniqueLock;

namespace VorlaPy {
namespace {

// Lines waiting for Python beyond which new ones are dropped: a process that logs faster than
// its Python handlers take the lines must not grow without bound.
constexpr size_t MaxWaiting = 10000;

// The route's state, owned by the module and never destroyed (the SDK may log while the
// process ends). m_Lock is a leaf, taken under the logging state's lock by Write.
struct SRoute final : vxlog::ILogListener {
  void Write(const vxlog::LogEntry& entry) noexcept override {
    {
      CLockGuard<CMutex> guard(m_Lock);
      try {
        if (m_Waiting.size() < MaxWaiting)
          m_Waiting.push_back(entry);
        else
          ++m_Dropped;
      } catch (const std::exception&) {
        ++m_Dropped;
      }
      m_Pending.store(true, std::memory_order_release);
    }
    m_Changed.notify_all();
  }

  CMutex m_Lock;
  std::condition_variable_any m_Changed;
  std::deque<vxlog::LogEntry> m_Waiting VORLA_GUARDED_BY(m_Lock);
  size_t m_Dropped VORLA_GUARDED_BY(m_Lock) = 0;
  bool m_On VORLA_GUARDED_BY(m_Lock) = false;
  std::atomic<bool> m_Pending{false}; // lines or drops waiting: Drain's one look when idle
  // Held while lines are passed, so that two threads never pass them out of order; taken with
  // the GIL released (a handler may release the GIL while it holds this).
  CMutex m_Passing;
};

SRoute& Route() {
  static SRoute* route = new SRoute;
  return *route;
}

thread_local bool t_Passing = false; // a handler on this thread called the package

int PythonLevel(unsigned level) {
  if (level >= vxlog::Error)
    return 40;
  if (level >= vxlog::Warning)
    return 30;
  if (level >= vxlog::Notable)
    return 20;
  return level >= vxlog::Progress ? 10 : 5;
}

void Pass(const std::deque<vxlog::LogEntry>& lines, size_t dropped) {
  py::object getLogger = py::module_::import("logging").attr("getLogger");
  for (const vxlog::LogEntry& line : lines)
    getLogger("vorla." + line.category).attr("log")(PythonLevel(line.level), "%s", line.text);
  if (dropped)
    getLogger("vorla").attr("warning")("%d lines of the SDK's log were dropped: the handlers of "
                                       "logging fell behind",
                                       dropped);
}

} // namespace

void CLogRoute::Enable(bool on) {
  SRoute& route = Route();
  {
    CLockGuard<CMutex> guard(route.m_Lock);
    if (route.m_On == on)
      return;
    route.m_On = on;
  }
  if (on) {
    vxlog::LogAddListener(&route);
    vxlog::LogSetFilter("4294967295"); // nothing to standard error
    return;
  }
  vxlog::LogRemoveListener(&route);
  route.m_Changed.notify_all(); // the pump passes what is left and ends
  Drain();
  const char* filter = std::getenv("VORLA_LOG");
  vxlog::LogSetFilter(filter ? filter : "128");
}

void CLogRoute::Drain() noexcept {
  SRoute& route = Route();
  if (!route.m_Pending.load(std::memory_order_acquire) || t_Passing)
    return;
  t_Passing = true;
  PyThreadState* state = PyEval_SaveThread();
  CLockGuard<CMutex> passing(route.m_Passing);
  PyEval_RestoreThread(state);
  try {
    std::deque<vxlog::LogEntry> lines;
    for (;;) {
      size_t dropped = 0;
      {
        CLockGuard<CMutex> guard(route.m_Lock);
        lines.swap(route.m_Waiting);
        std::swap(dropped, route.m_Dropped);
        route.m_Pending.store(false, std::memory_order_relaxed);
      }
      if (lines.empty() && !dropped)
        break;
      Pass(lines, dropped);
      lines.clear();
    }
  } catch (py::error_already_set& e) {
    e.discard_as_unraisable("vorla: passing the SDK's log to logging");
  } catch (const std::exception&) {
    // out of memory: the lines taken are lost, later ones come
  }
  t_Passing = false;
}

void CLogRoute::Pump() {
  SRoute& route = Route();
  for (bool on = true; on;) {
    {
      py::gil_scoped_release released;
      CUniqueLock<CMutex> lock(route.m_Lock);
      while (route.m_Waiting.empty() && !route.m_Dropped && route.m_On)
        route.m_Changed.wait(lock);
      on = route.m_On;
    }
    Drain();
  }
}

} // namespace VorlaPy
