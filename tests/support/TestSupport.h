#pragma once
// Small helpers shared by the test suites.
#include "TempFolder.h"

#include <Base/GCException.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

namespace testsupport {

//! The build tree: from ctest, or the test binary's own place (<build>/bin).
inline std::string BuildDir() {
  const char* build = std::getenv("VORLA_TEST_BUILD_DIR");
  return build
             ? std::string(build)
             : std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path().string();
}

//! The description of the `E` that `call` throws, for tests that pin exact texts.
template <class E = GenICam::GenericException>
std::string Thrown(const std::function<void()>& call) {
  try {
    call();
  } catch (const E& e) {
    return e.GetDescription();
  }
  return "(nothing thrown)";
}

} // namespace testsupport
