#pragma once
// vorla-cl xml.
#include <string>

namespace VorlaCl {

class CCameraSession;

//! Saves the description that the camera itself carries, downloaded through the transport
//! layer's description provider, to a file or standard output; with a file it says whether the
//! text came from the camera or from the protocol driver's description cache.
class CXmlCommand {
public:
  //! `output` empty: standard output.
  static int Run(CCameraSession& session, const std::string& output);
};

} // namespace VorlaCl
