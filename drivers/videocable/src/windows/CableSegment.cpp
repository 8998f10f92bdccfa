// The cable segment on Windows: a named file mapping in the session's namespace, and two named
// manual-reset events per cable in place of the futex, so that a reader sleeps until the next
// frame.
//
// Wake-ups: the word is a counter that every publisher advances by one before it wakes. Waiters
// for value v sleep on event[v % 2]; a wake at value n first resets event[n % 2] (where waiters
// for n will sleep) and then sets event[(n + 1) % 2], releasing every waiter of n - 1 at once. A
// waiter that checked its value just before the wake finds its event set and returns at once.
// When two publishers race, a waiter may sleep until the following frame or its time-out, never
// longer.
#include <videocable/CableSegment.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

namespace VideoCable {

namespace {

std::string ObjectName(const std::string& name, const char* suffix) {
  // Cable names look like POSIX shared-memory names ("/vorla-cable-0"); Windows object names
  // must not hold '\'.
  std::string object = "Local\\";
  for (char c : name + suffix)
    object += (c == '\\' || c == '/') ? '_' : c;
  return object;
}

struct SEvents {
  HANDLE m_Event[2] = {nullptr, nullptr};
};

// The events of every mapped cable of this process, by the address range of its mapping: the
// static Wait/WakeAll find theirs through the word's address. A leaf lock.
class CEventTable {
public:
  static CEventTable& Instance() {
    static CEventTable* table = new CEventTable; // never destroyed: readers may outlive statics
    return *table;
  }
  void Add(const void* base, std::size_t size, SEvents events) {
    std::lock_guard<std::mutex> guard(m_Lock);
    m_Ranges[static_cast<const char*>(base)] = {size, events};
  }
  void Remove(const void* base) {
    std::lock_guard<std::mutex> guard(m_Lock);
    m_Ranges.erase(static_cast<const char*>(base));
  }
  HANDLE Find(const void* word, unsigned which) {
    std::lock_guard<std::mutex> guard(m_Lock);
    const char* p = static_cast<const char*>(word);
    auto it = m_Ranges.upper_bound(p);
    if (it == m_Ranges.begin())
      return nullptr;
    --it;
    if (p >= it->first + it->second.first)
      return nullptr;
    return it->second.second.m_Event[which];
  }

private:
  std::mutex m_Lock;
  std::map<const char*, std::pair<std::size_t, SEvents>> m_Ranges;
};

} // namespace

struct CCableSegment::SImpl {
  HANDLE m_Mapping = nullptr;
  void* m_Address = nullptr;
  std::size_t m_Size = 0;
  SEvents m_Events;

  ~SImpl() {
    if (m_Address) {
      CEventTable::Instance().Remove(m_Address);
      ::UnmapViewOfFile(m_Address);
    }
    for (HANDLE e : m_Events.m_Event)
      if (e)
        ::CloseHandle(e);
    if (m_Mapping)
      ::CloseHandle(m_Mapping);
  }

  // Maps the whole section and opens (or creates) the cable's events.
  bool Map(const std::string& name) {
    m_Address = ::MapViewOfFile(m_Mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    if (!m_Address)
      return false;
    MEMORY_BASIC_INFORMATION info{};
    if (!::VirtualQuery(m_Address, &info, sizeof info))
      return false;
    m_Size = info.RegionSize;
    for (unsigned i = 0; i < 2; ++i) {
      m_Events.m_Event[i] =
          ::CreateEventA(nullptr, TRUE, FALSE, ObjectName(name, i ? ".wake1" : ".wake0").c_str());
      if (!m_Events.m_Event[i])
        return false;
    }
    CEventTable::Instance().Add(m_Address, m_Size, m_Events);
    return true;
  }
};

CCableSegment::CCableSegment() = default;
CCableSegment::~CCableSegment() = default;

void CCableSegment::Create(const std::string& name, std::size_t size) {
  Close();
  auto impl = std::make_unique<SImpl>();
  const auto wide = static_cast<unsigned long long>(size);
  impl->m_Mapping = ::CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                         static_cast<DWORD>(wide >> 32), static_cast<DWORD>(wide),
                                         ObjectName(name, "").c_str());
  // A section of that name outlives its writer while readers hold it: it is taken over, and
  // cleared, when it is large enough (a fresh section is zero-filled already).
  const bool existed = impl->m_Mapping && ::GetLastError() == ERROR_ALREADY_EXISTS;
  if (!impl->m_Mapping || !impl->Map(name) || impl->m_Size < size)
    throw std::runtime_error("cannot create the video cable '" + name + "': error " +
                             std::to_string(::GetLastError()));
  impl->m_Size = size;
  if (existed)
    std::memset(impl->m_Address, 0, size);
  m_Impl = std::move(impl);
}

// Objects in the session's "Local\" namespace are reachable only by this logon session, which
// stands in for the owner check of the POSIX side.
bool CCableSegment::Open(const std::string& name, std::string* why) {
  Close();
  if (why)
    why->clear();
  auto impl = std::make_unique<SImpl>();
  impl->m_Mapping = ::OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, ObjectName(name, "").c_str());
  if (!impl->m_Mapping || !impl->Map(name))
    return false;
  m_Impl = std::move(impl);
  return true;
}

void CCableSegment::Close() {
  m_Impl.reset();
}

// A section lives while a handle to it is open; there is no name to remove.
void CCableSegment::Remove(const std::string&) {}

void* CCableSegment::Address() const {
  return m_Impl ? m_Impl->m_Address : nullptr;
}

std::size_t CCableSegment::Size() const {
  return m_Impl ? m_Impl->m_Size : 0;
}

void CCableSegment::Wait(std::atomic<std::uint32_t>& word, std::uint32_t expected,
                         std::chrono::milliseconds timeout) {
  HANDLE event = CEventTable::Instance().Find(&word, expected & 1u);
  if (!event || word.load() != expected)
    return;
  const auto ms = std::clamp<long long>(timeout.count(), 0, INFINITE - 1);
  ::WaitForSingleObject(event, static_cast<DWORD>(ms));
}

void CCableSegment::WakeAll(std::atomic<std::uint32_t>& word) {
  const std::uint32_t now = word.load();
  HANDLE next = CEventTable::Instance().Find(&word, now & 1u);
  HANDLE previous = CEventTable::Instance().Find(&word, (now + 1) & 1u);
  if (next)
    ::ResetEvent(next);
  if (previous)
    ::SetEvent(previous);
}

bool CCableSegment::ProcessAlive(std::int64_t pid) {
  HANDLE h = ::OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(pid));
  if (!h)
    return false;
  const bool alive = ::WaitForSingleObject(h, 0) == WAIT_TIMEOUT;
  ::CloseHandle(h);
  return alive;
}

std::int64_t CCableSegment::CurrentProcess() {
  return ::GetCurrentProcessId();
}

std::uint64_t CCableSegment::Now() {
  return static_cast<std::uint64_t>(::GetTickCount64()) * 1000000u;
}

} // namespace VideoCable
