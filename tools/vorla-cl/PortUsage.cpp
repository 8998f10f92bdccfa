#include "PortUsage.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>

namespace VorlaCl {

std::string CPortUsage::Holder(const std::string& portId) {
  const std::string prefix = "TTY#";
  if (portId.compare(0, prefix.size(), prefix) != 0)
    return "";
  const std::string path = "/dev/" + portId.substr(prefix.size());
  // Opening a tty without O_NOCTTY could make it our terminal; O_NONBLOCK skips carrier waits.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0)
    return "";
  struct stat status {};
  const bool busy = ::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  const bool known = ::fstat(fd, &status) == 0;
  ::close(fd); // also drops our lock, if we got it
  if (!busy)
    return "";
  std::ifstream file("/proc/locks");
  std::stringstream locks;
  locks << file.rdbuf();
  const long pid =
      known ? LockHolder(locks.str(), status.st_dev, static_cast<unsigned long long>(status.st_ino))
            : 0;
  return "in use by another process" + (pid > 0 ? " (pid " + std::to_string(pid) + ")" : "");
}

long CPortUsage::LockHolder(const std::string& locks, unsigned long long device,
                            unsigned long long inode) {
  // "1: FLOCK  ADVISORY  WRITE 4242 00:18:7 0 EOF": kind, pid, major:minor:inode in hex.
  std::istringstream lines(locks);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::string number, kind, mode, access, file;
    long pid = 0;
    if (!(fields >> number >> kind >> mode >> access >> pid >> file) || kind != "FLOCK")
      continue;
    unsigned int major = 0, minor = 0;
    unsigned long long node = 0;
    if (std::sscanf(file.c_str(), "%x:%x:%llu", &major, &minor, &node) == 3 && node == inode &&
        major == ::major(device) && minor == ::minor(device))
      return pid;
  }
  return 0;
}

} // namespace VorlaCl
