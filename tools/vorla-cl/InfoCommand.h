#pragma once
// vorla-cl info.
namespace VorlaCl {

class CCameraSession;

//! What is known of one camera: its record, then what the opened camera says of itself.
class CInfoCommand {
public:
  static int Run(CCameraSession& session);
};

} // namespace VorlaCl
