#include <platform/Event.h>

#include <system_error>

#include <windows.h>

namespace Vorla {
namespace Platform {

struct CEvent::Impl {
  HANDLE event = nullptr;
  HANDLE alert = nullptr; // auto-reset: one alert ends one wait
};

CEvent::CEvent(bool manualReset, bool initiallySignaled) : m_pImpl(std::make_unique<Impl>()) {
  m_pImpl->event = ::CreateEventA(nullptr, manualReset, initiallySignaled, nullptr);
  m_pImpl->alert = ::CreateEventA(nullptr, FALSE, FALSE, nullptr);
  if (!m_pImpl->event || !m_pImpl->alert) {
    const DWORD error = ::GetLastError();
    if (m_pImpl->event)
      ::CloseHandle(m_pImpl->event);
    if (m_pImpl->alert)
      ::CloseHandle(m_pImpl->alert);
    throw std::system_error(static_cast<int>(error), std::system_category(), "CreateEvent");
  }
}

CEvent::~CEvent() {
  ::CloseHandle(m_pImpl->event);
  ::CloseHandle(m_pImpl->alert);
}

void CEvent::Signal() {
  ::SetEvent(m_pImpl->event);
}

void CEvent::Reset() {
  ::ResetEvent(m_pImpl->event);
}

CEvent::EWaitResult CEvent::Wait(uint32_t timeoutMs, bool alertable) {
  const HANDLE handles[2] = {m_pImpl->event, m_pImpl->alert};
  const DWORD result = ::WaitForMultipleObjects(alertable ? 2 : 1, handles, FALSE,
                                                timeoutMs == Infinite ? INFINITE : timeoutMs);
  if (result == WAIT_OBJECT_0)
    return EWaitResult::Signaled;
  if (alertable && result == WAIT_OBJECT_0 + 1)
    return EWaitResult::Alerted;
  if (result == WAIT_FAILED)
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                            "WaitForMultipleObjects");
  return EWaitResult::Timeout;
}

void CEvent::Alert() {
  ::SetEvent(m_pImpl->alert);
}

CEvent::NativeHandle CEvent::GetNativeHandle() const {
  return m_pImpl->event;
}

} // namespace Platform
} // namespace Vorla
