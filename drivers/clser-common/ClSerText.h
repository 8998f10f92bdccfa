#pragma once
// Texts of a Camera Link serial library: names handed to the caller, port lists read from the
// environment. Header-only, so that every serial library keeps meeting the host through the C
// functions alone.
#include <CLProtocol/ClSerial.h>

#include <cstring>
#include <string>
#include <vector>

namespace ClSerCommon {

//! Copies `text` with its NUL; *size is the capacity in, the bytes needed or written out.
inline CLINT32 CopyText(const std::string& text, CLINT8* buffer, CLUINT32* size) {
  if (!size)
    return CL_ERR_INVALID_PTR;
  const CLUINT32 needed = static_cast<CLUINT32>(text.size() + 1);
  if (!buffer || *size < needed) {
    *size = needed;
    return CL_ERR_BUFFER_TOO_SMALL;
  }
  std::memcpy(buffer, text.c_str(), needed);
  *size = needed;
  return CL_ERR_NO_ERR;
}

//! The non-empty entries of a `separator`-separated list, in order.
inline std::vector<std::string> SplitList(const std::string& list, char separator) {
  std::vector<std::string> entries;
  size_t pos = 0;
  while (pos <= list.size()) {
    size_t end = list.find(separator, pos);
    if (end == std::string::npos)
      end = list.size();
    if (end > pos)
      entries.push_back(list.substr(pos, end - pos));
    pos = end + 1;
  }
  return entries;
}

} // namespace ClSerCommon
