#include "GrabberParameters.h"

#include <sstream>

namespace FrameGrabber {
namespace {

// The host reads an error text as a printf-style format: a '%' of the configuration must stay
// a '%'.
std::string Escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    out += c;
    if (c == '%')
      out += '%';
  }
  return out;
}

} // namespace

bool CGrabberParameters::Parse(const char* text, std::string& error) {
  m_Board = m_Channel = 0;
  std::istringstream in(text ? text : "");
  std::string token;
  while (in >> token) {
    const std::size_t eq = token.find('=');
    if (eq == std::string::npos)
      continue;
    const std::string key = token.substr(0, eq);
    const std::string value = token.substr(eq + 1);
    std::uint32_t* target = key == "Board" ? &m_Board : key == "Channel" ? &m_Channel : nullptr;
    if (!target)
      continue;
    if (value.empty() || value.size() > 10 ||
        value.find_first_not_of("0123456789") != std::string::npos ||
        std::stoull(value) > UINT32_MAX) {
      error =
          "bad parameter '" + Escaped(token) + "': " + key + " takes a number from 0 to 4294967295";
      return false;
    }
    *target = static_cast<std::uint32_t>(std::stoull(value));
  }
  return true;
}

std::string CGrabberParameters::ChannelText() const {
  return "Board=" + std::to_string(m_Board) + " Channel=" + std::to_string(m_Channel);
}

} // namespace FrameGrabber
