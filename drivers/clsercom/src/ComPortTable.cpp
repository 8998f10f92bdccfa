#include "ComPortTable.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <windows.h>

using Vorla::Platform::CLockGuard;
using Vorla::Platform::CMutex;

namespace ClSerCom {
namespace {

// "COM<number>" -> number, 0 for any other name.
unsigned long ComNumber(const std::string& name) {
  if (name.size() < 4 || _strnicmp(name.c_str(), "COM", 3) != 0)
    return 0;
  char* end = nullptr;
  const unsigned long n = std::strtoul(name.c_str() + 3, &end, 10);
  return *end == '\0' ? n : 0;
}

// The COM ports among the system's DOS device names.
std::vector<std::string> SystemPorts() {
  // The list grows with the devices the system has: try a few sizes, each bounded.
  for (DWORD size = 16 * 1024; size <= 1024 * 1024; size *= 4) {
    std::vector<char> names(size);
    const DWORD n = ::QueryDosDeviceA(nullptr, names.data(), size);
    if (n == 0) {
      if (::GetLastError() == ERROR_INSUFFICIENT_BUFFER)
        continue;
      return {};
    }
    std::vector<std::string> ports;
    for (const char* p = names.data(); p < names.data() + n && *p; p += std::strlen(p) + 1)
      if (ComNumber(p) != 0)
        ports.emplace_back(p);
    std::sort(ports.begin(), ports.end(), [](const std::string& a, const std::string& b) {
      return ComNumber(a) < ComNumber(b);
    });
    ports.erase(std::unique(ports.begin(), ports.end()), ports.end());
    return ports;
  }
  return {};
}

} // namespace

CComPortTable& CComPortTable::Instance() {
  // Never destroyed: a client may still close handles while the process exits.
  static CComPortTable* table = new CComPortTable;
  return *table;
}

std::vector<std::string> CComPortTable::Devices() {
  const char* list = std::getenv("CLSERCOM_PORTS");
  if (!list)
    return SystemPorts();
  std::vector<std::string> devices;
  const std::string all(list);
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
