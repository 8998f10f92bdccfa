#include <platform/Environment.h>

#include <windows.h>

namespace Vorla {
namespace Platform {

bool GetEnv(const std::string& name, std::string& value) {
  char buffer[32767];
  const DWORD n = ::GetEnvironmentVariableA(name.c_str(), buffer, sizeof buffer);
  if (n == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND)
    return false;
  value.assign(buffer, n < sizeof buffer ? n : 0);
  return true;
}

} // namespace Platform
} // namespace Vorla
