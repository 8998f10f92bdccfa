#include "FramePathPattern.h"

namespace VorlaCl {

CFramePathPattern::CFramePathPattern(std::string pattern) {
  const std::size_t hash = pattern.find('#');
  if (hash != std::string::npos) {
    const std::size_t end = pattern.find_first_not_of('#', hash);
    m_Before = pattern.substr(0, hash);
    m_After = end == std::string::npos ? "" : pattern.substr(end);
    m_Digits = (end == std::string::npos ? pattern.size() : end) - hash;
    return;
  }
  // The extension is what follows the last '.' of the file name (not of a folder name).
  const std::size_t slash = pattern.find_last_of('/');
  const std::size_t dot = pattern.find_last_of('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  m_Before = (hasExtension ? pattern.substr(0, dot) : pattern) + "-";
  m_After = hasExtension ? pattern.substr(dot) : ".png";
}

std::string CFramePathPattern::Path(std::uint64_t index) const {
  std::string digits = std::to_string(index);
  if (digits.size() < m_Digits)
    digits.insert(0, m_Digits - digits.size(), '0');
  return m_Before + digits + m_After;
}

} // namespace VorlaCl
