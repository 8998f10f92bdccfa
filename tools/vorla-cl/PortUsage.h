#pragma once
// Whether another process holds a serial port that the tty or COM-port library offers.
#include <string>

namespace VorlaCl {

//! Asks the system whether a "TTY#<device>" port is locked by another process, the way the tty
//! serial library locks the ports it opens (flock); on Windows, whether a "COM#<name>" port
//! refuses an exclusive open. Stateless; any thread.
class CPortUsage {
public:
  //! "in use by another process (pid 123)", without the pid when the system does not say;
  //! empty when the port is free, not a port of the platform's library, or cannot be looked at.
  static std::string Holder(const std::string& portId);
  //! The pid holding a flock on the file (device, inode) in a /proc/locks text; 0 for none.
  static long LockHolder(const std::string& locks, unsigned long long device,
                         unsigned long long inode);
};

} // namespace VorlaCl
