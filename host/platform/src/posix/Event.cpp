#include <platform/Event.h>

#include <cerrno>
#include <chrono>
#include <mutex>
#include <system_error>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace Vorla {
namespace Platform {
namespace {
int MakeEventFd() {
  const int fd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (fd < 0)
    throw std::system_error(errno, std::generic_category(), "eventfd");
  return fd;
}

void Raise(int fd) {
  const uint64_t one = 1;
  while (::write(fd, &one, sizeof one) < 0 && errno == EINTR) {
  }
}

// Reads the counter back to 0; false when it already was 0.
bool Drain(int fd) {
  uint64_t count = 0;
  ssize_t n;
  while ((n = ::read(fd, &count, sizeof count)) < 0 && errno == EINTR) {
  }
  return n == sizeof count;
}
} // namespace

struct CEvent::Impl {
  Impl(bool manual) : manualReset(manual), fd(MakeEventFd()), alertFd(-1) {
    try {
      alertFd = MakeEventFd();
    } catch (...) {
      ::close(fd);
      throw;
    }
  }
  ~Impl() {
    ::close(fd);
    ::close(alertFd);
  }

  const bool manualReset;
  int fd;      // readable exactly while signalled
  int alertFd; // counts pending alerts
  // Keeps `signaled` and the eventfd's counter in step, so the fd is readable exactly while the
  // flag is set. Held only around the flag and one system call. Owned by the event.
  std::mutex lock;
  bool signaled = false;
};

CEvent::CEvent(bool manualReset, bool initiallySignaled)
    : m_pImpl(std::make_unique<Impl>(manualReset)) {
  if (initiallySignaled)
    Signal();
}

CEvent::~CEvent() = default;

void CEvent::Signal() {
  std::lock_guard<std::mutex> guard(m_pImpl->lock);
  if (!m_pImpl->signaled) {
    m_pImpl->signaled = true;
    Raise(m_pImpl->fd);
  }
}

void CEvent::Reset() {
  std::lock_guard<std::mutex> guard(m_pImpl->lock);
  if (m_pImpl->signaled) {
    m_pImpl->signaled = false;
    Drain(m_pImpl->fd);
  }
}

CEvent::EWaitResult CEvent::Wait(uint32_t timeoutMs, bool alertable) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    int waitMs = -1;
    if (timeoutMs != Infinite) {
      const auto left =
          std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
      waitMs = left > 0 ? static_cast<int>(left) : 0;
    }
    pollfd fds[2] = {{m_pImpl->fd, POLLIN, 0}, {m_pImpl->alertFd, POLLIN, 0}};
    const int n = ::poll(fds, alertable ? 2 : 1, waitMs);
    if (n < 0 && errno != EINTR)
      throw std::system_error(errno, std::generic_category(), "poll");
    if (n > 0 && alertable && (fds[1].revents & POLLIN)) {
      // One alert per wait: take one count back off the channel.
      uint64_t count = 0;
      if (::read(m_pImpl->alertFd, &count, sizeof count) == sizeof count) {
        if (count > 1) {
          const uint64_t rest = count - 1;
          if (::write(m_pImpl->alertFd, &rest, sizeof rest) < 0) {
            // cannot fail: the counter just came down from `count`
          }
        }
        return EWaitResult::Alerted;
      }
    }
    if (n > 0 && (fds[0].revents & POLLIN)) {
      if (m_pImpl->manualReset)
        return EWaitResult::Signaled;
      std::lock_guard<std::mutex> guard(m_pImpl->lock);
      if (m_pImpl->signaled) { // another waiter may have taken it
        m_pImpl->signaled = false;
        Drain(m_pImpl->fd);
        return EWaitResult::Signaled;
      }
    }
    if (n == 0 && waitMs == 0)
      return EWaitResult::Timeout;
  }
}

void CEvent::Alert() {
  Raise(m_pImpl->alertFd);
}

CEvent::NativeHandle CEvent::GetNativeHandle() const {
  return m_pImpl->fd;
}

} // namespace Platform
} // namespace Vorla
