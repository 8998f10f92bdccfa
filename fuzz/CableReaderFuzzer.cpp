// The video cable as a camera of any intention could write it: the input is the shared memory
// (header and slots, its size too) as the reader attaches, then writes into it while the reader
// takes frames. Whatever it holds, every slot and frame the reader hands out lies inside its
// own mapping of the cable, at an aligned place.
#include <videocable/CableReader.h>

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

using namespace VideoCable;

const std::string& Name() {
  static const std::string name = "vorla-cable-fuzz-" + std::to_string(::getpid());
  return name;
}

//! Whether [begin, end) lies in the first `size` bytes of a mapping of the cable. (The page
//! beyond the cable's end is mapped too, and a camera may write there.)
bool InCable(std::uintptr_t begin, std::uintptr_t end, std::size_t size) {
  std::FILE* maps = std::fopen("/proc/self/maps", "r");
  if (!maps)
    return true;
  char line[512];
  bool inside = false;
  while (!inside && std::fgets(line, sizeof line, maps)) {
    unsigned long low = 0, high = 0;
    inside = std::sscanf(line, "%lx-%lx", &low, &high) == 2 && low <= begin &&
             end <= std::min<std::uintptr_t>(high, low + size) && std::strstr(line, Name().c_str());
  }
  std::fclose(maps);
  return inside;
}

void CheckFrame(const CCableReader::SFrame& frame, std::size_t size) {
  const auto slot = reinterpret_cast<std::uintptr_t>(frame.m_pSlot);
  const auto data = reinterpret_cast<std::uintptr_t>(frame.m_pData);
  if (slot % SlotAlignment || data != slot + SlotDataOffset ||
      frame.m_Info.m_Size > MaxSlotCapacity || !InCable(slot, data + frame.m_Info.m_Size, size))
    __builtin_trap();
}

} // namespace

// Input: two bytes of size (in 64-byte units), a byte of flags (bit 0: keep the camera's
// process, heartbeat and magic as given instead of a live camera's), the cable's first bytes,
// and after a 0xFF 0xFE marker a series of writes (two bytes of offset into the mapped pages,
// eight of value), each followed by a look for a frame.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3)
    return 0;
  const std::size_t cableSize = (std::size_t(data[0]) << 8 | data[1]) % 1024 * 64 + 64;
  const bool raw = data[2] & 1;
  data += 3, size -= 3;
  static const std::uint8_t marker[] = {0xFF, 0xFE};
  const std::uint8_t* split = std::search(data, data + size, marker, marker + 2);
  CCableSegment cable;
  cable.Create(Name(), cableSize);
  auto* base = static_cast<std::uint8_t*>(cable.Address());
  const std::size_t mapped = (cableSize + 4095) / 4096 * 4096; // whole pages
  std::memcpy(base, data, std::min<std::size_t>(split - data, cableSize));
  auto* header = reinterpret_cast<SCableHeader*>(base);
  if (!raw && cableSize >= sizeof(SCableHeader)) {
    header->m_Magic = CableMagic;
    header->m_Closed = 0;
    header->m_WriterProcess = CCableSegment::CurrentProcess();
    header->m_Heartbeat = CCableSegment::Now();
  }
  CCableReader reader;
  if (reader.Attach(Name())) {
    const std::atomic<bool> cancel{false};
    const std::uint8_t* op = split == data + size ? split : split + 2;
    CCableReader::SFrame held;
    for (int round = 0; round < 64; ++round) {
      if (data + size - op >= 10) {
        const std::size_t at = (op[0] << 8 | op[1]) % mapped / 8 * 8;
        std::memcpy(base + at, op + 2, 8);
        op += 10;
      }
      CCableReader::SFrame frame;
      if (reader.Next(std::chrono::milliseconds(0), cancel, frame) != CCableReader::EResult::Frame)
        break;
      CheckFrame(frame, cableSize);
      // Keep one frame claimed for a while, as a slow grabber would.
      if (!held.m_pSlot && round % 2)
        held = frame;
      else
        reader.Release(frame);
    }
    reader.Release(held);
  }
  reader.Detach();
  cable.Close();
  CCableSegment::Remove(Name());
  return 0;
}
