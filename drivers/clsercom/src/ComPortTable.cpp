#include "ComPortTable.h"

#include <string>

#include <windows.h>

using Vorla::Platform::CLockGuard;
using Vorla::Platform::CMutex;

namespace ClSerCom {
namespace {

// The system's COM ports: every COM<n> the object manager knows (the device map lists them on
// Windows; Wine resolves each name but does not list them all).
std::vector<std::string> SystemPorts() {
  std::vector<std::string> ports;
  char target[MAX_PATH];
  for (int n = 1; n <= 256; ++n) {
    const std::string name = "COM" + std::to_string(n);
    if (::QueryDosDeviceA(name.c_str(), target, sizeof target) != 0)
      ports.push_back(name);
  }
  return ports;
}

} // namespace

CComPortTable& CComPortTable::Instance() {
  // Never destroyed: a client may still close handles while the process exits.
  static CComPortTable* table = new CComPortTable;
  return *table;
}

std::vector<std::string> CComPortTable::Devices() {
  // The process environment itself, so that a change made with SetEnvironmentVariable counts.
  char list[4096];
  ::SetLastError(ERROR_SUCCESS); // an empty list reads as 0 too, and leaves the last error alone
  const DWORD length = ::GetEnvironmentVariableA("CLSERCOM_PORTS", list, sizeof list);
  if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND)
    return SystemPorts();
  std::vector<std::string> devices;
  const std::string all(list, length < sizeof list ? length : 0);
  size_t pos = 0;
  while (pos <= all.size()) {
    size_t end = all.find(';', pos);
    if (end == std::string::npos)
      end = all.size();
    if (end > pos)
      devices.push_back(all.substr(pos, end - pos));
    pos = end + 1;
  }
  return devices;
}

CLINT32 CComPortTable::Open(CLUINT32 index, hSerRef* ref) {
  if (!ref)
    return CL_ERR_INVALID_PTR;
  const std::vector<std::string> devices = Devices();
  if (index >= devices.size())
    return CL_ERR_INVALID_INDEX;
  auto port = std::make_shared<CComPort>(devices[index]);
  const CLINT32 status = port->Open();
  if (status != CL_ERR_NO_ERR)
    return status;
  CLockGuard<CMutex> guard(m_lock);
  // Handles are counters, not addresses: a stale handle can never reach a new port's memory.
  const hSerRef handle = reinterpret_cast<hSerRef>(m_nextHandle++);
  m_ports[handle] = std::move(port);
  *ref = handle;
  return CL_ERR_NO_ERR;
}

std::shared_ptr<CComPort> CComPortTable::Find(hSerRef ref) {
  CLockGuard<CMutex> guard(m_lock);
  const auto it = m_ports.find(ref);
  return it == m_ports.end() ? nullptr : it->second;
}

void CComPortTable::Close(hSerRef ref) {
  std::shared_ptr<CComPort> port;
  {
    CLockGuard<CMutex> guard(m_lock);
    const auto it = m_ports.find(ref);
    if (it == m_ports.end())
      return;
    port = std::move(it->second);
    m_ports.erase(it);
  }
  // The port closes when the last user lets go, outside the table lock.
}

} // namespace ClSerCom
