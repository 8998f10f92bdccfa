#pragma once
// A folder of the harness's own for the files it writes each run: in memory (/dev/shm) where
// the machine has it, so that a million runs do not wear a disk.
#include <cstdlib>
#include <string>
#include <unistd.h>

inline std::string FuzzScratchFolder() {
  const char* shm = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  std::string folder = std::string(shm) + "/vorla-fuzz-XXXXXX";
  if (!mkdtemp(&folder[0]))
    std::abort();
  return folder;
}
