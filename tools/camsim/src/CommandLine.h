#pragma once
#include <camsim/CameraOptions.h>

#include <string>

namespace camsim {

//! The options of vorla-camsim.
class CCommandLine {
public:
  SCameraOptions m_Camera;
  std::string m_Tty;          //!< serve on this tty instead of a new pseudo-terminal
  bool m_IgnoreStdin = false; //!< keep running when standard input ends
  bool m_Help = false;
  //! The video channel was chosen on the command line (a busy one is then an error, not a
  //! warning).
  bool m_ChannelGiven = false;

  //! Parses argv; on an error returns false with a message in `error`.
  bool Parse(int argc, char** argv, std::string& error);
  //! The usage text with every option.
  static std::string Usage();
};

} // namespace camsim
