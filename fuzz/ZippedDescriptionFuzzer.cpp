// A zipped description as a camera hands it over: whatever the archive claims, unzipping ends
// in the whole first file, checked against its CRC, or in a refusal, with memory bounded by the
// largest description taken (64 MiB) and never by a size from the archive.
#include <gencp/MemoryZip.h>

#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<std::uint8_t> archive(data, data + size);
  std::vector<std::uint8_t> out;
  const bool ok = GenCP::CMemoryZip::UnzipFirst(archive, out);
  if (out.size() > (64u << 20) || (!ok && !out.empty()))
    __builtin_trap();
  return 0;
}
