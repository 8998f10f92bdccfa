#pragma once
// vorla-cl watch.
#include <chrono>
#include <cstdint>
#include <string>

namespace VorlaCl {

class CCameraSession;

//! Opens the camera, registers a removal callback and reads one feature at a fixed interval
//! until the camera goes away (or `count` reads are done, when not 0).
class CWatchCommand {
public:
  struct SOptions {
    std::string m_Feature;
    std::chrono::milliseconds m_Interval{1000};
    uint64_t m_Count = 0;
  };
  //! Fails with "camera ... was removed" when the removal callback fires.
  static int Run(CCameraSession& session, const SOptions& options);
};

} // namespace VorlaCl
