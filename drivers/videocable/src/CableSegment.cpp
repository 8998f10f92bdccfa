#include <videocable/CableSegment.h>

#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>

#include <stdexcept>

#if defined(__linux__)
#include <cerrno>
#include <climits>
#include <csignal>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>
#elif defined(_WIN32)
#define NOMINMAX // windows.h must not take std::min away
#include <windows.h>

#include <algorithm>
#include <thread>
#endif

namespace VideoCable {

namespace bip = boost::interprocess;

struct CCableSegment::SImpl {
  bip::shared_memory_object m_Object;
  bip::mapped_region m_Region;
};

CCableSegment::CCableSegment() = default;
CCableSegment::~CCableSegment() = default;

void CCableSegment::Create(const std::string& name, std::size_t size) {
  Close();
  try {
    bip::shared_memory_object::remove(name.c_str());
    auto impl = std::make_unique<SImpl>();
    impl->m_Object = bip::shared_memory_object(bip::create_only, name.c_str(), bip::read_write);
    impl->m_Object.truncate(static_cast<bip::offset_t>(size));
    impl->m_Region = bip::mapped_region(impl->m_Object, bip::read_write);
    m_Impl = std::move(impl);
  } catch (const bip::interprocess_exception& e) {
    throw std::runtime_error("cannot create the video cable '" + name + "': " + e.what());
  }
}

bool CCableSegment::Open(const std::string& name) {
  Close();
  try {
    auto impl = std::make_unique<SImpl>();
    impl->m_Object = bip::shared_memory_object(bip::open_only, name.c_str(), bip::read_write);
    impl->m_Region = bip::mapped_region(impl->m_Object, bip::read_write);
    m_Impl = std::move(impl);
    return true;
  } catch (const bip::interprocess_exception&) {
    return false;
  }
}

void CCableSegment::Close() {
  m_Impl.reset();
}

void CCableSegment::Remove(const std::string& name) {
  bip::shared_memory_object::remove(name.c_str());
}

void* CCableSegment::Address() const {
  return m_Impl ? m_Impl->m_Region.get_address() : nullptr;
}

std::size_t CCableSegment::Size() const {
  return m_Impl ? m_Impl->m_Region.get_size() : 0;
}

#if defined(__linux__)

void CCableSegment::Wait(std::atomic<std::uint32_t>& word, std::uint32_t expected,
                         std::chrono::milliseconds timeout) {
  const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(timeout).count();
  timespec ts{static_cast<time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
  // Not FUTEX_PRIVATE: the word is shared with other processes.
  syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), FUTEX_WAIT, expected, &ts, nullptr,
          0);
}

void CCableSegment::WakeAll(std::atomic<std::uint32_t>& word) {
  syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(&word), FUTEX_WAKE, INT_MAX, nullptr, nullptr,
          0);
}

bool CCableSegment::ProcessAlive(std::int64_t pid) {
  return pid > 0 && (::kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM);
}

std::int64_t CCableSegment::CurrentProcess() {
  return ::getpid();
}

#elif defined(_WIN32)

// WaitOnAddress does not cross processes; until a named event per cable is added here, a
// reader wakes after a short sleep.
void CCableSegment::Wait(std::atomic<std::uint32_t>& word, std::uint32_t expected,
                         std::chrono::milliseconds timeout) {
  if (word.load() == expected)
    std::this_thread::sleep_for(std::min(timeout, std::chrono::milliseconds(1)));
}

void CCableSegment::WakeAll(std::atomic<std::uint32_t>&) {}

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

#endif

} // namespace VideoCable
