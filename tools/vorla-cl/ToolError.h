#pragma once
// The one way a vorla-cl command ends early: an exit status and the line that explains it.
#include <stdexcept>
#include <string>

namespace VorlaCl {

//! Exit statuses of vorla-cl.
enum EExitStatus { ExitSuccess = 0, ExitFailure = 1, ExitUsage = 2 };

//! Thrown by commands; main prints "vorla-cl: <what>" on standard error and exits with Status().
class CToolError : public std::runtime_error {
public:
  CToolError(EExitStatus status, const std::string& what)
      : std::runtime_error(what), m_Status(status) {}
  EExitStatus Status() const { return m_Status; }

private:
  EExitStatus m_Status;
};

} // namespace VorlaCl
