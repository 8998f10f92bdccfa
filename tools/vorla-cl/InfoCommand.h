#pragma once
// vorla-cl info.
namespace VorlaCl {

class CCameraSession;

//! What is known of one camera: its record, then what the opened camera says of itself, and
//! whether its description came from the description cache; with `json` as one JSON object.
class CInfoCommand {
public:
  static int Run(CCameraSession& session, bool json);
};

} // namespace VorlaCl
