#pragma once
#include <VorlaBase/AlertableWaitObject.h>
#include <VorlaBase/GrabResult.h>

#include <cstddef>

namespace GenApi {
struct INodeMap;
}

namespace Vorla {

//! A device's image stream into the application's own buffers.
//!
//! The cycle: Open, RegisterBuffer (each buffer), PrepareGrab, QueueBuffer (starts acquisition
//! with the first buffer), wait on GetWaitObject and RetrieveResult each filled buffer, queue it
//! again, ..., CancelGrab or FinishGrab (every buffer still queued comes back as Canceled),
//! RetrieveResult the rest, DeregisterBuffer (each buffer), Close. Frames arriving while no
//! buffer is queued are dropped. Each filled, failed or cancelled buffer is returned exactly once.
//!
//! Calls in the wrong state throw LogicalErrorException; bad handles and buffers, a closed device
//! and frame-grabber failures throw RuntimeException. Thread-safe: any application thread may
//! call any operation while the frame grabber delivers frames from threads of its own.
//!
//! The device owns the stream grabber; the application never deletes it.
class VORLA_INTERFACE IStreamGrabber {
public:
  //! Opens the stream on an open device and its frame grabber.
  virtual void Open() = 0;
  //! Closes the stream from any state; buffers still registered are dropped, not returned.
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;
  //! Makes `bufferSize` bytes at `pBuffer` available for frames; the memory stays the
  //! application's and must stay valid until DeregisterBuffer (or Close).
  virtual StreamBufferHandle RegisterBuffer(void* pBuffer, size_t bufferSize) = 0;
  //! Ends a registration and gives the memory back. A queued buffer or one waiting to be
  //! retrieved cannot be deregistered.
  virtual void* DeregisterBuffer(StreamBufferHandle hBuffer) = 0;
  //! Locks the camera's transport parameters (pixel format, size, ...) for the grab.
  virtual void PrepareGrab() = 0;
  //! Stops acquisition, hands queued buffers back as Canceled and unlocks the camera parameters.
  virtual void FinishGrab() = 0;
  //! Queues a buffer to be filled, with a value of the application's that its result carries.
  virtual void QueueBuffer(StreamBufferHandle hBuffer, uint64_t context = 0) = 0;
  //! Stops acquisition and hands every queued buffer back as Canceled, in queue order.
  virtual void CancelGrab() = 0;
  //! Takes the oldest filled, failed or cancelled buffer; false when there is none.
  virtual bool RetrieveResult(GrabResult& result) = 0;
  //! Signalled while results wait to be retrieved.
  virtual AlertableWaitObject& GetWaitObject() = 0;
  //! The stream's own parameters.
  virtual GenApi::INodeMap* GetNodeMap() = 0;

protected:
  ~IStreamGrabber() = default;
};

} // namespace Vorla
