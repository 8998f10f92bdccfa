#include <platform/Environment.h>

#include <cstdlib>

namespace Vorla {
namespace Platform {

bool GetEnv(const std::string& name, std::string& value) {
  const char* v = std::getenv(name.c_str());
  if (!v)
    return false;
  value = v;
  return true;
}

} // namespace Platform
} // namespace Vorla
