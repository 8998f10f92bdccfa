#pragma once
#include <cstdint>
#include <string>

namespace VorlaCl {

//! File names for grabbed frames: the first run of '#' in the pattern becomes the frame's index,
//! zero-padded to the run's length ("frame-####.png" -> "frame-0007.png"); a pattern without
//! '#' gets "-<index>" before its extension. Immutable.
class CFramePathPattern {
public:
  explicit CFramePathPattern(std::string pattern);
  std::string Path(std::uint64_t index) const;

private:
  std::string m_Before;
  std::string m_After;
  std::size_t m_Digits = 0;
};

} // namespace VorlaCl
