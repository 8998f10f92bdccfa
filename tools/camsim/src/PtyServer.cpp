#include "PtyServer.h"

#include <gencp/Protocol.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

namespace camsim {
namespace {

speed_t SpeedOf(std::uint32_t bit) {
  switch (GenCP::BaudRateOf(bit)) {
  case 19200:
    return B19200;
  case 38400:
    return B38400;
  case 57600:
    return B57600;
  case 115200:
    return B115200;
  case 230400:
    return B230400;
  case 460800:
    return B460800;
  case 921600:
    return B921600;
  default:
    return B9600;
  }
}

bool MakeRaw(int fd, std::uint32_t bit) {
  termios tio{};
  if (tcgetattr(fd, &tio) != 0)
    return false;
  cfmakeraw(&tio);
  tio.c_cflag |= CLOCAL | CREAD;
  tio.c_cc[VMIN] = 1;
  tio.c_cc[VTIME] = 0;
  cfsetispeed(&tio, SpeedOf(bit));
  cfsetospeed(&tio, SpeedOf(bit));
  return tcsetattr(fd, TCSANOW, &tio) == 0;
}

} // namespace

CPtyServer::CPtyServer(std::shared_ptr<CCameraModel> camera) : m_Camera(std::move(camera)) {
  m_Camera->SetBaudRateListener([this](std::uint32_t bit) { ApplyBaudRate(bit); });
}

CPtyServer::~CPtyServer() {
  m_Camera->SetBaudRateListener(nullptr);
  if (m_SlaveFd >= 0)
    close(m_SlaveFd);
  if (m_Fd >= 0)
    close(m_Fd);
}

std::string CPtyServer::OpenPty() {
  m_Fd = posix_openpt(O_RDWR | O_NOCTTY);
  if (m_Fd < 0 || grantpt(m_Fd) != 0 || unlockpt(m_Fd) != 0)
    return {};
  const char* name = ptsname(m_Fd);
  if (!name)
    return {};
  const std::string path = name;
  // Raw mode before any host opens the slave, or the line discipline would echo and translate.
  m_SlaveFd = open(path.c_str(), O_RDWR | O_NOCTTY);
  if (m_SlaveFd < 0 || !MakeRaw(m_SlaveFd, GenCP::Baud9600))
    return {};
  return path;
}

bool CPtyServer::OpenTty(const std::string& path) {
  m_Fd = open(path.c_str(), O_RDWR | O_NOCTTY);
  return m_Fd >= 0 && MakeRaw(m_Fd, GenCP::Baud9600);
}

void CPtyServer::ApplyBaudRate(std::uint32_t bit) {
  // Runs under the model's lock: only terminal calls here.
  const int fd = m_SlaveFd >= 0 ? m_SlaveFd : m_Fd;
  termios tio{};
  if (fd >= 0 && tcgetattr(fd, &tio) == 0) {
    cfsetispeed(&tio, SpeedOf(bit));
    cfsetospeed(&tio, SpeedOf(bit));
    tcsetattr(fd, TCSANOW, &tio);
  }
}

void CPtyServer::Serve(const std::atomic<bool>& stop, bool watchStdin) {
  std::atomic<bool> done{false};
  // The writer thread, owned by Serve and joined before it returns, moves the camera's answers
  // to the line as they fall due; this thread feeds it the host's bytes.
  std::thread writer([&] {
    std::uint8_t buffer[256];
    while (!done.load()) {
      const std::size_t n = m_Camera->ReadSome(
          buffer, sizeof buffer, CCameraModel::Clock::now() + std::chrono::milliseconds(50));
      for (std::size_t off = 0; off < n;) {
        const ssize_t w = write(m_Fd, buffer + off, n - off);
        if (w > 0)
          off += static_cast<std::size_t>(w);
        else if (w < 0 && errno != EINTR && errno != EAGAIN)
          break;
      }
    }
  });
  std::uint8_t buffer[1024];
  while (!stop.load()) {
    pollfd fds[2] = {{m_Fd, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    const int r = poll(fds, watchStdin ? 2 : 1, 100);
    if (r < 0 && errno != EINTR)
      break;
    if (r <= 0)
      continue;
    if (watchStdin && (fds[1].revents & (POLLIN | POLLHUP))) {
      char scratch[256];
      if (read(STDIN_FILENO, scratch, sizeof scratch) <= 0)
        break; // standard input ended
    }
    if (fds[0].revents & POLLIN) {
      const ssize_t n = read(m_Fd, buffer, sizeof buffer);
      if (n > 0)
        m_Camera->Write(buffer, static_cast<std::size_t>(n));
    } else if (fds[0].revents & (POLLHUP | POLLERR)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }
  done = true;
  writer.join();
}

} // namespace camsim
