#include <videocable/CableReader.h>

namespace VideoCable {

CCableReader::~CCableReader() {
  Detach();
}

const char* CCableReader::WriterGone(const SCableHeader& header, std::uint64_t now) {
  const std::uint64_t beat = header.m_Heartbeat.load();
  if (header.m_Closed.load())
    return "has closed the cable";
  if (!CCableSegment::ProcessAlive(header.m_WriterProcess.load()))
    return "has ended";
  if (beat > now ? beat - now > HeartbeatIntervalNs : now - beat >= HeartbeatTimeoutNs)
    return "has not advanced its heartbeat for 3 s"; // a reused process id, or a stuck camera
  return nullptr;
}

bool CCableReader::Check(const SCableHeader& header, std::uint64_t size, SGeometry& g) {
  if (header.m_Magic.load() != CableMagic || header.m_Version != CableVersion)
    return false;
  // One read of each field: what is checked is what is used.
  g.m_SlotCount = header.m_SlotCount;
  g.m_SlotCapacity = header.m_SlotCapacity;
  g.m_SlotStride = header.m_SlotStride;
  g.m_FirstSlot = header.m_FirstSlot;
  // With these bounds no product below overflows.
  return g.m_SlotCount >= 3 && g.m_SlotCount <= MaxSlots && g.m_SlotCapacity > 0 &&
         g.m_SlotCapacity <= MaxSlotCapacity && g.m_SlotStride % SlotAlignment == 0 &&
         g.m_FirstSlot % SlotAlignment == 0 &&
         g.m_SlotStride >= SlotDataOffset + g.m_SlotCapacity &&
         g.m_FirstSlot >= sizeof(SCableHeader) && g.m_FirstSlot <= size &&
         g.m_SlotStride <= (size - g.m_FirstSlot) / g.m_SlotCount;
}

bool CCableReader::Attach(const std::string& name) {
  Detach();
  std::lock_guard<std::mutex> lock(m_MapMutex);
  m_Name = name;
  std::string why;
  if (!m_Segment.Open(name, &why)) {
    m_Refusal = why.empty() ? "no camera simulator serves '" + name + "'" : why;
    return false;
  }
  auto* header = static_cast<SCableHeader*>(m_Segment.Address());
  const std::uint64_t size = m_Segment.Size();
  SGeometry geometry;
  if (size < sizeof(SCableHeader) || !Check(*header, size, geometry))
    m_Refusal = "'" + name + "' is not a video cable of this version or its slots do not fit it";
  else if (const char* gone = WriterGone(*header, CCableSegment::Now()))
    m_Refusal = "no camera serves '" + name + "': its camera process " +
                std::to_string(header->m_WriterProcess.load()) + " " + gone;
  else {
    m_Header = header;
    m_Geometry = geometry;
    m_Refusal.clear();
    m_Lost = 0;
    m_Last = m_Header->m_Published.load();
    return true;
  }
  m_Segment.Close();
  return false;
}

void CCableReader::Detach() {
  std::lock_guard<std::mutex> lock(m_MapMutex);
  m_Header = nullptr;
  m_Geometry = SGeometry();
  m_Segment.Close();
}

void CCableReader::SkipToNow() {
  if (m_Header)
    m_Last = m_Header->m_Published.load();
}

SSlot* CCableReader::Slot(std::uint32_t index) const {
  return reinterpret_cast<SSlot*>(reinterpret_cast<std::uint8_t*>(m_Header) +
                                  m_Geometry.m_FirstSlot + m_Geometry.m_SlotStride * index);
}

CCableReader::EResult CCableReader::Next(std::chrono::milliseconds timeout,
                                         const std::atomic<bool>& cancel, SFrame& frame) {
  if (!m_Header)
    return EResult::Gone;
  const std::uint64_t ready = SlotStateWord(SlotReady);
  for (int round = 0; round < 2; ++round) {
    // Read the sequence word before looking, so that a frame or wake after the look ends the
    // wait at once.
    const std::uint32_t sequence = m_Header->m_Sequence.load();
    if (cancel.load())
      return EResult::Nothing;
    for (;;) {
      SSlot* oldest = nullptr;
      std::uint64_t oldestSeq = UINT64_MAX;
      for (std::uint32_t i = 0; i < m_Geometry.m_SlotCount; ++i) {
        SSlot* s = Slot(i);
        const std::uint64_t seq = s->m_Sequence.load();
        if (s->m_State.load() == ready && seq > m_Last && seq < oldestSeq) {
          oldest = s;
          oldestSeq = seq;
        }
      }
      if (!oldest)
        break;
      std::uint64_t expected = ready;
      if (!oldest->m_State.compare_exchange_strong(
              expected, SlotStateWord(SlotReading, static_cast<std::uint64_t>(m_Self))))
        continue; // the camera took it meanwhile
      const std::uint64_t seq = oldest->m_Sequence.load();
      if (seq <= m_Last) { // replaced by an older number cannot happen; stay safe
        oldest->m_State.store(ready);
        continue;
      }
      m_Lost += seq - m_Last - 1;
      m_Last = seq;
      frame.m_Info = oldest->m_Info; // one copy: the frame's size is checked on this
      frame.m_pSlot = oldest;
      frame.m_pData = reinterpret_cast<const std::uint8_t*>(oldest) + SlotDataOffset;
      if (frame.m_Info.m_Size > m_Geometry.m_SlotCapacity)
        frame.m_Info.m_Size = m_Geometry.m_SlotCapacity;
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
    frame.m_pSlot->m_State.store(SlotStateWord(SlotFree));
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
  return m_Header && !WriterGone(*m_Header, CCableSegment::Now());
}

std::string CCableReader::Describe() const {
  if (!m_Header)
    return "cable '" + m_Name + "' (not attached: " + m_Refusal + ")";
  const char* gone = WriterGone(*m_Header, CCableSegment::Now());
  return "cable '" + m_Name + "' of camera process " +
         std::to_string(m_Header->m_WriterProcess.load()) + " (" + (gone ? gone : "alive") + "), " +
         std::to_string(m_Header->m_Published.load()) + " frames sent";
}

} // namespace VideoCable
