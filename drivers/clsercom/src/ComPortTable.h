#pragma once
#include "ComPort.h"

#include <platform/Mutex.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace ClSerCom {

//! The ports this library offers and the handles given out for them. The port list is the
//! system's COM ports in number order, or, when CLSERCOM_PORTS is set, the ';'-separated names it
//! holds (e.g. "COM5;COM7"); it is read on every call so that it follows the system.
//! Thread-safe.
class CComPortTable {
public:
  static CComPortTable& Instance();

  static std::vector<std::string> Devices();

  CLINT32 Open(CLUINT32 index, hSerRef* ref);
  //! The port behind a handle, null for an unknown or closed handle. The shared owner keeps a
  //! port alive while a call on another thread still uses it after a close.
  std::shared_ptr<CComPort> Find(hSerRef ref);
  void Close(hSerRef ref);

private:
  Vorla::Platform::CMutex m_lock; // leaf, owned by the table
  std::map<hSerRef, std::shared_ptr<CComPort>> m_ports VORLA_GUARDED_BY(m_lock);
  uintptr_t m_nextHandle VORLA_GUARDED_BY(m_lock) = 0x100;
};

} // namespace ClSerCom
