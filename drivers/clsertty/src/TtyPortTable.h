#pragma once
#include "TtyPort.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace ClSerTty {

//! The ports this library offers (the ttys listed in CLSERTTY_PORTS, ':'-separated, read on every
//! call so that the list follows the environment) and the handles given out for them.
class CTtyPortTable {
public:
  static CTtyPortTable& Instance();

  static std::vector<std::string> Devices();
  //! "ttyS4" for "/dev/ttyS4", "pts/3" for "/dev/pts/3"; other paths stay as they are.
  static std::string Identifier(const std::string& device);

  CLINT32 Open(CLUINT32 index, hSerRef* ref);
  //! The port behind a handle, null for an unknown or closed handle. The shared owner keeps a
  //! port alive while a call on another thread still uses it after a close.
  std::shared_ptr<CTtyPort> Find(hSerRef ref);
  void Close(hSerRef ref);

private:
  // Owned by the table: guards m_ports and m_nextHandle.
  std::mutex m_lock;
  std::map<hSerRef, std::shared_ptr<CTtyPort>> m_ports;
  uintptr_t m_nextHandle = 0x100;
};

} // namespace ClSerTty
