#include "BufferQueue.h"

namespace VorlaPy {

void CBufferQueue::Return(Vorla::StreamBufferHandle handle, uint64_t context) {
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  m_Returned.emplace_back(handle, context);
}

void CBufferQueue::TakeReturned(Buffers& buffers) {
  buffers.clear();
  Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  m_Returned.swap(buffers);
}

} // namespace VorlaPy
