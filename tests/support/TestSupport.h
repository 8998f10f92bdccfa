#pragma once
// Small helpers shared by the test suites.
#include "TempFolder.h"

#include <Base/GCException.h>
#include <platform/DynamicLibrary.h>
#include <platform/SystemPaths.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace testsupport {

//! The build tree: from ctest, or the test binary's own place (<build>/bin).
inline std::string BuildDir() {
  const char* build = std::getenv("VORLA_TEST_BUILD_DIR");
  return build
             ? std::string(build)
             : std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path().string();
}

//! A run-time loaded module as the host finds it below an installation root (`root`/lib, or
//! `root`/bin on Windows, then vorla/`folder`), with the platform's separator and suffix.
inline std::string ModulePath(const std::string& root, const char* folder,
                              const std::string& name) {
  return (std::filesystem::path(root) / Vorla::Platform::kLibraryFolder / "vorla" / folder /
          (name + Vorla::Platform::CDynamicLibrary::Suffix()))
      .string();
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

//! Sets an environment variable (null: removes it) and restores its earlier state on destruction.
class CEnvGuard {
public:
  explicit CEnvGuard(const char* name) : m_name(name) {
    if (const char* value = std::getenv(name))
      m_previous = value;
  }
  CEnvGuard(const char* name, const char* value) : CEnvGuard(name) { value ? Set(value) : Unset(); }
  ~CEnvGuard() { m_previous ? Set(*m_previous) : Unset(); }
  CEnvGuard(const CEnvGuard&) = delete;
  CEnvGuard& operator=(const CEnvGuard&) = delete;

  void Set(const std::string& value) const { setenv(m_name.c_str(), value.c_str(), 1); }
  void Unset() const { unsetenv(m_name.c_str()); }

private:
  std::string m_name;
  std::optional<std::string> m_previous;
};

} // namespace testsupport
