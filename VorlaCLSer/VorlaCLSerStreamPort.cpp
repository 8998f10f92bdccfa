#include "VorlaCLSerStreamPort.h"

#include "FrameGrabberPlugin.h"
#include "VorlaCLSerLog.h"

#include <algorithm>

namespace Vorla {

void CVorlaCLSerStreamPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
  int64_t answer = 0;
  if (Address == PixelClockAddress && pBuffer &&
      m_Plugin.QueryValue(static_cast<uint32_t>(Address & 0xFFFF), answer)) {
    const uint64_t value = static_cast<uint64_t>(answer);
    const int64_t count = std::min<int64_t>(Length, 8);
    for (int64_t i = 0; i < count; ++i)
      static_cast<uint8_t*>(pBuffer)[i] = static_cast<uint8_t>(value >> (8 * i));
  }
  // Logged for served reads too: the line is part of the port's observable behaviour.
  vxlog::LogTrace(StreamLog(), vxlog::Warning, "Unknown port address Address=%I64 (%I64#x)",
                  Address, Address);
}

} // namespace Vorla
