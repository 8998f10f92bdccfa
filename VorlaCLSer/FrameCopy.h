#pragma once
#include <vorla/IFrameGrabber.h>

#include <cstdint>
#include <string>

namespace Vorla {

//! A frame-grabber plug-in's frame into the application's buffer. The descriptor comes from
//! another library and is checked before anything follows from it: Check in constant time, then
//! Copy reads only the bytes the checked geometry spans. Stateless; thread-safe.
class CFrameCopy {
public:
  //! Whether the descriptor's geometry lies within what it hands over; else `reason` says why.
  static bool Check(const FrameDescriptor& frame, std::string& reason);
  //! Copies a checked frame into `buffer`, at most `size` bytes: line by line without the
  //! source's gaps when its lines are pitched, else in one piece.
  static void Copy(const FrameDescriptor& frame, uint8_t* buffer, uint64_t size);
};

} // namespace Vorla
