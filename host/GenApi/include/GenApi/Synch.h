#pragma once
#include <GenApi/GenApiDll.h>

#include <memory>

namespace GenApi {

//! A recursive lock: callbacks fired while a node map holds its lock may re-enter the map.
class GENAPI_API CLock {
public:
  CLock();
  ~CLock();
  CLock(const CLock&) = delete;
  CLock& operator=(const CLock&) = delete;

  bool TryLock();
  void Lock();
  void Unlock();

private:
  struct Impl;
  std::unique_ptr<Impl> m_pImpl;
};

//! Holds a CLock for the life of the guard.
class AutoLock {
public:
  explicit AutoLock(CLock& lock) : m_Lock(lock) { m_Lock.Lock(); }
  ~AutoLock() { m_Lock.Unlock(); }
  AutoLock(const AutoLock&) = delete;
  AutoLock& operator=(const AutoLock&) = delete;

private:
  CLock& m_Lock;
};

} // namespace GenApi
