#include "RemovalSignal.h"

namespace VorlaCl {

CRemovalSignal::CRemovalSignal() : m_State(std::make_shared<SState>()) {}

void CRemovalSignal::operator()(Vorla::IVorlaDevice* /*device*/) const {
  {
    std::lock_guard<std::mutex> guard(m_State->m_Lock);
    m_State->m_Removed = true;
  }
  m_State->m_Changed.notify_all();
}

Vorla::DeviceCallback* CRemovalSignal::Clone() const {
  return new CRemovalSignal(*this);
}

bool CRemovalSignal::Removed() const {
  std::lock_guard<std::mutex> guard(m_State->m_Lock);
  return m_State->m_Removed;
}

bool CRemovalSignal::WaitFor(std::chrono::milliseconds timeout) const {
  std::unique_lock<std::mutex> guard(m_State->m_Lock);
  return m_State->m_Changed.wait_for(guard, timeout, [this] { return m_State->m_Removed; });
}

} // namespace VorlaCl
