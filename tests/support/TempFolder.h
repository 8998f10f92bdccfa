#pragma once
// A scratch folder for the test suites, without the rest of the shared support.
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace testsupport {

//! A fresh folder below the system's temporary folder, removed with everything in it. Given a
//! variable, the environment names the folder there until then.
class CTempFolder {
public:
  explicit CTempFolder(const char* variable = nullptr) : m_variable(variable ? variable : "") {
    std::string pattern = (std::filesystem::temp_directory_path() / "vorla-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
      throw std::runtime_error("mkdtemp failed");
    m_path = pattern;
    if (variable)
      setenv(variable, pattern.c_str(), 1);
  }
  ~CTempFolder() {
    if (!m_variable.empty())
      unsetenv(m_variable.c_str());
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
  }
  CTempFolder(const CTempFolder&) = delete;
  CTempFolder& operator=(const CTempFolder&) = delete;

  const std::filesystem::path& Path() const { return m_path; }
  std::string File(const std::string& name) const { return (m_path / name).string(); }

private:
  std::string m_variable;
  std::filesystem::path m_path;
};

} // namespace testsupport
