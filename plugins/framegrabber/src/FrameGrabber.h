#pragma once
#include "GrabberParameters.h"

#include <videocable/CableReader.h>
#include <vorla/IFrameGrabber.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace FrameGrabber {

//! How a board lays lines out in host memory.
enum class ELineLayout {
  Contiguous, //!< line after line (Melsor)
  Pitched     //!< each line starts on a 256-byte boundary, with a line trailer (Dravik)
};

//! QueryValue numbers of these grabbers besides the pixel clock: counters since StartGrab.
constexpr std::uint32_t ValueFramesDelivered = 0xC200;
constexpr std::uint32_t ValueFramesLost = 0xC201;

//! A frame grabber fed by the simulated Camera Link cable of the board and channel its
//! parameter string names. Frames arrive on the grabber's own delivery thread and go to the
//! callee's FrameReady; camera nodes that change the picture are followed through node
//! callbacks. Thread-safe: Open, Close, StartGrab and StopGrab pass through one control mutex
//! (the delivery thread never takes it); QueryValue and GetLastErrorText may come from any
//! thread at any time.
class CFrameGrabber final : public Vorla::IFrameGrabber {
public:
  CFrameGrabber(const char* family, ELineLayout layout);
  ~CFrameGrabber();
  CFrameGrabber(const CFrameGrabber&) = delete;
  CFrameGrabber& operator=(const CFrameGrabber&) = delete;

  bool Open(const char* parameters, Vorla::FgCallee* callee) override;
  void Close() override;
  bool StartGrab() override;
  bool StopGrab() override;
  size_t GetLastErrorText(char* buffer, size_t bufferSize) override;
  int64_t QueryValue(uint32_t valueNumber) override;

private:
  enum ENode : std::uint32_t { NodeWidth, NodeHeight, NodePixelFormat, NodePixelClock, NodeCount };
  static void OnNode(int64_t value, uint64_t context, uint32_t cookie);

  bool Fail(const std::string& text);
  bool StopLocked();
  void Deliver();
  void DeliverFrame(const VideoCable::CCableReader::SFrame& frame);
  std::string CableName() const;

  const std::string m_Family;
  const ELineLayout m_Layout;
  CGrabberParameters m_Parameters;
  // Owned by the grabber; serialises the control calls and guards the members up to m_Thread
  // and m_DeliveryThread. The delivery thread reads m_pCallee and m_Parameters only while it
  // runs, and they change only while it does not.
  std::mutex m_ControlMutex;
  Vorla::FgCallee* m_pCallee = nullptr;
  bool m_Open = false;
  std::uintptr_t m_NodeHandles[NodeCount] = {};
  //! Key of this object in the registry that node callbacks go through.
  std::uint64_t m_Id = 0;

  // Owned by the grabber; guards the error text only.
  std::mutex m_ErrorMutex;
  std::string m_Error;

  std::atomic<std::int64_t> m_PixelClock{0};
  std::atomic<std::uint64_t> m_Delivered{0};
  std::atomic<std::uint64_t> m_Lost{0};
  //! Bumped by node callbacks: frames already on the cable show the old picture.
  std::atomic<std::uint32_t> m_GeometryChanges{0};

  //! The cable; belongs to the delivery thread while it runs (Wake from any thread).
  VideoCable::CCableReader m_Reader;
  //! Pitched copies of frames (delivery thread).
  std::vector<std::uint8_t> m_Lines;
  std::atomic<bool> m_Stop{false};
  // Owned by the grabber; with m_StopWake it lets a stop end the delivery thread's wait for a
  // camera to appear.
  std::mutex m_StopMutex;
  std::condition_variable m_StopWake;
  std::thread m_Thread; //!< the delivery thread, between StartGrab and StopGrab
  //! Its id, readable without the control mutex (a StopGrab from the delivery itself).
  std::atomic<std::thread::id> m_DeliveryThread{};
};

} // namespace FrameGrabber
