#include "PortUsage.h"

#include <windows.h>

namespace VorlaCl {

std::string CPortUsage::Holder(const std::string& portId) {
  const std::string prefix = "COM#";
  if (portId.compare(0, prefix.size(), prefix) != 0)
    return "";
  // The COM-port library opens its ports without sharing: a second opener is refused with
  // "access denied" while another process holds the port. Windows does not say which process.
  const std::string device = "\\\\.\\" + portId.substr(prefix.size());
  const HANDLE handle = ::CreateFileA(device.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) {
    ::CloseHandle(handle);
    return "";
  }
  return ::GetLastError() == ERROR_ACCESS_DENIED ? "in use by another process" : "";
}

long CPortUsage::LockHolder(const std::string&, unsigned long long, unsigned long long) {
  return 0; // Windows keeps no /proc/locks
}

} // namespace VorlaCl
