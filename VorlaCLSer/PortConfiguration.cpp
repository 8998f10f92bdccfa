#include "PortConfiguration.h"

#include "CLBindingsFile.h"
#include "VorlaCLSerLog.h"

#include <GenApi/XercesScope.h>

#include <platform/Environment.h>
#include <platform/SystemPaths.h>
#include <vorla/private/VorlaXercesHelper.h>

#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

namespace Vorla {
namespace {

using GenICam::gcstring;

const char kFileName[] = "PortConfiguration_x64.xml";

// The host's process-wide Xerces scope: after the first parse of the process only a count.
std::unique_ptr<GenApi::CXercesScope> InitializeXerces() {
  try {
    return std::make_unique<GenApi::CXercesScope>();
  } catch (const xercesc::XMLException& e) {
    throw RUNTIME_EXCEPTION("%s: %s", "Failed to initialize Xerces",
                            TranscodeAndTrim(e.getMessage()).c_str());
  } catch (...) {
    throw RUNTIME_EXCEPTION("%s: Unspecified exception occurred", "Failed to initialize Xerces");
  }
}

// The file's modification time as one 64-bit number (nanosecond ticks of the file clock), so
// that two writes within one second still differ.
std::int64_t TimeValue(std::filesystem::file_time_type time) {
  return static_cast<std::int64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count());
}

} // namespace

CPortConfiguration::CPortConfiguration(Platform::CRecursiveMutex& transportLayerLock)
    : m_lock(transportLayerLock) {}

gcstring CPortConfiguration::BuildPath() {
  gcstring folder;
  // Set but empty means the current directory; only an unset variable selects the machine folder.
  if (!Platform::GetEnv("VORLA_CL_BINDINGS", folder)) {
    const gcstring machineFolder = Platform::MachineConfigFolder();
    if (machineFolder.empty()) {
      vxlog::LogTrace(TlLog(), vxlog::Error,
                      "Couldn't get full path to the PortConfiguration.xml file.");
      throw GENERIC_EXCEPTION("Couldn't get full path to the PortConfiguration.xml file.");
    }
    folder = Platform::PathAppend(Platform::PathAppend(machineFolder, "Hexmar"), "CLBindings");
  }
  return Platform::PathAppend(folder, kFileName);
}

EConfigurationFileState CPortConfiguration::CheckFile(const gcstring& path, gcstring& problem) {
  std::error_code ec;
  if (!std::filesystem::exists(path, ec) && !ec)
    return ConfigurationMissing;
  if (std::filesystem::is_directory(path, ec)) {
    problem = "it is a directory";
    return ConfigurationUnreadable;
  }
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) {
    problem = std::strerror(errno);
    return ConfigurationUnreadable;
  }
  std::fclose(file);
  return ConfigurationRead;
}

unsigned int CPortConfiguration::LoadPortConfiguration() {
  const gcstring path = BuildPath();

  std::int64_t modificationTime = 0;
  {
    Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
    std::error_code ec;
    const auto time = std::filesystem::last_write_time(path, ec);
    if (ec == std::errc::no_such_file_or_directory) {
      m_modificationTime = 0;
      m_table.clear();
      return 0;
    }
    // Any other status failure counts as a change: the parse reports what is wrong.
    if (!ec) {
      modificationTime = TimeValue(time);
      if (m_path == path && m_modificationTime != 0 && m_modificationTime == modificationTime)
        return static_cast<unsigned int>(m_table.size());
    }
  }

  PortConfigurationTable table;
  unsigned int count = 0;
  try {
    const auto xerces = InitializeXerces();
    count = CCLBindingsFile::ParseCLBindingsFile(path.c_str(), table);
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Could not read CLBindings (%s)", e.GetDescription());
    throw;
  }

  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  m_modificationTime = modificationTime;
  m_path = path;
  m_table.swap(table);
  return count;
}

PortConfigurationTable CPortConfiguration::GetTable() const {
  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  return m_table;
}

gcstring CPortConfiguration::GetPath() const {
  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  return m_path;
}

std::int64_t CPortConfiguration::GetModificationTime() const {
  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  return m_modificationTime;
}

} // namespace Vorla
