#include <videocable/CableReader.h>
#include <videocable/CableWriter.h>

#include <new>
#include <stdexcept>

namespace VideoCable {
namespace {

constexpr std::uint64_t Align(std::uint64_t v, std::uint64_t a) {
  return (v + a - 1) / a * a;
}

} // namespace

CCableWriter::CCableWriter(const std::string& name, std::uint32_t slotCount,
                           std::uint64_t slotCapacity)
    : m_Name(name) {
  // Three slots at least: one being written, one being read, one ready.
  if (slotCount < 3 || slotCount > MaxSlots || slotCapacity == 0 || slotCapacity > MaxSlotCapacity)
    throw std::runtime_error("video cable '" + name + "': bad slot count or size");
  CCableSegment existing;
  std::string refused;
  if (existing.Open(name, &refused) && existing.Size() >= sizeof(SCableHeader)) {
    const auto* old = static_cast<const SCableHeader*>(existing.Address());
    const std::int64_t pid = old->m_WriterProcess.load();
    // A camera of another version has no heartbeat where this one looks: its process decides.
    const bool alive = old->m_Version == CableVersion
                           ? !CCableReader::WriterGone(*old, CCableSegment::Now())
                           : !old->m_Closed.load() && CCableSegment::ProcessAlive(pid);
    if (old->m_Magic.load() == CableMagic && alive)
      throw std::runtime_error("video channel '" + name + "' is served by process " +
                               std::to_string(pid));
  }
  existing.Close();

  const std::uint64_t first = Align(sizeof(SCableHeader), 4096);
  const std::uint64_t stride = Align(SlotDataOffset + slotCapacity, 4096);
  try {
    m_Segment.Create(name, first + stride * slotCount);
  } catch (const std::runtime_error& e) {
    // E.g. another user's object of that name, which this user may not remove.
    throw std::runtime_error(refused.empty() ? e.what() : e.what() + ("; " + refused));
  }
  auto* base = static_cast<std::uint8_t*>(m_Segment.Address());
  m_Header = new (base) SCableHeader{};
  m_Header->m_Version = CableVersion;
  m_Header->m_SlotCount = slotCount;
  m_Header->m_SlotCapacity = slotCapacity;
  m_Header->m_SlotStride = stride;
  m_Header->m_FirstSlot = first;
  m_Header->m_WriterProcess.store(CCableSegment::CurrentProcess());
  m_Header->m_Heartbeat.store(CCableSegment::Now());
  for (std::uint32_t i = 0; i < slotCount; ++i)
    new (base + first + stride * i) SSlot{};
  // Readers trust nothing before the magic number (a release store).
  m_Header->m_Magic.store(CableMagic);
  m_BeatThread = std::thread([this] { Beat(); });
}

CCableWriter::~CCableWriter() {
  {
    std::lock_guard<std::mutex> lock(m_BeatMutex);
    m_Quit = true;
  }
  m_BeatWake.notify_all();
  m_BeatThread.join();
  m_Header->m_Closed.store(1);
  m_Header->m_Sequence.fetch_add(1);
  CCableSegment::WakeAll(m_Header->m_Sequence);
  m_Segment.Close();
  // A successor may already have replaced the name; remove only what is still ours.
  CCableSegment current;
  if (current.Open(m_Name) && current.Size() >= sizeof(SCableHeader) &&
      static_cast<const SCableHeader*>(current.Address())->m_Closed.load()) {
    current.Close();
    CCableSegment::Remove(m_Name);
  }
}

SSlot* CCableWriter::Slot(std::uint32_t index) const {
  return reinterpret_cast<SSlot*>(reinterpret_cast<std::uint8_t*>(m_Header) +
                                  m_Header->m_FirstSlot + m_Header->m_SlotStride * index);
}

void CCableWriter::Beat() {
  std::unique_lock<std::mutex> lock(m_BeatMutex);
  while (!m_BeatWake.wait_for(lock, std::chrono::nanoseconds(HeartbeatIntervalNs),
                              [this] { return m_Quit; }))
    m_Header->m_Heartbeat.store(CCableSegment::Now());
}

void CCableWriter::SetPixelClock(std::uint64_t hz) {
  m_Header->m_PixelClock.store(hz);
}

SSlot* CCableWriter::TakeSlot(bool& replaced) {
  // A free slot, else the oldest unread one; a slot being read is never touched unless its
  // reader has died.
  for (int attempt = 0; attempt < 4; ++attempt) {
    SSlot* oldest = nullptr;
    std::uint64_t oldestSeq = UINT64_MAX;
    std::uint64_t expected = SlotStateWord(SlotFree);
    for (std::uint32_t i = 0; i < m_Header->m_SlotCount; ++i) {
      SSlot* s = Slot(i);
      const std::uint64_t state = s->m_State.load();
      if (state == SlotStateWord(SlotFree)) {
        oldest = s;
        expected = state;
        break;
      }
      if (state == SlotStateWord(SlotReady) && s->m_Sequence.load() < oldestSeq) {
        oldest = s;
        oldestSeq = s->m_Sequence.load();
        expected = state;
      }
    }
    for (std::uint32_t i = 0; i < m_Header->m_SlotCount && !oldest; ++i) {
      SSlot* s = Slot(i);
      const std::uint64_t state = s->m_State.load();
      if (SlotStateOf(state) == SlotReading && !CCableSegment::ProcessAlive(SlotReaderOf(state))) {
        oldest = s;
        expected = state;
      }
    }
    if (!oldest)
      return nullptr;
    if (oldest->m_State.compare_exchange_strong(expected, SlotStateWord(SlotWriting))) {
      replaced = SlotStateOf(expected) == SlotReady;
      return oldest;
    }
  }
  return nullptr;
}

bool CCableWriter::Send(const SFrameInfo& info, const std::function<void(std::uint8_t*)>& render) {
  if (info.m_Size > m_Header->m_SlotCapacity)
    return false;
  bool replaced = false;
  SSlot* slot = TakeSlot(replaced);
  const std::uint64_t sequence = m_Header->m_Published.load() + 1;
  if (replaced || !slot)
    m_Header->m_Overwritten.fetch_add(1);
  if (slot) {
    render(reinterpret_cast<std::uint8_t*>(slot) + SlotDataOffset);
    slot->m_Info = info;
    slot->m_Sequence.store(sequence);
    slot->m_State.store(SlotStateWord(SlotReady));
  }
  // Every slot held by readers: the frame is lost on the cable, but its number is used up so
  // that readers see the gap.
  m_Header->m_Published.store(sequence);
  m_Header->m_Sequence.fetch_add(1);
  CCableSegment::WakeAll(m_Header->m_Sequence);
  return true;
}

} // namespace VideoCable
