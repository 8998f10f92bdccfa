#include <platform/Environment.h>

#include <windows.h>

namespace Vorla {
namespace Platform {

bool GetEnv(const std::string& name, std::string& value) {
  char buffer[32767];
  // An empty variable also reads as 0 and leaves the last error alone: clear it first.
  ::SetLastError(ERROR_SUCCESS);
  const DWORD n = ::GetEnvironmentVariableA(name.c_str(), buffer, sizeof buffer);
  if (n == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND)
    return false;
  value.assign(buffer, n < sizeof buffer ? n : 0);
  return true;
}

} // namespace Platform
} // namespace Vorla
