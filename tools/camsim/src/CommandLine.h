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

  //! Parses argv; on an error returns false with a message in `error`.
  bool Parse(int argc, char** argv, std::string& error);
  static const char* Usage();
};

} // namespace camsim
