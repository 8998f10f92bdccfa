#include <GenApi/XercesLifetime.h>

namespace GenApi {

std::mutex& XercesLifetimeLock() {
  static std::mutex lock; // owned by the GenApi library, shared with its users
  return lock;
}

} // namespace GenApi
