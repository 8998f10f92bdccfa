#include <videocable/CableSegment.h>

#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>

#include <cstdlib>
#include <stdexcept>

#if defined(__linux__)
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <linux/futex.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace VideoCable {

namespace bip = boost::interprocess;

namespace {
// Defined per system below.
bip::permissions CreatePermissions(const std::string& name);
bool Trusted(const bip::shared_memory_object& object, const std::string& name, std::string& why);
} // namespace

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
    impl->m_Object = bip::shared_memory_object(bip::create_only, name.c_str(), bip::read_write,
                                               CreatePermissions(name));
    impl->m_Object.truncate(static_cast<bip::offset_t>(size));
    impl->m_Region = bip::mapped_region(impl->m_Object, bip::read_write);
    m_Impl = std::move(impl);
  } catch (const bip::interprocess_exception& e) {
    throw std::runtime_error("cannot create the video cable '" + name + "': " + e.what());
  }
}

bool CCableSegment::Open(const std::string& name, std::string* why) {
  Close();
  std::string reason;
  try {
    auto impl = std::make_unique<SImpl>();
    impl->m_Object = bip::shared_memory_object(bip::open_only, name.c_str(), bip::read_write);
    // Checked on the open object, so that what is mapped is what was checked.
    if (Trusted(impl->m_Object, name, reason)) {
      impl->m_Region = bip::mapped_region(impl->m_Object, bip::read_write);
      m_Impl = std::move(impl);
      return true;
    }
  } catch (const bip::interprocess_exception& e) {
    if (e.get_error_code() != bip::not_found_error)
      reason = "cannot map '" + name + "': " + e.what();
  }
  if (why)
    *why = reason;
  return false;
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

std::uint64_t CCableSegment::Now() {
  timespec ts{};
  ::clock_gettime(CLOCK_MONOTONIC, &ts);
  return std::uint64_t(ts.tv_sec) * 1000000000 + std::uint64_t(ts.tv_nsec);
}

namespace {

bip::permissions CreatePermissions(const std::string& name) {
  const char* text = std::getenv("VORLA_CABLE_MODE");
  if (!text || !*text)
    return bip::permissions(0600);
  char* end = nullptr;
  const unsigned long mode = std::strtoul(text, &end, 8);
  // Readers refuse a cable that others may write, so such a mode is refused here already.
  if (*end || mode > 0777 || (mode & 0600) != 0600 || (mode & S_IWOTH))
    throw std::runtime_error("cannot create the video cable '" + name + "': VORLA_CABLE_MODE '" +
                             text +
                             "' is not an octal mode that lets the owner read and write and "
                             "others not write (e.g. 600 or 660)");
  return bip::permissions(static_cast<unsigned>(mode));
}

bool Trusted(const bip::shared_memory_object& object, const std::string& name, std::string& why) {
  struct stat st {};
  if (::fstat(object.get_mapping_handle().handle, &st) != 0) {
    why = "cannot inspect '" + name + "'";
    return false;
  }
  const uid_t self = ::geteuid();
  if (st.st_uid != self) {
    const char* owner = std::getenv("VORLA_CABLE_OWNER");
    if (!owner || std::to_string(st.st_uid) != owner) {
      why = "'" + name + "' belongs to user " + std::to_string(st.st_uid) + ", not to this user (" +
            std::to_string(self) + ")";
      return false;
    }
  }
  if (st.st_mode & S_IWOTH) {
    why = "'" + name + "' may be written by any user";
    return false;
  }
  return true;
}

} // namespace

#endif

} // namespace VideoCable
