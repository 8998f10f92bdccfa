#include <VorlaBase/WaitObjectEx.h>

#include <platform/Event.h>

namespace Vorla {

static_assert(WaitObjectInfinite == Platform::CEvent::Infinite, "one time-out for ever");

WaitObjectEx::WaitObjectEx(bool manualReset, bool initiallySignaled)
    : m_pEvent(std::make_unique<Platform::CEvent>(manualReset, initiallySignaled)) {}

WaitObjectEx::~WaitObjectEx() = default;

void WaitObjectEx::Signal() {
  m_pEvent->Signal();
}

void WaitObjectEx::Reset() {
  m_pEvent->Reset();
}

bool WaitObjectEx::Wait(unsigned timeoutMs) const {
  return m_pEvent->Wait(timeoutMs) == Platform::CEvent::EWaitResult::Signaled;
}

WaitObjectNativeHandle WaitObjectEx::GetNativeHandle() const {
  return m_pEvent->GetNativeHandle();
}

} // namespace Vorla
