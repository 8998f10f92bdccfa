#include "TtyPortTable.h"

#include <cstdlib>

// GCC says __SANITIZE_ADDRESS__, clang __has_feature(address_sanitizer).
#if defined(__SANITIZE_ADDRESS__)
#define CLSERTTY_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CLSERTTY_LEAK_CHECKED 1
#endif
#endif
#if defined(CLSERTTY_LEAK_CHECKED)
#include <sanitizer/lsan_interface.h>
#endif

namespace ClSerTty {

CTtyPortTable& CTtyPortTable::Instance() {
  // Never destroyed: a client may still close handles while the process exits. When the client
  // unloads the library first, only the leak checker still sees the table; it is told so.
  static CTtyPortTable* table = [] {
    auto* made = new CTtyPortTable;
#if defined(CLSERTTY_LEAK_CHECKED)
    __lsan_ignore_object(made);
#endif
    return made;
  }();
  return *table;
}

std::vector<std::string> CTtyPortTable::Devices() {
  std::vector<std::string> devices;
  const char* list = std::getenv("CLSERTTY_PORTS");
  if (!list)
    return devices;
  std::string all(list);
  size_t pos = 0;
  while (pos <= all.size()) {
    size_t end = all.find(':', pos);
    if (end == std::string::npos)
      end = all.size();
    if (end > pos)
      devices.push_back(all.substr(pos, end - pos));
    pos = end + 1;
  }
  return devices;
}

std::string CTtyPortTable::Identifier(const std::string& device) {
  const std::string prefix = "/dev/";
  if (device.compare(0, prefix.size(), prefix) == 0 && device.size() > prefix.size())
    return device.substr(prefix.size());
  return device;
}

CLINT32 CTtyPortTable::Open(CLUINT32 index, hSerRef* ref) {
  if (!ref)
    return CL_ERR_INVALID_PTR;
  const std::vector<std::string> devices = Devices();
  if (index >= devices.size())
    return CL_ERR_INVALID_INDEX;
  auto port = std::make_shared<CTtyPort>(devices[index]);
  const CLINT32 status = port->Open();
  if (status != CL_ERR_NO_ERR)
    return status;
  std::lock_guard<std::mutex> guard(m_lock);
  // Handles are counters, not addresses: a stale handle can never reach a new port's memory.
  const hSerRef handle = reinterpret_cast<hSerRef>(m_nextHandle++);
  m_ports[handle] = std::move(port);
  *ref = handle;
  return CL_ERR_NO_ERR;
}

std::shared_ptr<CTtyPort> CTtyPortTable::Find(hSerRef ref) {
  std::lock_guard<std::mutex> guard(m_lock);
  const auto it = m_ports.find(ref);
  return it == m_ports.end() ? nullptr : it->second;
}

void CTtyPortTable::Close(hSerRef ref) {
  std::shared_ptr<CTtyPort> port;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    const auto it = m_ports.find(ref);
    if (it == m_ports.end())
      return;
    port = std::move(it->second);
    m_ports.erase(it);
  }
  // The tty closes when the last user lets go, outside the table lock.
}

} // namespace ClSerTty
