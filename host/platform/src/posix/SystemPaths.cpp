#include <platform/SystemPaths.h>

#include <cstdio>
#include <cstdlib>

namespace Vorla {
namespace Platform {

std::string MachineConfigFolder() {
  const char* dirs = std::getenv("XDG_CONFIG_DIRS");
  std::string first = dirs ? dirs : "";
  first = first.substr(0, first.find(':'));
  return first.empty() ? std::string("/etc/xdg") : first;
}

std::string PathAppend(const std::string& base, const std::string& more) {
  if (base.empty())
    return more;
  if (base.back() == '/')
    return base + more;
  return base + "/" + more;
}

void DebugOutput(const char* text) {
  std::fprintf(stderr, "%s\n", text ? text : "");
  std::fflush(stderr);
}

} // namespace Platform
} // namespace Vorla
