#pragma once
// The simulated Camera Link cable as it lies in shared memory. One camera writes, grabbers read.
//
//   SCableHeader | SSlot 0 + data | SSlot 1 + data | ...
//
// A slot changes hands through its state word only: the camera takes Free or Ready slots
// (never one being read), a grabber claims a Ready slot by compare-and-swap and hands it back
// when done. So the camera never waits for a grabber, a slow grabber loses the oldest unread
// frames (it sees the gap in frame numbers), and a frame is never overwritten while it is read.
// Waiting readers sleep on the header's sequence word, which changes with every frame.
//
// A reader trusts nothing of this but what it checked at attach: it keeps its own copy of the
// geometry, bounded by the mapping's real size, and takes slots only from that copy.
#include <atomic>
#include <cstdint>
#include <string>

namespace VideoCable {

constexpr std::uint32_t CableMagic = 0x42434C56; // "VLCB"
constexpr std::uint32_t CableVersion = 2;
//! Bounds a reader applies to a header that another process wrote.
constexpr std::uint32_t MaxSlots = 64;
constexpr std::uint64_t MaxSlotCapacity = std::uint64_t(1) << 30;
//! Slots start on multiples of this, so that their atomics are naturally aligned.
constexpr std::uint64_t SlotAlignment = 64;
//! The camera advances its heartbeat this often; a heartbeat older than HeartbeatTimeout means
//! the camera is gone even when a process of its id runs (ids are reused).
constexpr std::uint64_t HeartbeatIntervalNs = 100'000'000;
constexpr std::uint64_t HeartbeatTimeoutNs = 3'000'000'000;

enum ESlotState : std::uint32_t { SlotFree = 0, SlotWriting = 1, SlotReady = 2, SlotReading = 3 };

//! A slot's state word: the state in the low half; while Reading, the reading process's id in
//! the high half, set by the same compare-and-swap that claims the slot, so that a slot whose
//! reader died can be told from one still being read.
constexpr std::uint64_t SlotStateWord(ESlotState state, std::uint64_t reader = 0) {
  return reader << 32 | state;
}
constexpr ESlotState SlotStateOf(std::uint64_t word) {
  return static_cast<ESlotState>(word & 0xFFFFFFFF);
}
constexpr std::int64_t SlotReaderOf(std::uint64_t word) {
  return static_cast<std::int64_t>(word >> 32);
}

//! What the camera sends along with a frame: what a grabber learns from the line and frame
//! valid signals, plus the pixel format the camera was set to.
struct SFrameInfo {
  std::uint64_t m_FrameNumber = 0; //!< the camera's frame counter (drawn into the picture)
  std::uint64_t m_TimestampNs = 0; //!< camera clock
  std::uint32_t m_Width = 0;
  std::uint32_t m_Height = 0;
  std::uint32_t m_OffsetX = 0;
  std::uint32_t m_OffsetY = 0;
  std::uint32_t m_PixelFormat = 0; //!< PFNC value
  std::uint32_t m_LineLength = 0;  //!< bytes per line
  std::uint64_t m_Size = 0;        //!< bytes of the frame (lines are contiguous)
};

struct SSlot {
  std::atomic<std::uint64_t> m_State; //!< SlotStateWord
  //! The cable's count of the frame (1, 2, ... since the camera started), written before the
  //! slot turns Ready; readable without a claim. Gaps are frames a reader lost.
  std::atomic<std::uint64_t> m_Sequence;
  //! Stable only while the slot is claimed.
  SFrameInfo m_Info;
};

//! Offset of a slot's image data from the slot's start.
constexpr std::uint64_t SlotDataOffset = (sizeof(SSlot) + 63) / 64 * 64;

struct SCableHeader {
  //! Written last by the camera: nothing else is valid before it.
  std::atomic<std::uint32_t> m_Magic;
  std::uint32_t m_Version;
  std::uint32_t m_SlotCount;
  std::uint32_t m_Reserved;
  std::uint64_t m_SlotCapacity; //!< data bytes per slot
  std::uint64_t m_SlotStride;   //!< bytes from one slot to the next
  std::uint64_t m_FirstSlot;    //!< offset of slot 0 from the header
  //! Futex word: changes with every frame and when the camera leaves.
  std::atomic<std::uint32_t> m_Sequence;
  std::atomic<std::uint32_t> m_Closed;
  std::atomic<std::int64_t> m_WriterProcess;
  //! The camera's monotonic clock (ns), advanced every HeartbeatIntervalNs while it runs.
  std::atomic<std::uint64_t> m_Heartbeat;
  std::atomic<std::uint64_t> m_PixelClock;  //!< Hz, as the camera is set
  std::atomic<std::uint64_t> m_Published;   //!< cable count of the last frame sent
  std::atomic<std::uint64_t> m_Overwritten; //!< frames the camera replaced before anyone read them
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free &&
                  std::atomic<std::uint64_t>::is_always_lock_free,
              "the cable needs address-free atomics");

//! Name of the shared-memory object of a channel.
inline std::string CableName(std::uint32_t board, std::uint32_t channel) {
  return "vorla-cable-" + std::to_string(board) + "-" + std::to_string(channel);
}

} // namespace VideoCable
