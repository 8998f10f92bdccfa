#include "BufferQueue.h"

namespace VorlaPy {

bool CBufferQueue::Queue(Vorla::StreamBufferHandle handle, uint64_t context) {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  if (!m_Running || m_Queued == m_Limit)
    return false;
  // Under the lock, so that Stop cannot slip between the check and the queueing.
  m_Stream.QueueBuffer(handle, context);
  ++m_Queued;
  ++m_InFlight;
  return true;
}

void CBufferQueue::Retrieved() {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  if (m_InFlight)
    --m_InFlight;
}

uint64_t CBufferQueue::InFlight() {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  return m_InFlight;
}

void CBufferQueue::Stop() {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  m_Running = false;
}

} // namespace VorlaPy
