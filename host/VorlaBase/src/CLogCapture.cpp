#include <VorlaBase/Logging.h>

#include "LogSinks.h"

#include <algorithm>

namespace vxlog {

CLogCapture::CLogCapture() { RegisterCapture(this); }

CLogCapture::~CLogCapture() { UnregisterCapture(this); }

void CLogCapture::Add(const LogEntry& entry) {
  std::lock_guard<std::mutex> guard(m_lock);
  m_entries.push_back(entry);
}

std::vector<LogEntry> CLogCapture::Entries() const {
  std::lock_guard<std::mutex> guard(m_lock);
  return m_entries;
}

size_t CLogCapture::Count(const std::string& text) const {
  std::lock_guard<std::mutex> guard(m_lock);
  return static_cast<size_t>(std::count_if(m_entries.begin(), m_entries.end(),
                                           [&](const LogEntry& e) { return e.text == text; }));
}

size_t CLogCapture::CountContaining(const std::string& part) const {
  std::lock_guard<std::mutex> guard(m_lock);
  return static_cast<size_t>(
      std::count_if(m_entries.begin(), m_entries.end(),
                    [&](const LogEntry& e) { return e.text.find(part) != std::string::npos; }));
}

void CLogCapture::Clear() {
  std::lock_guard<std::mutex> guard(m_lock);
  m_entries.clear();
}

} // namespace vxlog
