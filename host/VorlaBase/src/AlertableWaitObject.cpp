#include <VorlaBase/AlertableWaitObject.h>

#include <platform/Event.h>

namespace Vorla {

AlertableWaitObject::AlertableWaitObject(bool manualReset, bool initiallySignaled)
    : WaitObjectEx(manualReset, initiallySignaled) {}

EWaitExResult AlertableWaitObject::WaitEx(unsigned timeoutMs, bool alertable) const {
  switch (m_pEvent->Wait(timeoutMs, alertable)) {
  case Platform::CEvent::EWaitResult::Signaled:
    return waitex_signaled;
  case Platform::CEvent::EWaitResult::Alerted:
    return waitex_alerted;
  default:
    return waitex_timeout;
  }
}

void AlertableWaitObject::Alert() {
  m_pEvent->Alert();
}

} // namespace Vorla
