// A frame-grabber plug-in's frame descriptor on its way into the application's buffer: whatever
// the geometry says, the check takes constant time, and a frame that passes is copied without
// reading past the bytes handed over or writing past the buffer.
//
// Input: line count (4 bytes), line length (8), pitch (8), buffer size (2), then the frame's
// bytes, all of which the descriptor hands over.
#include "FrameCopy.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Vorla::FrameDescriptor frame{};
  frame.m_LineCount = input.ConsumeIntegral<std::int32_t>();
  frame.m_LineLength = input.ConsumeIntegral<std::uint64_t>();
  frame.m_LinePitch = input.ConsumeIntegral<std::uint64_t>();
  std::vector<std::uint8_t> buffer(input.ConsumeIntegral<std::uint16_t>());
  // A copy of its own, so that AddressSanitizer sees the end of what was handed over.
  const std::vector<std::uint8_t> bytes = input.ConsumeRemainingBytes<std::uint8_t>();
  frame.m_TotalSize = bytes.size();
  frame.m_pData = bytes.empty() ? nullptr : bytes.data();
  std::string reason;
  if (Vorla::CFrameCopy::Check(frame, reason))
    Vorla::CFrameCopy::Copy(frame, buffer.data(), buffer.size());
  else if (reason.empty())
    __builtin_trap(); // a refusal always says why
  return 0;
}
