#pragma once
#include <VorlaBase/AlertableWaitObject.h>
#include <VorlaBase/GrabResult.h>
#include <platform/Mutex.h>

#include <condition_variable>
#include <deque>
#include <map>

namespace Vorla {

//! The buffers of one stream grabber and the two queues between the application and the frame
//! deliveries: InputQueue (queued, waiting to be filled, oldest first) and OutputQueue (filled,
//! failed or cancelled, waiting to be retrieved), with the wait object that is signalled while
//! OutputQueue holds results.
//!
//! A buffer is registered, queued, filling or ready. Filling is the time a delivery copies a frame
//! into it, outside the table's lock: deregistering, queueing, cancelling and clearing wait for
//! it to end and then go by the queues as always, so a buffer is never freed or changed while it
//! is filled. The application may queue a buffer while it waits for retrieval, or twice; each
//! buffer counts its entries in either queue.
//!
//! Thread-safe. The table's lock is a leaf of the product's lock order: nothing but the wait
//! object's own lock is taken under it, and no foreign code runs under it.
class CStreamBufferTable {
public:
  //! What the table answers where the application's call has more than one outcome.
  enum class EResult {
    Done,
    Unknown, //!< the table holds no such handle
    Queued,  //!< in InputQueue
    Ready,   //!< in OutputQueue
    Empty    //!< OutputQueue holds nothing
  };

  //! A buffer taken off InputQueue for one frame. Its result is the delivery's own copy until
  //! EndFill commits it.
  struct SFill {
    StreamBufferHandle m_Handle = 0;
    uint64_t m_BufferSize = 0; //!< as registered
    GrabResult m_Result;
  };

  //! A fresh record for `buffer`, with the next handle of the process (from 1, never reused).
  StreamBufferHandle Register(void* buffer, uint64_t size) VORLA_EXCLUDES(m_Lock);
  //! Frees an idle buffer's record and hands back its memory; refuses a queued or ready one.
  EResult Deregister(StreamBufferHandle handle, void*& buffer) VORLA_EXCLUDES(m_Lock);
  //! Status queued, the context stored, appended to InputQueue.
  EResult Queue(StreamBufferHandle handle, uint64_t context) VORLA_EXCLUDES(m_Lock);
  //! InputQueue, in order, onto OutputQueue as cancelled; signals when it held any.
  void CancelQueued() VORLA_EXCLUDES(m_Lock);
  //! The oldest result (Done), Empty, or Unknown for a `handle` without a record (taken off
  //! anyway). `drained`: OutputQueue is empty now. Resets the wait object when it is.
  EResult Retrieve(GrabResult& result, StreamBufferHandle& handle, bool& drained)
      VORLA_EXCLUDES(m_Lock);
  size_t Count() const VORLA_EXCLUDES(m_Lock);
  //! Empties OutputQueue and frees every record (InputQueue stays as it is); returns how many
  //! buffers were registered.
  size_t Clear() VORLA_EXCLUDES(m_Lock);
  AlertableWaitObject& WaitObject() { return m_WaitObject; }

  //! Takes the oldest handle off InputQueue for a frame: Done with `fill` to fill, Empty when
  //! InputQueue is empty, Unknown (with the handle in `fill`) when no record has it.
  EResult BeginFill(SFill& fill) VORLA_EXCLUDES(m_Lock);
  //! Stores the filled result and appends the buffer to OutputQueue.
  void EndFill(const SFill& fill) VORLA_EXCLUDES(m_Lock);

private:
  struct SBuffer {
    GrabResult m_Result;
    uint64_t m_BufferSize = 0;
    unsigned m_Queued = 0; // entries in InputQueue
    unsigned m_Ready = 0;  // entries in OutputQueue
    bool m_Filling = false;
  };
  using BufferMap = std::map<StreamBufferHandle, SBuffer>;
  using Lock = Platform::CUniqueLock<Platform::CMutex>;

  //! The buffer's record once no delivery fills it; end() when there is none.
  BufferMap::iterator Settled(Lock& lock, StreamBufferHandle handle) VORLA_REQUIRES(m_Lock);
  //! Whether a buffer that InputQueue holds is being filled (from an earlier entry).
  bool QueuedFilling() const VORLA_REQUIRES(m_Lock);

  // Owned by the table; guards everything below it.
  mutable Platform::CMutex m_Lock;
  std::condition_variable_any m_FillEnded; // a buffer stopped filling
  BufferMap m_Buffers VORLA_GUARDED_BY(m_Lock);
  std::deque<StreamBufferHandle> m_InputQueue VORLA_GUARDED_BY(m_Lock);
  std::deque<StreamBufferHandle> m_OutputQueue VORLA_GUARDED_BY(m_Lock);
  size_t m_Filling VORLA_GUARDED_BY(m_Lock) = 0; // buffers being filled
  // Signalled and reset only under the lock, so that it never disagrees with OutputQueue.
  AlertableWaitObject m_WaitObject{true, false};
};

} // namespace Vorla
