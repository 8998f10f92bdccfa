#include "SimulatorProcess.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace VorlaE2E {
namespace {

// Generous for sanitizer builds on a busy machine; only a broken simulator ever waits this long.
const int kStartLimitMs = 20000;
const int kStopLimitMs = 20000;

void CloseFd(int& fd) {
  if (fd >= 0)
    ::close(fd);
  fd = -1;
}

} // namespace

CSimulatorProcess::~CSimulatorProcess() {
  if (m_pid > 0)
    Stop();
  CloseFd(m_stdin);
}

std::string CSimulatorProcess::Executable() {
  const char* build = std::getenv("VORLA_TEST_BUILD_DIR");
  return build ? std::string(build) + "/bin/vorla-camsim" : std::string();
}

std::string CSimulatorProcess::PortID() const {
  const std::string dev = "/dev/";
  return "TTY#" + (m_slavePath.compare(0, dev.size(), dev) == 0 ? m_slavePath.substr(dev.size())
                                                                : m_slavePath);
}

bool CSimulatorProcess::Start(const std::vector<std::string>& args) {
  const std::string exe = Executable();
  if (exe.empty()) {
    m_error = "VORLA_TEST_BUILD_DIR is not set";
    return false;
  }
  // Close-on-exec everywhere: only the dup2'ed copies reach the child, so a second simulator
  // never inherits the first one's stdin and keeps it alive.
  int in[2] = {-1, -1}, out[2] = {-1, -1};
  if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) {
    m_error = std::strerror(errno);
    CloseFd(in[0]);
    CloseFd(in[1]);
    return false;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  std::vector<std::string> argStore{exe};
  argStore.insert(argStore.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : argStore)
    argv.push_back(&a[0]);
  argv.push_back(nullptr);
  const int rc = ::posix_spawn(&m_pid, exe.c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(in[0]);
  ::close(out[1]);
  m_stdin = in[1];
  if (rc != 0) {
    m_pid = -1;
    ::close(out[0]);
    m_error = "cannot start " + exe + ": " + std::strerror(rc);
    return false;
  }

  // The first line is the slave path; read byte by byte so nothing after it is taken.
  std::string line;
  bool complete = false;
  while (!complete) {
    pollfd pfd{out[0], POLLIN, 0};
    if (::poll(&pfd, 1, kStartLimitMs) <= 0)
      break;
    char c = 0;
    const ssize_t n = ::read(out[0], &c, 1);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break;
    if (c == '\n')
      complete = true;
    else
      line += c;
  }
  ::close(out[0]);
  if (!complete || line.empty()) {
    m_error = "the simulator printed no pty path";
    Stop();
    return false;
  }
  m_slavePath = line;
  return true;
}

int CSimulatorProcess::Stop() {
  if (m_pid <= 0)
    return -1;
  // A pidfd makes the wait for the exit bounded without polling (the glibc wrapper's header
  // lacks C linkage, so the system call is made directly).
  const int pidfd = static_cast<int>(::syscall(SYS_pidfd_open, m_pid, 0));
  ::kill(m_pid, SIGTERM);
  if (pidfd >= 0) {
    pollfd pfd{pidfd, POLLIN, 0};
    int ready = 0;
    do
      ready = ::poll(&pfd, 1, kStopLimitMs);
    while (ready < 0 && errno == EINTR);
    if (ready == 0)
      ::kill(m_pid, SIGKILL); // hung: the wait below must not block the suite
    ::close(pidfd);
  }
  int status = 0;
  pid_t waited = 0;
  do
    waited = ::waitpid(m_pid, &status, 0);
  while (waited < 0 && errno == EINTR);
  m_pid = -1;
  CloseFd(m_stdin);
  return waited > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace VorlaE2E
