#pragma once
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace VorlaCl {

//! Counts a grab and tells how it goes: a line rewritten in place on a terminal (at most four
//! times a second, erased at the end), and a closing summary. Bound to the grabbing thread.
class CGrabProgress {
public:
  CGrabProgress(std::uint64_t total, std::FILE* terminal);
  //! A grabbed frame of `bytes` with the grabber's frame value; a gap in the values counts as
  //! dropped frames.
  void Grabbed(std::uint64_t bytes, std::int32_t frameValue);
  void Failed();
  //! Erases the progress line, however far the grab came.
  void Finish();
  std::uint64_t Done() const { return m_Grabbed + m_Failed; }
  std::uint64_t GrabbedFrames() const { return m_Grabbed; }
  std::uint64_t FailedFrames() const { return m_Failed; }
  std::uint64_t DroppedFrames() const { return m_Dropped; }
  std::uint64_t Bytes() const { return m_Bytes; }
  double Seconds() const;
  //! "<n> frames grabbed in <s> s: <fps> fps, <MB/s> MB/s, <f> failed, <d> dropped"
  std::string Summary() const;

private:
  void Show(bool force);

  using Clock = std::chrono::steady_clock;
  const std::uint64_t m_Total;
  std::FILE* const m_Terminal; //!< null when standard error is not a terminal
  const Clock::time_point m_Start = Clock::now();
  Clock::time_point m_LastShown;
  std::uint64_t m_Grabbed = 0;
  std::uint64_t m_Failed = 0;
  std::uint64_t m_Dropped = 0;
  std::uint64_t m_Bytes = 0;
  bool m_HaveFrameValue = false;
  std::int32_t m_LastFrameValue = 0;
};

} // namespace VorlaCl
