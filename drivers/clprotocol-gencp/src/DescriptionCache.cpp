#include "DescriptionCache.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <system_error>

namespace GenCPDriver {
namespace fs = std::filesystem;
namespace {

constexpr std::chrono::hours StaleTemporary{1};
constexpr std::size_t HexLength = 2 * std::tuple_size<GenCP::Sha1Digest>::value;

std::string Hex(const GenCP::Sha1Digest& sha1) {
  static const char digits[] = "0123456789abcdef";
  std::string out;
  for (std::uint8_t b : sha1) {
    out += digits[b >> 4];
    out += digits[b & 0xF];
  }
  return out;
}

bool IsEntryName(const std::string& name) {
  return name.size() == HexLength && std::all_of(name.begin(), name.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
         });
}

std::string Getenv(const char* name, bool& set) {
  const char* value = std::getenv(name);
  set = value != nullptr;
  return value ? value : "";
}

std::string Why(const std::error_code& error) {
  return error.message();
}

} // namespace

CDescriptionCache CDescriptionCache::FromEnvironment() {
  // The largest description a camera may publish is also the largest entry worth reading back.
  constexpr std::uint64_t MaxEntry = 16u << 20;
  bool set = false;
  std::string folder = Getenv(EnvironmentVariable, set);
  if (set)
    return CDescriptionCache(folder == "off" ? std::string() : folder, DefaultLimitBytes, MaxEntry);
  const std::string xdg = Getenv("XDG_CACHE_HOME", set);
  // An XDG location must be absolute; a relative one is ignored as the basedir rules say.
  if (!xdg.empty() && xdg.front() == '/')
    folder = xdg + "/vorla/descriptions";
  else if (const char* home = std::getenv("HOME"); home && *home)
    folder = std::string(home) + "/.cache/vorla/descriptions";
  return CDescriptionCache(folder, DefaultLimitBytes, MaxEntry);
}

CDescriptionCache::CDescriptionCache(std::string directory, std::uint64_t limitBytes,
                                     std::uint64_t maxEntryBytes)
    : m_Directory(std::move(directory)), m_LimitBytes(limitBytes), m_MaxEntryBytes(maxEntryBytes) {}

std::string CDescriptionCache::PathOf(const GenCP::Sha1Digest& sha1) const {
  return m_Directory + "/" + Hex(sha1);
}

bool CDescriptionCache::Find(const GenCP::Sha1Digest& sha1, std::vector<std::uint8_t>& file,
                             std::string& warning) {
  if (!Enabled())
    return false;
  const std::string path = PathOf(sha1);
  std::error_code error;
  const std::uintmax_t size = fs::file_size(path, error);
  if (error)
    return false; // not cached yet: no news
  // The size on disk is outside data: bound it before reading.
  if (size == 0 || size > m_MaxEntryBytes) {
    warning = "cache entry '" + path + "' has an impossible size; downloading";
    fs::remove(path, error);
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  file.resize(static_cast<std::size_t>(size));
  if (!in.read(reinterpret_cast<char*>(file.data()), static_cast<std::streamsize>(file.size())) ||
      GenCP::Sha1(file.data(), file.size()) != sha1) {
    warning = "cache entry '" + path + "' is damaged; downloading";
    file.clear();
    fs::remove(path, error);
    return false;
  }
  // Least recently used goes first: a hit counts as a use.
  fs::last_write_time(path, fs::file_time_type::clock::now(), error);
  return true;
}

bool CDescriptionCache::Store(const GenCP::Sha1Digest& sha1, const std::vector<std::uint8_t>& file,
                              std::string& warning) {
  if (!Enabled() || file.empty() || file.size() > m_MaxEntryBytes || file.size() > m_LimitBytes)
    return false;
  std::error_code error;
  fs::create_directories(m_Directory, error);
  if (error) {
    warning = "cannot create the description cache '" + m_Directory + "': " + Why(error);
    return false;
  }
  const std::string path = PathOf(sha1);
  // A name no other writer uses (64 random bits); the rename makes the entry appear whole or
  // not at all.
  std::random_device random;
  const std::string temporary =
      path + ".tmp." + std::to_string(random()) + "." + std::to_string(random());
  {
    std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(file.data()),
              static_cast<std::streamsize>(file.size()));
    out.flush();
    if (!out) {
      const int cause = errno;
      fs::remove(temporary, error);
      warning = "cannot write to the description cache '" + m_Directory +
                "': " + std::strerror(cause ? cause : EIO);
      return false;
    }
  }
  fs::rename(temporary, path, error);
  if (error) {
    warning = "cannot write to the description cache '" + m_Directory + "': " + Why(error);
    fs::remove(temporary, error);
    return false;
  }
  Evict(path);
  return true;
}

void CDescriptionCache::Evict(const std::string& keep) {
  struct SEntry {
    fs::path m_Path;
    std::uintmax_t m_Size;
    fs::file_time_type m_Used;
  };
  std::vector<SEntry> entries;
  std::uintmax_t total = 0;
  std::error_code error;
  for (fs::directory_iterator it(m_Directory, error), end; !error && it != end;
       it.increment(error)) {
    std::error_code entryError;
    const std::string name = it->path().filename().string();
    if (!IsEntryName(name)) {
      // A temporary file this old belongs to a writer that died before its rename.
      if (name.find(".tmp.") != std::string::npos &&
          it->last_write_time(entryError) < fs::file_time_type::clock::now() - StaleTemporary)
        fs::remove(it->path(), entryError);
      continue;
    }
    const std::uintmax_t size = it->file_size(entryError);
    const fs::file_time_type used = it->last_write_time(entryError);
    if (entryError)
      continue; // removed by another process meanwhile
    entries.push_back({it->path(), size, used});
    total += size;
  }
  if (total <= m_LimitBytes)
    return;
  std::sort(entries.begin(), entries.end(),
            [](const SEntry& a, const SEntry& b) { return a.m_Used < b.m_Used; });
  for (const SEntry& entry : entries) {
    if (total <= m_LimitBytes)
      break;
    if (entry.m_Path == keep)
      continue;
    // Another process may evict the same entry: removing nothing is fine.
    fs::remove(entry.m_Path, error);
    total -= entry.m_Size;
  }
}

} // namespace GenCPDriver
