#pragma once
#include <videocable/CableLayout.h>
#include <videocable/CableSegment.h>

#include <functional>

namespace VideoCable {

//! The camera's end of a cable. Creating it claims the channel; the destructor tells readers
//! that the camera has gone and removes the name. Send is called by one thread at a time (the
//! camera's video thread); SetPixelClock and the counters from any thread.
class CCableWriter {
public:
  //! Throws std::runtime_error when another running process serves the channel or the memory
  //! cannot be had.
  CCableWriter(const std::string& name, std::uint32_t slotCount, std::uint64_t slotCapacity);
  ~CCableWriter();
  CCableWriter(const CCableWriter&) = delete;
  CCableWriter& operator=(const CCableWriter&) = delete;

  const std::string& Name() const { return m_Name; }
  std::uint64_t SlotCapacity() const { return m_Header->m_SlotCapacity; }
  void SetPixelClock(std::uint64_t hz);

  //! Puts one frame on the cable: `render` fills info.m_Size bytes. Never waits for a reader:
  //! when every slot is full the oldest unread frame is replaced. False when the frame does
  //! not fit a slot (nothing sent).
  bool Send(const SFrameInfo& info, const std::function<void(std::uint8_t*)>& render);
  std::uint64_t Sent() const { return m_Header->m_Published.load(); }
  std::uint64_t Overwritten() const { return m_Header->m_Overwritten.load(); }

private:
  SSlot* Slot(std::uint32_t index) const;

  std::string m_Name;
  CCableSegment m_Segment;
  SCableHeader* m_Header = nullptr;
};

} // namespace VideoCable
