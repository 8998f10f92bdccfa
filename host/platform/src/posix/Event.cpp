#include <platform/Event.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Vorla {
namespace Platform {
namespace {
void Raise(int fd) {
  const uint64_t one = 1;
  while (::write(fd, &one, sizeof one) < 0 && errno == EINTR) {
  }
}

void Drain(int fd) {
  uint64_t count = 0;
  while (::read(fd, &count, sizeof count) < 0 && errno == EINTR) {
  }
}
} // namespace

// Threads wait on a condition variable; the eventfd exists only once someone asked for it, so
// that signalling and resetting cost no system call unless a poll loop watches the event.
struct CEvent::Impl {
  explicit Impl(bool manual) : manualReset(manual) {}
  ~Impl() {
    if (fd >= 0)
      ::close(fd);
  }
  void SetSignaled(bool on) {
    if (signaled == on)
      return;
    signaled = on;
    if (fd >= 0)
      on ? Raise(fd) : Drain(fd);
  }

  const bool manualReset;
  // Guards everything below; held only for flag changes, the fd's system calls and waits
  // (which release it). Owned by the event.
  std::mutex lock;
  std::condition_variable changed;
  bool signaled = false;
  uint64_t alerts = 0; // pending alerts
  int fd = -1;         // readable exactly while signalled; -1 until first asked for
};

CEvent::CEvent(bool manualReset, bool initiallySignaled)
    : m_pImpl(std::make_unique<Impl>(manualReset)) {
  m_pImpl->signaled = initiallySignaled;
}

CEvent::~CEvent() = default;

void CEvent::Signal() {
  {
    std::lock_guard<std::mutex> guard(m_pImpl->lock);
    m_pImpl->SetSignaled(true);
  }
  m_pImpl->changed.notify_all();
}

void CEvent::Reset() {
  std::lock_guard<std::mutex> guard(m_pImpl->lock);
  m_pImpl->SetSignaled(false);
}

CEvent::EWaitResult CEvent::Wait(uint32_t timeoutMs, bool alertable) {
  Impl& impl = *m_pImpl;
  std::unique_lock<std::mutex> guard(impl.lock);
  const auto ready = [&] { return impl.signaled || (alertable && impl.alerts); };
  if (timeoutMs == Infinite)
    impl.changed.wait(guard, ready);
  else if (!impl.changed.wait_for(guard, std::chrono::milliseconds(timeoutMs), ready))
    return EWaitResult::Timeout;
  if (alertable && impl.alerts) {
    --impl.alerts;
    return EWaitResult::Alerted;
  }
  if (!impl.manualReset)
    impl.SetSignaled(false);
  return EWaitResult::Signaled;
}

void CEvent::Alert() {
  {
    std::lock_guard<std::mutex> guard(m_pImpl->lock);
    ++m_pImpl->alerts;
  }
  m_pImpl->changed.notify_all();
}

CEvent::NativeHandle CEvent::GetNativeHandle() const {
  std::lock_guard<std::mutex> guard(m_pImpl->lock);
  if (m_pImpl->fd < 0) {
    const int fd = ::eventfd(m_pImpl->signaled ? 1 : 0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (fd < 0)
      throw std::system_error(errno, std::generic_category(), "eventfd");
    m_pImpl->fd = fd;
  }
  return m_pImpl->fd;
}

} // namespace Platform
} // namespace Vorla
