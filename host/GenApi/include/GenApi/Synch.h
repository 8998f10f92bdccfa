#pragma once
#include <GenApi/GenApiDll.h>

#include <memory>

// Clang's thread-safety analysis sees CLock as a capability and AutoLock as its scoped holder
// (the product's lock order: platform/Mutex.h); other compilers see nothing.
#if defined(__clang__)
#define GENAPI_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define GENAPI_THREAD_ANNOTATION(x)
#endif

namespace GenApi {

//! A recursive lock: callbacks fired while a node map holds its lock may re-enter the map.
class GENAPI_THREAD_ANNOTATION(capability("mutex")) GENAPI_API CLock {
public:
  CLock();
  ~CLock();
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;

  bool TryLock() GENAPI_THREAD_ANNOTATION(try_acquire_capability(true));
  void Lock() GENAPI_THREAD_ANNOTATION(acquire_capability());
  void Unlock() GENAPI_THREAD_ANNOTATION(release_capability());

private:
  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

//! Holds a CLock for the life of the guard.
class GENAPI_THREAD_ANNOTATION(scoped_lockable) AutoLock {
public:
  explicit AutoLock(CLock& lock) GENAPI_THREAD_ANNOTATION(acquire_capability(lock)) : m_Lock(lock) {
    m_Lock.Lock();
  }
  ~AutoLock() GENAPI_THREAD_ANNOTATION(release_capability()) { m_Lock.Unlock(); }
  AutoLock(const AutoLock&) = delete;
  AutoLock& operator=(const AutoLock&) = delete;

private:
  CLock& m_Lock;
};

} // namespace GenApi
