#include <videocable/CableReader.h>

namespace VideoCable {

CCableReader::~CCableReader() {
  Detach();
}

bool CCableReader::Attach(const std::string& name) {
  Detach();
  std::lock_guard<std::mutex> lock(m_MapMutex);
  if (!m_Segment.Open(name))
    return false;
  auto* header = static_cast<SCableHeader*>(m_Segment.Address());
  // The header comes from another process: check it before trusting an offset.
  const std::uint64_t size = m_Segment.Size();
  const bool valid = [&] {
    if (size < sizeof(SCableHeader) || header->m_Magic.load() != CableMagic)
      return false;
    const std::uint64_t slots = header->m_SlotCount;
    return header->m_Version == CableVersion && slots >= 3 && slots <= MaxSlots &&
           header->m_SlotCapacity <= MaxSlotCapacity &&
           header->m_SlotStride >= SlotDataOffset + header->m_SlotCapacity &&
           header->m_SlotStride <= SlotDataOffset + MaxSlotCapacity + 4096 &&
           header->m_FirstSlot >= sizeof(SCableHeader) && header->m_FirstSlot <= size &&
           header->m_SlotStride * slots <= size - header->m_FirstSlot && !header->m_Closed.load() &&
           CCableSegment::ProcessAlive(header->m_WriterProcess.load());
  }();
  if (!valid) {
    m_Segment.Close();
    return false;
  }
  m_Header = header;
  m_Lost = 0;
  m_Last = m_Header->m_Published.load();
  return true;
}

void CCableReader::Detach() {
  std::lock_guard<std::mutex> lock(m_MapMutex);
  m_Header = nullptr;
  m_Segment.Close();
}

void CCableReader::SkipToNow() {
  if (m_Header)
    m_Last = m_Header->m_Published.load();
}

SSlot* CCableReader::Slot(std::uint32_t index) const {
  return reinterpret_cast<SSlot*>(reinterpret_cast<std::uint8_t*>(m_Header) +
                                  m_Header->m_FirstSlot + m_Header->m_SlotStride * index);
}

CCableReader::EResult CCableReader::Next(std::chrono::milliseconds timeout,
                                         const std::atomic<bool>& cancel, SFrame& frame) {
  if (!m_Header)
    return EResult::Gone;
  for (int round = 0; round < 2; ++round) {
    // Read the sequence word before looking, so that a frame or wake after the look ends the
    // wait at once.
    const std::uint32_t sequence = m_Header->m_Sequence.load();
    if (cancel.load())
      return EResult::Nothing;
    for (;;) {
      SSlot* oldest = nullptr;
      std::uint64_t oldestSeq = UINT64_MAX;
      for (std::uint32_t i = 0; i < m_Header->m_SlotCount; ++i) {
        SSlot* s = Slot(i);
        const std::uint64_t seq = s->m_Sequence.load();
        if (s->m_State.load() == SlotReady && seq > m_Last && seq < oldestSeq) {
          oldest = s;
          oldestSeq = seq;
        }
      }
      if (!oldest)
        break;
      std::uint32_t expected = SlotReady;
      if (!oldest->m_State.compare_exchange_strong(expected, SlotReading))
        continue; // the camera took it meanwhile
      const std::uint64_t seq = oldest->m_Sequence.load();
      if (seq <= m_Last) { // replaced by an older number cannot happen; stay safe
        oldest->m_State.store(SlotReady);
        continue;
      }
      m_Lost += seq - m_Last - 1;
      m_Last = seq;
      frame.m_Info = oldest->m_Info;
      frame.m_pSlot = oldest;
      frame.m_pData = reinterpret_cast<const std::uint8_t*>(oldest) + SlotDataOffset;
      if (frame.m_Info.m_Size > m_Header->m_SlotCapacity)
        frame.m_Info.m_Size = m_Header->m_SlotCapacity;
      return EResult::Frame;
    }
    if (m_Header->m_Closed.load())
      return EResult::Gone;
    if (round == 0)
      CCableSegment::Wait(m_Header->m_Sequence, sequence, timeout);
  }
  return EResult::Nothing;
}

void CCableReader::Release(SFrame& frame) {
  if (frame.m_pSlot)
    frame.m_pSlot->m_State.store(SlotFree);
  frame.m_pSlot = nullptr;
  frame.m_pData = nullptr;
}

void CCableReader::Wake() {
  std::lock_guard<std::mutex> lock(m_MapMutex);
  if (!m_Header)
    return;
  m_Header->m_Sequence.fetch_add(1);
  CCableSegment::WakeAll(m_Header->m_Sequence);
}

std::uint64_t CCableReader::PixelClock() const {
  return m_Header ? m_Header->m_PixelClock.load() : 0;
}

bool CCableReader::CameraPresent() const {
  return m_Header && !m_Header->m_Closed.load() &&
         CCableSegment::ProcessAlive(m_Header->m_WriterProcess.load());
}

} // namespace VideoCable
