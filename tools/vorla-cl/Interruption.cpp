#include "Interruption.h"

#include <csignal>
#include <cstdlib>

namespace VorlaCl {

std::atomic<CInterruption*> CInterruption::s_Current{nullptr};

CInterruption::CInterruption() : m_Signals(m_Io, SIGINT, SIGTERM) {
  Arm();
  m_Thread = std::thread([this] { m_Io.run(); });
  s_Current.store(this);
}

CInterruption::~CInterruption() {
  s_Current.store(nullptr);
  m_Io.stop();
  m_Thread.join();
}

void CInterruption::Arm() {
  m_Signals.async_wait([this](const boost::system::error_code& error, int signal) {
    if (error)
      return; // stopped
    Arrived(signal);
    Arm();
  });
}

void CInterruption::Arrived(int signal) {
  int none = 0;
  if (!m_Signal.compare_exchange_strong(none, signal))
    std::_Exit(128 + signal); // the second: the user means it
  // Held while the handler runs, so that a scope ending meanwhile waits for it.
  const Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  if (!m_Handler)
    std::_Exit(128 + signal); // nothing to undo: nothing the command set up holds the camera
  m_Handler();
}

void CInterruption::SetHandler(std::function<void()> handler) {
  const Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
  m_Handler = std::move(handler);
}

CInterruption::CScope::CScope(std::function<void()> onSignal) {
  if (CInterruption* current = Current())
    current->SetHandler(std::move(onSignal));
}

CInterruption::CScope::~CScope() {
  if (CInterruption* current = Current())
    current->SetHandler(nullptr);
}

} // namespace VorlaCl
