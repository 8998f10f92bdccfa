#include "ModuleRegistry.h"

#include "ProtocolDriver.h"
#include "SerialLibrary.h"

#include <GenApi/Log.h>
#include <platform/DynamicLibrary.h>
#include <platform/Environment.h>
#include <platform/SystemPaths.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace CLProtocol {
namespace fs = std::filesystem;
namespace {

std::vector<std::string> SplitList(const std::string& list, char separator) {
  std::vector<std::string> items;
  size_t pos = 0;
  while (pos <= list.size()) {
    size_t end = list.find(separator, pos);
    if (end == std::string::npos)
      end = list.size();
    std::string item = list.substr(pos, end - pos);
    while (item.size() > 1 && item.back() == '/')
      item.pop_back(); // directories are named without a trailing separator
    if (!item.empty())
      items.push_back(item);
    pos = end + 1;
  }
  return items;
}

bool EndsWith(const std::string& s, const std::string& tail) {
  return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// Regular files of a folder, sorted by name; empty when the folder does not exist.
std::vector<std::string> FilesIn(const std::string& folder) {
  std::vector<std::string> names;
  std::error_code ec;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    std::error_code fileEc;
    if (it->is_regular_file(fileEc))
      names.push_back(it->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string RealPath(const std::string& path) {
  std::error_code ec;
  const fs::path real = fs::canonical(path, ec);
  return ec ? path : real.string();
}

// "clser???.so" ("clser???.dll" on Windows): the release name of a Camera Link serial library.
bool IsSerialLibraryName(const std::string& name) {
  const std::string suffix = Vorla::Platform::CDynamicLibrary::Suffix();
  return name.size() == 8 + suffix.size() && name.compare(0, 5, "clser") == 0 &&
         EndsWith(name, suffix);
}

bool IsDriverName(const std::string& name) {
  const std::string suffix = Vorla::Platform::CDynamicLibrary::Suffix();
  return name.size() > 3 + suffix.size() && name.compare(0, 3, "lib") == 0 &&
         EndsWith(name, suffix);
}

} // namespace

CModuleRegistry& CModuleRegistry::Instance() {
  // Never destroyed: modules stay loaded until the process ends.
  static CModuleRegistry* registry = new CModuleRegistry;
  return *registry;
}

std::string CModuleRegistry::LibraryFolder() {
  std::string root;
  if (Vorla::Platform::GetEnv("VORLA_ROOT", root) && !root.empty())
    return root + "/" + Vorla::Platform::kLibraryFolder;
  const std::string self =
      Vorla::Platform::CDynamicLibrary::PathOfAddress(reinterpret_cast<const void*>(&Instance));
  return fs::path(self).parent_path().string();
}

CSerialLibrary* CModuleRegistry::SerialLibraryAt(const std::string& path) {
  const std::string key = RealPath(path);
  const auto it = m_serialLibraries.find(key);
  if (it != m_serialLibraries.end())
    return it->second.get();
  if (m_rejected.count(key))
    return nullptr;
  auto lib = CSerialLibrary::Load(key);
  if (!lib) {
    m_rejected.insert(key);
    return nullptr;
  }
  return (m_serialLibraries[key] = std::move(lib)).get();
}

CProtocolDriver* CModuleRegistry::DriverAt(const std::string& path) {
  const std::string key = RealPath(path);
  const auto it = m_drivers.find(key);
  if (it != m_drivers.end())
    return it->second.get();
  if (m_rejected.count(key))
    return nullptr;
  auto drv = CProtocolDriver::Load(key);
  if (!drv) {
    m_rejected.insert(key);
    return nullptr;
  }
  return (m_drivers[key] = std::move(drv)).get();
}

std::vector<CModuleRegistry::SPort> CModuleRegistry::Ports() {
  std::vector<std::string> folders{LibraryFolder() + "/vorla/clserial"};
  std::string extra;
  if (Vorla::Platform::GetEnv("CLSERIALPATH", extra))
    for (const auto& folder : SplitList(extra, ':'))
      folders.push_back(folder);

  std::vector<CSerialLibrary*> libraries;
  {
    std::lock_guard<std::mutex> guard(m_lock);
    for (const auto& folder : folders)
      for (const auto& name : FilesIn(folder)) {
        if (!IsSerialLibraryName(name))
          continue;
        CSerialLibrary* lib = SerialLibraryAt(folder + "/" + name);
        if (lib && std::find(libraries.begin(), libraries.end(), lib) == libraries.end())
          libraries.push_back(lib);
      }
  }
  // Port lists are asked outside the lock: a library may take its time.
  std::vector<SPort> ports;
  for (CSerialLibrary* lib : libraries) {
    const auto ids = lib->PortIdentifiers();
    for (size_t i = 0; i < ids.size(); ++i)
      ports.push_back({lib, static_cast<CLUINT32>(i), lib->Manufacturer() + "#" + ids[i]});
  }
  return ports;
}

bool CModuleRegistry::FindPort(const std::string& portID, SPort& port) {
  for (const auto& candidate : Ports())
    if (candidate.id == portID) {
      port = candidate;
      return true;
    }
  return false;
}

std::vector<CModuleRegistry::SDriver> CModuleRegistry::Drivers() {
  // ';'-separated on every platform, as GenICam's reference module reads it.
  std::vector<std::string> folders;
  std::string list;
  if (Vorla::Platform::GetEnv("GENICAM_CLPROTOCOL", list))
    folders = SplitList(list, ';');
  const size_t installed = folders.size();
  folders.push_back(LibraryFolder() + "/vorla/clprotocol");

  std::vector<SDriver> drivers;
  std::vector<std::string> missing; // warned about after the lock is released
  std::set<std::string> seenFolders;
  std::unique_lock<std::mutex> guard(m_lock);
  for (size_t i = 0; i < folders.size(); ++i) {
    // The folder that holds the libraries is token 0 of their DeviceIDs.
    const std::string binaries = folders[i] + "/" + CDeviceID::GetPlatformFolder();
    std::error_code ec;
    if (!fs::is_directory(binaries, ec)) {
      if (i < installed && m_warnedFolders.insert(folders[i]).second)
        missing.push_back(folders[i]);
      continue;
    }
    if (!seenFolders.insert(RealPath(binaries)).second)
      continue;
    const auto names = FilesIn(binaries);
    for (const auto& name : names) {
      if (!IsDriverName(name))
        continue;
      // A debug build "X.debug.so" stands in only when the release "X.so" is missing.
      const std::string suffix = Vorla::Platform::CDynamicLibrary::Suffix();
      if (EndsWith(name, ".debug" + suffix)) {
        const std::string release = name.substr(0, name.size() - 6 - suffix.size()) + suffix;
        if (std::binary_search(names.begin(), names.end(), release))
          continue;
      }
      if (CProtocolDriver* drv = DriverAt(binaries + "/" + name))
        drivers.push_back({binaries, name, drv});
    }
  }
  guard.unlock();
  for (const auto& folder : missing)
    GenApi::LogWarning("CLProtocol",
                       "GENICAM_CLPROTOCOL names '%s', which has no folder '%s/%s': skipped",
                       folder.c_str(), folder.c_str(), CDeviceID::GetPlatformFolder().c_str());
  return drivers;
}

CProtocolDriver* CModuleRegistry::FindDriver(const CDeviceID& deviceID) {
  const std::string file = deviceID.GetDriverFileName();
  const std::string raw = deviceID.GetDriverDirectory(false);
  const std::string expanded = deviceID.GetDriverDirectory(true);
  for (const auto& entry : Drivers())
    if (entry.fileName == file && (entry.directory == raw || entry.directory == expanded))
      return entry.driver;
  return nullptr;
}

} // namespace CLProtocol
