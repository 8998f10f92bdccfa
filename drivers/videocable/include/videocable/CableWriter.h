#pragma once
#include <videocable/CableLayout.h>
#include <videocable/CableSegment.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace VideoCable {

//! The camera's end of a cable. Creating it claims the channel; the destructor tells readers
//! that the camera has gone and removes the name. While it lives, a thread of its own advances
//! the cable's heartbeat. Send is called by one thread at a time (the camera's video thread);
//! SetPixelClock and the counters from any thread.
class CCableWriter {
public:
  //! Throws std::runtime_error when a live camera serves the channel (the text names its
  //! process) or the memory cannot be had. A cable whose camera is gone is replaced.
  CCableWriter(const std::string& name, std::uint32_t slotCount, std::uint64_t slotCapacity);
  ~CCableWriter();
  CCableWriter(const CCableWriter&) = delete;
  CCableWriter& operator=(const CCableWriter&) = delete;

  const std::string& Name() const { return m_Name; }
  std::uint64_t SlotCapacity() const { return m_Header->m_SlotCapacity; }
  void SetPixelClock(std::uint64_t hz);

  //! Puts one frame on the cable: `render` fills info.m_Size bytes. Never waits for a reader:
  //! when every slot is full the oldest unread frame is replaced. False when the frame does
  //! not fit a slot (nothing sent). A slot that a reader held when its process ended is taken
  //! back when no other slot is free.
  bool Send(const SFrameInfo& info, const std::function<void(std::uint8_t*)>& render);
  std::uint64_t Sent() const { return m_Header->m_Published.load(); }
  std::uint64_t Overwritten() const { return m_Header->m_Overwritten.load(); }

private:
  SSlot* Slot(std::uint32_t index) const;
  SSlot* TakeSlot(bool& replaced);
  void Beat();

  std::string m_Name;
  CCableSegment m_Segment;
  SCableHeader* m_Header = nullptr;
  // Owned by the writer; with m_BeatWake it ends the heartbeat thread at once.
  std::mutex m_BeatMutex;
  std::condition_variable m_BeatWake;
  bool m_Quit = false; //!< guarded by m_BeatMutex
  std::thread m_BeatThread;
};

} // namespace VideoCable
