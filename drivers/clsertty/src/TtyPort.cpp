#include "TtyPort.h"

#include "ClSerText.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace ClSerTty {
namespace {

using Clock = std::chrono::steady_clock;

struct BaudEntry {
  CLUINT32 bit;
  speed_t speed;
};

const BaudEntry kBauds[] = {{CL_BAUDRATE_9600, B9600},     {CL_BAUDRATE_19200, B19200},
                            {CL_BAUDRATE_38400, B38400},   {CL_BAUDRATE_57600, B57600},
                            {CL_BAUDRATE_115200, B115200}, {CL_BAUDRATE_230400, B230400},
                            {CL_BAUDRATE_460800, B460800}, {CL_BAUDRATE_921600, B921600}};

// Milliseconds left until `deadline`, rounded up so that poll never wakes early.
int MsLeft(Clock::time_point deadline) {
  const auto left = deadline - Clock::now();
  if (left <= Clock::duration::zero())
    return 0;
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return static_cast<int>(std::min<long long>(ms, 0x7fffffff));
}

} // namespace

std::vector<std::string> CTtyPort::Devices() {
  const char* list = std::getenv("CLSERTTY_PORTS");
  return list ? ClSerCommon::SplitList(list, ':') : std::vector<std::string>();
}

std::string CTtyPort::Identifier(const std::string& device) {
  const std::string prefix = "/dev/";
  if (device.compare(0, prefix.size(), prefix) == 0 && device.size() > prefix.size())
    return device.substr(prefix.size());
  return device;
}

CTtyPort::CTtyPort(std::string path) : m_path(std::move(path)) {}

CTtyPort::~CTtyPort() {
  if (m_fd >= 0)
    ::close(m_fd); // also drops the flock
}

CLINT32 CTtyPort::Open() {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
  const int fd = ::open(m_path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0)
    return CL_ERR_PORT_IN_USE; // the standard has no separate "unable to open" value
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd);
    return CL_ERR_PORT_IN_USE;
  }
  termios tio{};
  if (::tcgetattr(fd, &tio) != 0) {
    ::close(fd);
    return CL_ERR_PORT_IN_USE;
  }
  ::cfmakeraw(&tio);
  tio.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | CSTOPB | CRTSCTS);
  tio.c_cflag |= CS8 | CLOCAL | CREAD;
  tio.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY);
  tio.c_cc[VMIN] = 0;
  tio.c_cc[VTIME] = 0;
  ::cfsetispeed(&tio, B9600);
  ::cfsetospeed(&tio, B9600);
  if (::tcsetattr(fd, TCSANOW, &tio) != 0) {
    ::close(fd);
    return CL_ERR_PORT_IN_USE;
  }
  ::tcflush(fd, TCIOFLUSH);
  m_fd = fd;
  return CL_ERR_NO_ERR;
}

long CTtyPort::Drain() {
  CLINT8 chunk[4096];
  long total = 0;
  for (;;) {
    const ssize_t n = ::read(m_fd, chunk, sizeof chunk);
    if (n > 0) {
      m_pending.insert(m_pending.end(), chunk, chunk + n);
      total += n;
      continue;
    }
    if (n < 0 && errno == EINTR)
      continue;
    // Raw mode without VMIN answers 0 for "nothing there"; EIO means the line is gone.
    if (n == 0 || errno == EAGAIN || errno == EWOULDBLOCK)
      return total;
    return total > 0 ? total : -1;
  }
}

CLINT32 CTtyPort::Read(CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs) {
  if (!size || (!buffer && *size > 0))
    return CL_ERR_INVALID_PTR;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
  const size_t want = *size;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    if (m_pending.size() >= want) {
      std::copy_n(m_pending.begin(), want, buffer);
      m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(want));
      return CL_ERR_NO_ERR;
    }
    pollfd pfd{m_fd, POLLIN, 0};
    const int ready = ::poll(&pfd, 1, MsLeft(deadline));
    if (ready < 0 && errno == EINTR)
      continue;
    if (ready <= 0)
      return CL_ERR_TIMEOUT;
    const long got = Drain();
    if (got < 0 || (got == 0 && (pfd.revents & (POLLHUP | POLLERR)))) {
      // Nothing is attached any more: behave like a silent line, not like a busy one.
      std::this_thread::sleep_until(deadline);
      if (m_pending.size() >= want)
        continue;
      return CL_ERR_TIMEOUT;
    }
  }
}

CLINT32 CTtyPort::Write(const CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs) {
  if (!size || (!buffer && *size > 0))
    return CL_ERR_INVALID_PTR;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
  const size_t total = *size;
  size_t sent = 0;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  while (sent < total) {
    const ssize_t n = ::write(m_fd, buffer + sent, total - sent);
    if (n > 0) {
      sent += static_cast<size_t>(n);
      continue;
    }
    if (n < 0 && errno == EINTR)
      continue;
    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
      pollfd pfd{m_fd, POLLOUT, 0};
      const int ready = ::poll(&pfd, 1, MsLeft(deadline));
      if (ready < 0 && errno == EINTR)
        continue;
      if (ready > 0 && !(pfd.revents & (POLLHUP | POLLERR)))
        continue;
      if (ready > 0)
        std::this_thread::sleep_until(deadline);
      break;
    }
    std::this_thread::sleep_until(deadline); // line gone
    break;
  }
  *size = static_cast<CLUINT32>(sent);
  return sent == total ? CL_ERR_NO_ERR : CL_ERR_TIMEOUT;
}

CLINT32 CTtyPort::BytesAvailable(CLUINT32* count) {
  if (!count)
    return CL_ERR_INVALID_PTR;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
  int queued = 0;
  if (::ioctl(m_fd, FIONREAD, &queued) != 0 || queued < 0)
    queued = 0;
  *count = static_cast<CLUINT32>(m_pending.size() + static_cast<size_t>(queued));
  return CL_ERR_NO_ERR;
}

CLINT32 CTtyPort::Flush() {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
  m_pending.clear();
  ::tcflush(m_fd, TCIFLUSH);
  return CL_ERR_NO_ERR;
}

CLINT32 CTtyPort::SetBaudRate(CLUINT32 bit) {
  const auto entry = std::find_if(std::begin(kBauds), std::end(kBauds),
                                  [bit](const BaudEntry& e) { return e.bit == bit; });
  if (entry == std::end(kBauds))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_lock);
  termios tio{};
  if (::tcgetattr(m_fd, &tio) != 0)
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  ::cfsetispeed(&tio, entry->speed);
  ::cfsetospeed(&tio, entry->speed);
  // TCSANOW: waiting for the output to drain could block for ever on a stalled peer.
  if (::tcsetattr(m_fd, TCSANOW, &tio) != 0)
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  return CL_ERR_NO_ERR;
}

CLUINT32 CTtyPort::SupportedBaudRates() {
  CLUINT32 mask = 0;
  for (const BaudEntry& e : kBauds)
    mask |= e.bit;
  return mask;
}

} // namespace ClSerTty
