#pragma once
// What several harnesses share: a scratch folder for the files an input becomes, the split of an
// input at its first NUL, and GenICam errors taken as the expected end of one use.
#include <Base/GCException.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <utility>

//! A folder of the harness's own, named in `variable`, and the path of `file` in it: in memory
//! (/dev/shm) where the machine has it, so that a million runs do not wear a disk.
inline std::string FuzzScratchFile(const char* variable, const char* file) {
  std::string folder = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  folder += "/vorla-fuzz-XXXXXX";
  if (!mkdtemp(&folder[0]))
    std::abort();
  setenv(variable, folder.c_str(), 1);
  return folder + "/" + file;
}

inline void FuzzWriteFile(const std::string& path, const uint8_t* data, size_t size) {
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file)
    std::abort();
  std::fwrite(data, 1, size, file);
  std::fclose(file);
}

//! The text before the first NUL and the bytes after it (empty when there is none).
inline std::pair<std::string, std::string> FuzzSplitAtNul(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const size_t nul = input.find('\0');
  return {input.substr(0, nul), nul == std::string::npos ? std::string() : input.substr(nul + 1)};
}

//! Runs `f`; a GenICam error is an answer like any other.
template <class F> void FuzzTry(F&& f) {
  try {
    f();
  } catch (const GenICam::GenericException&) {
  }
}
