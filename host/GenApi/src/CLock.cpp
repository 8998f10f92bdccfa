#include <GenApi/Synch.h>

#include <boost/thread/recursive_mutex.hpp>

namespace GenApi {

struct CLock::Impl {
  boost::recursive_mutex m_Mutex;
};

CLock::CLock() : m_pImpl(new Impl) {}
CLock::~CLock() = default;
bool CLock::TryLock() {
  return m_pImpl->m_Mutex.try_lock();
}
void CLock::Lock() {
  m_pImpl->m_Mutex.lock();
}
void CLock::Unlock() {
  m_pImpl->m_Mutex.unlock();
}

} // namespace GenApi
