#include "FrameCopy.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace Vorla {

bool CFrameCopy::Check(const FrameDescriptor& frame, std::string& reason) {
  using std::to_string;
  const uint64_t length = frame.m_LineLength, pitch = frame.m_LinePitch;
  reason.clear();
  if (length == 0)
    reason = "line length 0";
  else if (pitch < length)
    reason = "line pitch " + to_string(pitch) + " smaller than line length " + to_string(length);
  else if (frame.m_LineCount < 0)
    reason = "line count " + to_string(frame.m_LineCount);
  else if (!frame.m_pData && frame.m_TotalSize)
    reason = "no image data";
  else if (frame.m_LineCount > 0) {
    // The lines reach all pitches but the last, and the last line (pitch >= length > 0).
    const uint64_t pitches = uint64_t(frame.m_LineCount) - 1;
    if (pitches > (std::numeric_limits<uint64_t>::max() - length) / pitch ||
        pitches * pitch + length > frame.m_TotalSize)
      reason = to_string(frame.m_LineCount) + " lines of " + to_string(length) +
               " bytes at pitch " + to_string(pitch) + " reach past the " +
               to_string(frame.m_TotalSize) + " bytes handed over";
  }
  if (!reason.empty())
    reason = "Frame descriptor rejected: " + reason;
  return reason.empty();
}

void CFrameCopy::Copy(const FrameDescriptor& frame, uint8_t* buffer, uint64_t size) {
  const auto* source = static_cast<const uint8_t*>(frame.m_pData);
  if (frame.m_LinePitch == frame.m_LineLength) {
    if (const uint64_t count = std::min(frame.m_TotalSize, size))
      std::memcpy(buffer, source, count);
    return;
  }
  // Each pass copies at least one byte (lines are not empty), so the loop ends with the buffer.
  uint64_t copied = 0;
  for (int32_t line = 0; copied < size && line < frame.m_LineCount; ++line) {
    const uint64_t count = std::min(frame.m_LineLength, size - copied);
    std::memcpy(buffer + copied, source + uint64_t(line) * frame.m_LinePitch, count);
    copied += count;
  }
}

} // namespace Vorla
