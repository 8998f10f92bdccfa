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
  if (existing.Open(name) && existing.Size() >= sizeof(SCableHeader)) {
    const auto* old = static_cast<const SCableHeader*>(existing.Address());
    const std::int64_t pid = old->m_WriterProcess.load();
    if (old->m_Magic.load() == CableMagic && !old->m_Closed.load() &&
        CCableSegment::ProcessAlive(pid))
      throw std::runtime_error("video channel '" + name + "' is served by process " +
                               std::to_string(pid));
  }
  existing.Close();

  const std::uint64_t first = Align(sizeof(SCableHeader), 4096);
  const std::uint64_t stride = Align(SlotDataOffset + slotCapacity, 4096);
  m_Segment.Create(name, first + stride * slotCount);
  auto* base = static_cast<std::uint8_t*>(m_Segment.Address());
  m_Header = new (base) SCableHeader{};
  m_Header->m_Version = CableVersion;
  m_Header->m_SlotCount = slotCount;
  m_Header->m_SlotCapacity = slotCapacity;
  m_Header->m_SlotStride = stride;
  m_Header->m_FirstSlot = first;
  m_Header->m_WriterProcess.store(CCableSegment::CurrentProcess());
  for (std::uint32_t i = 0; i < slotCount; ++i)
    new (base + first + stride * i) SSlot{};
  // Readers trust nothing before the magic number (a release store).
  m_Header->m_Magic.store(CableMagic);
}

CCableWriter::~CCableWriter() {
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

void CCableWriter::SetPixelClock(std::uint64_t hz) {
  m_Header->m_PixelClock.store(hz);
}

bool CCableWriter::Send(const SFrameInfo& info, const std::function<void(std::uint8_t*)>& render) {
  if (info.m_Size > m_Header->m_SlotCapacity)
    return false;
  // A free slot, else the oldest unread one; a slot being read is never touched.
  SSlot* slot = nullptr;
  bool replaced = false;
  for (int attempt = 0; attempt < 4 && !slot; ++attempt) {
    SSlot* oldest = nullptr;
    std::uint64_t oldestSeq = UINT64_MAX;
    for (std::uint32_t i = 0; i < m_Header->m_SlotCount; ++i) {
      SSlot* s = Slot(i);
      const std::uint32_t state = s->m_State.load();
      if (state == SlotFree) {
        oldest = s;
        oldestSeq = 0;
        break;
      }
      if (state == SlotReady && s->m_Sequence.load() < oldestSeq) {
        oldest = s;
        oldestSeq = s->m_Sequence.load();
      }
    }
    if (!oldest)
      break;
    std::uint32_t expected = oldestSeq == 0 ? SlotFree : SlotReady;
    if (oldest->m_State.compare_exchange_strong(expected, SlotWriting)) {
      slot = oldest;
      replaced = oldestSeq != 0;
    }
  }
  const std::uint64_t sequence = m_Header->m_Published.load() + 1;
  if (replaced || !slot)
    m_Header->m_Overwritten.fetch_add(1);
  if (slot) {
    render(reinterpret_cast<std::uint8_t*>(slot) + SlotDataOffset);
    slot->m_Info = info;
    slot->m_Sequence.store(sequence);
    slot->m_State.store(SlotReady);
  }
  // Every slot held by readers: the frame is lost on the cable, but its number is used up so
  // that readers see the gap.
  m_Header->m_Published.store(sequence);
  m_Header->m_Sequence.fetch_add(1);
  CCableSegment::WakeAll(m_Header->m_Sequence);
  return true;
}

} // namespace VideoCable
