#pragma once
// The CLProtocol drivers' log lines, routed into the host's log for the life of a command.
#include <atomic>

namespace VorlaCl {

//! Installs itself as the receiver of the CLProtocol drivers' lines: each becomes a line of the
//! host's log in the category "CLProtocol.Driver" (so --log and VORLA_LOG show it and nothing
//! reaches the terminal otherwise), and the GenCP driver's note that it took a description from
//! its cache is remembered. That note is how the tool learns where a description came from
//! without the transport layer, which hands out the same text either way, having to know.
//! One per process; thread-safe.
class CDriverLogRoute {
public:
  CDriverLogRoute();
  ~CDriverLogRoute();
  CDriverLogRoute(const CDriverLogRoute&) = delete;
  CDriverLogRoute& operator=(const CDriverLogRoute&) = delete;

  //! True when a description came from the driver's cache since the last Reset.
  static bool DescriptionFromCache() { return s_FromCache.load(); }
  static void Reset() { s_FromCache.store(false); }

  //! The host log level of a driver level (lower driver levels are more severe).
  static unsigned HostLevel(int driverLevel);

private:
  static void Receive(int level, const char* text);
  static std::atomic<bool> s_FromCache;
};

} // namespace VorlaCl
