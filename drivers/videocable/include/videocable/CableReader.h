#pragma once
#include <videocable/CableLayout.h>
#include <videocable/CableSegment.h>

#include <mutex>

namespace VideoCable {

//! A grabber's end of a cable. Attach, Detach, Next and Release belong to one thread (the
//! grabber's delivery thread); Wake may come from any thread.
//!
//! The cable is another process's memory: Attach accepts it only when it belongs to this user,
//! its camera is alive (process and heartbeat) and its geometry is aligned and fits the
//! mapping's real size. The reader keeps its own copy of that geometry, so a header changed
//! later cannot lead it outside the mapping.
class CCableReader {
public:
  //! A claimed frame: its data stay untouched by the camera until Release.
  struct SFrame {
    SFrameInfo m_Info;
    const std::uint8_t* m_pData = nullptr;
    SSlot* m_pSlot = nullptr;
  };
  enum class EResult { Frame, Nothing, Gone };

  CCableReader() = default;
  ~CCableReader();
  CCableReader(const CCableReader&) = delete;
  CCableReader& operator=(const CCableReader&) = delete;

  //! Maps the cable `name` when a running camera serves it; frames sent before are skipped.
  //! False with the reason in Refusal() otherwise.
  bool Attach(const std::string& name);
  //! Why the last Attach failed, e.g. "no camera simulator serves 'vorla-cable-0-0'".
  const std::string& Refusal() const { return m_Refusal; }
  void Detach();
  bool Attached() const { return m_Header != nullptr; }
  //! Frames already on the cable count as seen: the next frame is one sent after this call.
  void SkipToNow();

  //! The oldest unread frame, claimed; else waits up to `timeout` for one. Returns Nothing on
  //! time-out, on a Wake and when `cancel` is set; Gone when the camera has left the cable.
  EResult Next(std::chrono::milliseconds timeout, const std::atomic<bool>& cancel, SFrame& frame);
  void Release(SFrame& frame);
  //! Ends a Next that waits in another thread.
  void Wake();

  //! Frames the camera sent after SkipToNow that this reader never got.
  std::uint64_t Lost() const { return m_Lost; }
  std::uint64_t PixelClock() const;
  //! Whether the process that writes the cable still runs, advances its heartbeat and has not
  //! closed it.
  bool CameraPresent() const;
  //! The cable and its camera for a message, e.g. "cable 'vorla-cable-0-0' of camera process
  //! 4711 (alive), 12 frames sent".
  std::string Describe() const;

  //! Why the camera that wrote `header` serves it no longer at `now` (CCableSegment::Now),
  //! e.g. "has ended"; nullptr while it does.
  static const char* WriterGone(const SCableHeader& header, std::uint64_t now);

private:
  //! The geometry as checked at attach: the only one the reader uses.
  struct SGeometry {
    std::uint32_t m_SlotCount = 0;
    std::uint64_t m_SlotCapacity = 0;
    std::uint64_t m_SlotStride = 0;
    std::uint64_t m_FirstSlot = 0;
  };
  static bool Check(const SCableHeader& header, std::uint64_t size, SGeometry& geometry);
  SSlot* Slot(std::uint32_t index) const;

  CCableSegment m_Segment;
  SCableHeader* m_Header = nullptr;
  SGeometry m_Geometry;
  std::string m_Name;
  std::string m_Refusal;
  const std::int64_t m_Self = CCableSegment::CurrentProcess();
  std::uint64_t m_Last = 0;
  std::uint64_t m_Lost = 0;
  // Owned by the reader; held by Attach/Detach (delivery thread) and Wake (any thread) so
  // that a wake never touches an unmapped header.
  mutable std::mutex m_MapMutex;
};

} // namespace VideoCable
