#pragma once
// The buffers that a grab's frames let go, on their way back to the grab.
#include <VorlaBase/IStreamGrabber.h>
#include <platform/Mutex.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace VorlaPy {

//! Collects the buffers whose frames were released (on any thread, with or without the GIL)
//! until the grab takes them to queue them again with the stream grabber on its next wait.
//! Releasing a frame therefore costs a leaf lock, not a trip through the stream grabber's locks
//! with the GIL dropped and taken again. Shared by the grab and its frames, so that a frame
//! released after the grab ended still finds it. Thread-safe; its lock is a leaf.
class CBufferQueue {
public:
  using Buffers = std::vector<std::pair<Vorla::StreamBufferHandle, uint64_t>>;

  //! `buffers`: how many the grab has (so that returning one never allocates).
  explicit CBufferQueue(size_t buffers) { m_Returned.reserve(buffers); }

  //! A frame let its buffer (whose results carry `context`) go.
  void Return(Vorla::StreamBufferHandle handle, uint64_t context) VORLA_EXCLUDES(m_Lock);
  //! The buffers returned since the last call, swapped into `buffers` (cleared first).
  void TakeReturned(Buffers& buffers) VORLA_EXCLUDES(m_Lock);

private:
  Vorla::Platform::CMutex m_Lock;
  Buffers m_Returned VORLA_GUARDED_BY(m_Lock);
};

} // namespace VorlaPy
