#pragma once
#include <cstdint>
#include <string>

namespace FrameGrabber {

//! The board and channel a parameter string selects: whitespace-separated tokens, of which
//! "Board=<n>" and "Channel=<n>" count (both 0 when absent); words without '=' (the grabber
//! family, e.g. "Sapera") and other keys are left to others. Immutable.
class CGrabberParameters {
public:
  //! False with a reason in `error` for a Board or Channel that is not a 32-bit unsigned number.
  bool Parse(const char* text, std::string& error);
  std::uint32_t Board() const { return m_Board; }
  std::uint32_t Channel() const { return m_Channel; }
  //! "Board=<n> Channel=<n>", as error texts name the channel.
  std::string ChannelText() const;

private:
  std::uint32_t m_Board = 0;
  std::uint32_t m_Channel = 0;
};

} // namespace FrameGrabber
