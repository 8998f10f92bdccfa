#pragma once
#include <gencp/Sha1.h>

#include <cstdint>
#include <string>
#include <vector>

namespace GenCPDriver {

//! Camera descriptions on disk, keyed by the SHA-1 the camera's manifest publishes, so that a
//! camera opened before hands out its description without a download. Each entry is the file
//! exactly as the camera stores it (zipped or not) in a file named by its hash; an entry counts
//! only when its content hashes to its name. Entries are written to a temporary file and renamed,
//! so concurrent processes never see half an entry and need no lock between them; the folder is
//! kept below a size limit by evicting the least recently used entries. Every failure is
//! reported through `warning` and answered as a miss: the cache can cost a download, never an
//! open. Reentrant: an object holds only its settings, and processes and threads may share the
//! folder.
class CDescriptionCache {
public:
  //! The variable that moves the cache (a folder) or turns it off ("off" or empty).
  static constexpr const char* EnvironmentVariable = "VORLA_DESCRIPTION_CACHE";
  static constexpr std::uint64_t DefaultLimitBytes = 64u << 20;

  //! The cache the environment asks for: the variable above, else
  //! $XDG_CACHE_HOME/vorla/descriptions, else ~/.cache/vorla/descriptions; off without a home.
  static CDescriptionCache FromEnvironment();

  CDescriptionCache(std::string directory, std::uint64_t limitBytes, std::uint64_t maxEntryBytes);

  bool Enabled() const { return !m_Directory.empty(); }
  const std::string& Directory() const { return m_Directory; }

  //! The entry of `sha1`, checked against it, and marked as just used. A damaged entry is
  //! removed and reported.
  bool Find(const GenCP::Sha1Digest& sha1, std::vector<std::uint8_t>& file, std::string& warning);
  //! Stores `file` under `sha1` (which it must hash to) and evicts the least recently used
  //! entries beyond the limit.
  bool Store(const GenCP::Sha1Digest& sha1, const std::vector<std::uint8_t>& file,
             std::string& warning);

private:
  std::string PathOf(const GenCP::Sha1Digest& sha1) const;
  void Evict(const std::string& keep);

  std::string m_Directory; // empty: off
  std::uint64_t m_LimitBytes;
  std::uint64_t m_MaxEntryBytes;
};

} // namespace GenCPDriver
