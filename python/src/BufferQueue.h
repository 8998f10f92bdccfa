#pragma once
// The buffers of one grab between the grab and the frames it handed out.
#include <VorlaBase/IStreamGrabber.h>
#include <platform/Mutex.h>

#include <cstdint>

namespace VorlaPy {

//! Queues a buffer again when the frame that used it is released, while the grab runs and wants
//! more frames; counts the buffers in the stream grabber's hands. Shared by the grab and its
//! frames, so a frame released after the grab ended finds it stopped. Thread-safe; its lock is a
//! leaf before the stream grabber's.
class CBufferQueue {
public:
  //! `limit`: how many buffers may be queued in all (the frames wanted), or UINT64_MAX.
  CBufferQueue(Vorla::IStreamGrabber& stream, uint64_t limit) : m_Stream(stream), m_Limit(limit) {}

  //! Queues a buffer (its result carries `context`) unless the grab stopped or has queued
  //! enough; false when not queued.
  bool Queue(Vorla::StreamBufferHandle handle, uint64_t context) VORLA_EXCLUDES(m_Lock);
  //! A result was taken from the stream grabber.
  void Retrieved() VORLA_EXCLUDES(m_Lock);
  //! Buffers queued and not yet retrieved.
  uint64_t InFlight() VORLA_EXCLUDES(m_Lock);
  //! From now on nothing is queued.
  void Stop() VORLA_EXCLUDES(m_Lock);

private:
  Vorla::Platform::CMutex m_Lock;
  Vorla::IStreamGrabber& m_Stream;
  const uint64_t m_Limit;
  bool m_Running VORLA_GUARDED_BY(m_Lock) = true;
  uint64_t m_Queued VORLA_GUARDED_BY(m_Lock) = 0;
  uint64_t m_InFlight VORLA_GUARDED_BY(m_Lock) = 0;
};

} // namespace VorlaPy
