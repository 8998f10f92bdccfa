#pragma once
// cam.grab(): frames straight into NumPy arrays, as vorla.Grab.
#include "BufferQueue.h"

#include <VorlaBase/IStreamGrabber.h>
#include <VorlaBase/IVorlaDevice.h>

#include <pybind11/pybind11.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace VorlaPy {

class CCamera;

//! One grab of a camera: NumPy-owned buffers registered with the camera's stream grabber, the
//! frames the stream grabber fills handed out as vorla.Frame arrays over those buffers (no copy
//! of the pixels), each buffer queued again, by the next wait for a frame, once its frame is
//! released. Stopping (the loop left, an exception, KeyboardInterrupt, Close, the camera closed)
//! ends acquisition, unlocks the camera's transport parameters and takes every buffer back;
//! frames still held stay valid. Used from one Python thread at a time (the iterator protocol);
//! the camera's lock guards the grab's state, so the camera may stop it from any thread.
class CGrab {
public:
  //! Starts acquisition. `count` frames in all (none: until stopped), `buffers` buffers of the
  //! camera's PayloadSize, at most `timeout` seconds of waiting for each frame.
  CGrab(std::shared_ptr<CCamera> camera, std::optional<uint64_t> count, uint32_t buffers,
        double timeout);
  ~CGrab();
  CGrab(const CGrab&) = delete;
  CGrab& operator=(const CGrab&) = delete;

  //! The next frame; StopIteration after `count` frames or once stopped.
  pybind11::object Next();
  //! Stops the grab (GIL held). Safe to call again.
  void Close();
  //! Stops the grab; the camera's lock is held.
  void StopLocked(Vorla::IVorlaDevice& device);

private:
  void Start(Vorla::IVorlaDevice& device, const std::vector<void*>& memory, size_t payloadSize);
  enum EOutcome { Got, Stopped, Starved, TimedOut, Interrupted };
  //! Takes the next grabbed or failed result, waiting until the deadline, all with the GIL
  //! released once. Waits on the stream grabber's condition variable at first, which costs no
  //! system call beyond the sleep while frames flow, but no signal ends it: after QuietWait
  //! without a frame it returns Interrupted, and waits again `interruptible`, in poll() on the
  //! wait object's descriptor, where a signal ends the wait (Interrupted) so that its Python
  //! handler (KeyboardInterrupt) runs at once.
  EOutcome Take(Vorla::GrabResult& result, std::chrono::steady_clock::time_point deadline,
                bool interruptible);
  //! Queues the buffers that released frames returned, as long as more frames are wanted.
  void QueueReturned();
  void QueueBuffer(Vorla::StreamBufferHandle handle, uint64_t context);
  pybind11::object MakeFrame(const Vorla::GrabResult& result);

  std::shared_ptr<CCamera> m_pCamera;
  std::optional<uint64_t> m_Count;
  uint32_t m_Buffers;
  std::chrono::duration<double> m_Timeout;
  uint64_t m_Yielded = 0;
  std::vector<pybind11::object> m_Owners; // the NumPy arrays the buffers are
  // Guarded by the camera's lock:
  Vorla::IStreamGrabber* m_pStream = nullptr;
  std::shared_ptr<CBufferQueue> m_pQueue;
  CBufferQueue::Buffers m_Returned; // taken from m_pQueue, kept for its capacity
  std::vector<Vorla::StreamBufferHandle> m_Handles;
  uint64_t m_Queued = 0;   // buffers queued in all
  uint64_t m_InFlight = 0; // queued and not yet retrieved
  const Vorla::WaitObjectEx* m_pWaitObject = nullptr;
  bool m_Prepared = false;
  bool m_Started = false;
  bool m_Stopped = false;
};

//! What a vorla.Frame, or a view of one, says of itself: (frame_number, timestamp, status,
//! pixel_format, error), looked up through the array's bases when asked for, so that making a
//! frame costs no attribute objects. AttributeError for an array that is no grabbed frame's (a
//! copy, a computed result).
pybind11::tuple FrameInfo(pybind11::handle array);

} // namespace VorlaPy
