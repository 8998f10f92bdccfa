#include <VorlaBase/ConfigFileRegistry.h>

#include "XmlBindingsParser.h"

#include <Base/GCException.h>
#include <Base/GCUtilities.h>
#include <VorlaBase/TextFile.h>
#include <platform/Environment.h>
#include <platform/SystemPaths.h>

#include <filesystem>
#include <mutex>
#include <vector>

namespace Vorla {
namespace {

using GenICam::gcstring;

const char kOverrideKey[] = "DeviceXMLFileOverride";
const char kFileName[] = "XmlFileBindings.xml";

// $(VAR) replaced; relative paths taken from `folder` (empty: the current directory).
gcstring CompletePath(const gcstring& written, const gcstring& folder, const gcstring& origin) {
  gcstring path = written;
  if (!GenICam::ReplaceEnvironmentVariables(path))
    throw RUNTIME_EXCEPTION("The path '%s' of %s uses an environment variable that is not set",
                            written.c_str(), origin.c_str());
  const std::filesystem::path p(path);
  if (p.is_relative() && !folder.empty())
    return (std::filesystem::path(folder) / p).string();
  return path;
}

bool Matches(const SXmlBindingEntry& entry, const CDeviceInfo& info) {
  for (const auto& [key, expected] : entry.match) {
    gcstring value;
    if (!info.GetPropertyValue(key, value) || value != expected)
      return false;
  }
  return true;
}

} // namespace

struct CConfigFileRegistry::Impl {
  // Guards the cache below; the file is read under it. Owned by the registry.
  std::mutex lock;
  gcstring path;                            // of the cached entries
  std::filesystem::file_time_type modified; // of that file
  bool cached = false;                      // entries belong to path and modified
  std::vector<SXmlBindingEntry> entries;

  // The entries of the file at `file`; re-read when it changed, none when it is missing.
  const std::vector<SXmlBindingEntry>& Entries(const gcstring& file) {
    std::error_code ec;
    const auto time = std::filesystem::last_write_time(file, ec);
    if (ec == std::errc::no_such_file_or_directory) {
      cached = false;
      entries.clear();
      return entries;
    }
    if (!ec && cached && path == file && modified == time)
      return entries;
    // Any other status failure is left to the read, which names the reason.
    auto fresh = CXmlBindingsParser::Parse(file, textFileToString(file));
    entries.swap(fresh);
    path = file;
    modified = time;
    cached = !ec;
    return entries;
  }
};

CConfigFileRegistry& CConfigFileRegistry::GetInstance() {
  static CConfigFileRegistry registry;
  return registry;
}

CConfigFileRegistry::CConfigFileRegistry() : m_impl(std::make_unique<Impl>()) {}
CConfigFileRegistry::~CConfigFileRegistry() = default;

gcstring CConfigFileRegistry::GetBindingsFilePath() {
  gcstring folder;
  // Set but empty means the current directory, as for the port configuration.
  if (!Platform::GetEnv("VORLA_XML_BINDINGS", folder)) {
    const gcstring machineFolder = Platform::MachineConfigFolder();
    if (machineFolder.empty())
      throw RUNTIME_EXCEPTION("Couldn't get full path to the %s file.", kFileName);
    folder = Platform::PathAppend(Platform::PathAppend(machineFolder, "Hexmar"), "XmlBindings");
  }
  return Platform::PathAppend(folder, kFileName);
}

CXmlFileBinding CConfigFileRegistry::GetXmlFileBinding(const CDeviceInfo& info) {
  gcstring overridePath;
  if (info.GetPropertyValue(kOverrideKey, overridePath) && !overridePath.empty())
    return CXmlFileBinding(CompletePath(overridePath, gcstring(), kOverrideKey), gcstring(),
                           CXmlFileBinding::SourceOverride, kOverrideKey);

  const gcstring file = GetBindingsFilePath();
  const gcstring folder = std::filesystem::path(file).parent_path().string();
  std::lock_guard<std::mutex> guard(m_impl->lock);
  for (const SXmlBindingEntry& entry : m_impl->Entries(file)) {
    if (!Matches(entry, info))
      continue;
    const gcstring origin = file + ":" + std::to_string(entry.line);
    const gcstring xmlFile =
        entry.download ? gcstring() : CompletePath(entry.xmlFile, folder, origin);
    const gcstring mergeFile =
        entry.mergeFile.empty() ? gcstring() : CompletePath(entry.mergeFile, folder, origin);
    return CXmlFileBinding(xmlFile, mergeFile, CXmlFileBinding::SourceBindingsFile, origin);
  }
  return CXmlFileBinding();
}

} // namespace Vorla
