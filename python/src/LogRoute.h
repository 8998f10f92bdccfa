#pragma once
// The SDK's log lines handed to Python's logging.
#include <VorlaBase/Logging.h>

namespace VorlaPy {

//! While routed, every line of the SDK goes to logging.getLogger("vorla.<category>") at the
//! matching level (Detail 5, Progress DEBUG, Notable INFO, Warning WARNING, Error ERROR) and the
//! standard-error sink is silent. A listener queues the lines on the thread that logs them,
//! without the GIL and without calling Python (that thread may hold the SDK's locks); they reach
//! logging from the thread of the package's next call as that call returns, or else from the
//! route's own Python thread (vorla-log, running Pump) as soon as it gets the GIL. Lines arrive
//! in the order they were logged; past 10000 waiting lines new ones are dropped and counted.
//! Every function needs the GIL.
class CLogRoute {
public:
  static void Enable(bool on);
  //! Passes the waiting lines; costs an atomic load when there are none.
  static void Drain() noexcept;
  //! The body of the route's thread: passes lines as they come, returns once the route is off.
  static void Pump();
};

//! A call guard of the bindings: drains the log once the call is over.
struct SDrainLog {
  SDrainLog() = default;
  SDrainLog(const SDrainLog&) = delete;
  SDrainLog& operator=(const SDrainLog&) = delete;
  ~SDrainLog() { CLogRoute::Drain(); }
};

} // namespace VorlaPy
