#include <VorlaBase/Logging.h>

#include "LogSinks.h"

#include <algorithm>

namespace vxlog {

CLogCapture::CLogCapture() { RegisterCapture(this); }

CLogCapture::~CLogCapture() { UnregisterCapture(this); }

// Called by LogTrace with the sinks locked.
void CLogCapture::Add(const LogEntry& entry) { m_entries.push_back(entry); }

std::vector<LogEntry> CLogCapture::Entries() const {
  const auto guard = LockSinks();
  return m_entries;
}

size_t CLogCapture::Count(const std::string& text) const {
  const auto guard = LockSinks();
  return static_cast<size_t>(std::count_if(m_entries.begin(), m_entries.end(),
                                           [&](const LogEntry& e) { return e.text == text; }));
}

size_t CLogCapture::CountContaining(const std::string& part) const {
  const auto guard = LockSinks();
  return static_cast<size_t>(
      std::count_if(m_entries.begin(), m_entries.end(),
                    [&](const LogEntry& e) { return e.text.find(part) != std::string::npos; }));
}

void CLogCapture::Clear() {
  const auto guard = LockSinks();
  m_entries.clear();
}

} // namespace vxlog
