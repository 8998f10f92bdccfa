#pragma once
// vorla-cl xml.
#include <string>

namespace VorlaCl {

class CCameraSession;

//! Saves the description that the camera itself carries, downloaded through the transport
//! layer's description provider, to a file or standard output.
class CXmlCommand {
public:
  //! `output` empty: standard output.
  static int Run(CCameraSession& session, const std::string& output);
};

} // namespace VorlaCl
