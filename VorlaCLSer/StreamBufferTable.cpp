#include "StreamBufferTable.h"

#include <atomic>

namespace Vorla {
namespace {

// Handles of all stream grabbers of the process: from 1, never reused.
std::atomic<StreamBufferHandle> s_LastBufferHandle{0};

} // namespace

CStreamBufferTable::BufferMap::iterator CStreamBufferTable::Settled(Lock& lock,
                                                                    StreamBufferHandle handle) {
  for (;;) {
    const auto it = m_Buffers.find(handle);
    if (it == m_Buffers.end() || !it->second.m_Filling)
      return it;
    m_FillEnded.wait(lock);
  }
}

bool CStreamBufferTable::QueuedFilling() const {
  for (StreamBufferHandle handle : m_InputQueue) {
    const auto it = m_Buffers.find(handle);
    if (it != m_Buffers.end() && it->second.m_Filling)
      return true;
  }
  return false;
}

StreamBufferHandle CStreamBufferTable::Register(void* buffer, uint64_t size) {
  SBuffer record;
  record.m_Result.m_hBuffer = ++s_LastBufferHandle;
  record.m_Result.m_pBuffer = buffer;
  record.m_Result.m_PayloadSize = size;
  record.m_BufferSize = size;
  Platform::CLockGuard<Platform::CMutex> lock(m_Lock);
  return m_Buffers.emplace(record.m_Result.m_hBuffer, record).first->first;
}

CStreamBufferTable::EResult CStreamBufferTable::Deregister(StreamBufferHandle handle,
                                                           void*& buffer) {
  Lock lock(m_Lock);
  const auto it = Settled(lock, handle);
  if (it == m_Buffers.end())
    return EResult::Unknown;
  if (it->second.m_Queued)
    return EResult::Queued;
  if (it->second.m_Ready)
    return EResult::Ready;
  buffer = it->second.m_Result.m_pBuffer;
  m_Buffers.erase(it);
  return EResult::Done;
}

CStreamBufferTable::EResult CStreamBufferTable::Queue(StreamBufferHandle handle, uint64_t context) {
  Lock lock(m_Lock);
  const auto it = Settled(lock, handle);
  if (it == m_Buffers.end())
    return EResult::Unknown;
  it->second.m_Result.m_Context = context;
  it->second.m_Result.m_Status = Queued;
  ++it->second.m_Queued;
  m_InputQueue.push_back(handle);
  return EResult::Done;
}

void CStreamBufferTable::CancelQueued() {
  Lock lock(m_Lock);
  while (QueuedFilling())
    m_FillEnded.wait(lock);
  if (m_InputQueue.empty())
    return;
  for (StreamBufferHandle handle : m_InputQueue) {
    const auto it = m_Buffers.find(handle);
    if (it != m_Buffers.end()) {
      it->second.m_Result.m_Status = Canceled;
      --it->second.m_Queued;
      ++it->second.m_Ready;
    }
  }
  m_OutputQueue.insert(m_OutputQueue.end(), m_InputQueue.begin(), m_InputQueue.end());
  m_InputQueue.clear();
  m_WaitObject.Signal();
}

CStreamBufferTable::EResult
CStreamBufferTable::Retrieve(GrabResult& result, StreamBufferHandle& handle, bool& drained) {
  Platform::CLockGuard<Platform::CMutex> lock(m_Lock);
  drained = false;
  if (m_OutputQueue.empty()) {
    m_WaitObject.Reset();
    return EResult::Empty;
  }
  handle = m_OutputQueue.front();
  m_OutputQueue.pop_front();
  const auto it = m_Buffers.find(handle);
  if (it == m_Buffers.end())
    return EResult::Unknown;
  --it->second.m_Ready;
  result = it->second.m_Result;
  if (m_OutputQueue.empty()) {
    m_WaitObject.Reset();
    drained = true;
  }
  return EResult::Done;
}

size_t CStreamBufferTable::Count() const {
  Platform::CLockGuard<Platform::CMutex> lock(m_Lock);
  return m_Buffers.size();
}

size_t CStreamBufferTable::Clear() {
  Lock lock(m_Lock);
  while (m_Filling)
    m_FillEnded.wait(lock);
  m_OutputQueue.clear();
  const size_t count = m_Buffers.size();
  m_Buffers.clear();
  return count;
}

CStreamBufferTable::EResult CStreamBufferTable::BeginFill(SFill& fill) {
  Lock lock(m_Lock);
  if (m_InputQueue.empty())
    return EResult::Empty;
  fill.m_Handle = m_InputQueue.front();
  m_InputQueue.pop_front();
  auto it = m_Buffers.find(fill.m_Handle);
  if (it != m_Buffers.end())
    --it->second.m_Queued;
  // A buffer queued twice may still be filled from its first entry.
  it = Settled(lock, fill.m_Handle);
  if (it == m_Buffers.end())
    return EResult::Unknown;
  it->second.m_Filling = true;
  ++m_Filling;
  fill.m_BufferSize = it->second.m_BufferSize;
  fill.m_Result = it->second.m_Result;
  return EResult::Done;
}

void CStreamBufferTable::EndFill(const SFill& fill) {
  {
    Platform::CLockGuard<Platform::CMutex> lock(m_Lock);
    // Nothing removes a buffer while it is filled.
    SBuffer& buffer = m_Buffers.at(fill.m_Handle);
    buffer.m_Result = fill.m_Result;
    buffer.m_Filling = false;
    --m_Filling;
    ++buffer.m_Ready;
    m_OutputQueue.push_back(fill.m_Handle);
    m_FillEnded.notify_all();
  }
  // Signalled after the lock is released, so that a woken consumer does not sleep again on it.
  // The filling thread is the plug-in's, which Close joins before the table is reset: a late
  // signal can only make one wait of the consumer's find the output queue empty.
  m_WaitObject.Signal();
}

} // namespace Vorla
