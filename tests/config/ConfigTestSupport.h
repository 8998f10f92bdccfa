#pragma once
// Helpers of the port configuration tests: a scratch folder, environment and working-directory
// guards, file writing with explicit modification times, and Xerces initialisation.
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <GenApi/XercesScope.h>
#include <xercesc/util/PlatformUtils.hpp>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace ConfigTest {

namespace fs = std::filesystem;

using testsupport::CEnvGuard;
using testsupport::CTempFolder;

//! Changes the working directory and changes it back on destruction.
class CWorkingDirectoryGuard {
public:
  explicit CWorkingDirectoryGuard(const fs::path& folder) : m_previous(fs::current_path()) {
    fs::current_path(folder);
  }
  ~CWorkingDirectoryGuard() {
    std::error_code ec;
    fs::current_path(m_previous, ec);
  }
  CWorkingDirectoryGuard(const CWorkingDirectoryGuard&) = delete;
  CWorkingDirectoryGuard& operator=(const CWorkingDirectoryGuard&) = delete;

private:
  fs::path m_previous;
};

//! Holds Xerces initialised, as the transport layer does around a parse.
using CXercesScope = GenApi::CXercesScope;

//! Modification times set explicitly, whole seconds apart, so that no test sleeps.
inline fs::file_time_type FixedTime(int secondsOffset) {
  static const auto base =
      std::chrono::time_point_cast<std::chrono::seconds>(fs::file_time_type::clock::now());
  return base + std::chrono::seconds(secondsOffset);
}

inline void WriteFile(const std::string& path, const std::string& text, int secondsOffset = 0) {
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << text;
    if (!out)
      throw std::runtime_error("could not write " + path);
  }
  fs::last_write_time(path, FixedTime(secondsOffset));
}

//! A configuration document with the given Port elements inside one root element.
inline std::string Document(const std::string& ports) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<PortConfiguration>\n" + ports +
         "</PortConfiguration>\n";
}

inline std::string Port(const std::string& id, const std::string& enabled = "yes",
                        const std::string& more = "") {
  return "  <Port><ID>" + id + "</ID><Enabled>" + enabled + "</Enabled>" + more + "</Port>\n";
}

} // namespace ConfigTest
