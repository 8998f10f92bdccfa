#pragma once
// The SDK's log lines handed to Python's logging.
#include <VorlaBase/Logging.h>

namespace VorlaPy {

//! While routed, a log capture records every line of the SDK and Drain passes the lines recorded
//! since the last Drain to logging.getLogger("vorla.<category>") at the matching level (Detail 5,
//! Progress DEBUG, Notable INFO, Warning WARNING, Error ERROR); the standard-error sink is
//! silenced meanwhile. Every call of the package drains when it returns, so lines of the SDK's
//! own threads arrive with the next call. Drain needs the GIL; Enable may be called from any
//! Python thread.
class CLogRoute {
public:
  static void Enable(bool on);
  static void Drain() noexcept;
};

//! A call guard of the bindings: drains the log once the call is over.
struct SDrainLog {
  SDrainLog() = default;
  SDrainLog(const SDrainLog&) = delete;
  SDrainLog& operator=(const SDrainLog&) = delete;
  ~SDrainLog() { CLogRoute::Drain(); }
};

} // namespace VorlaPy
