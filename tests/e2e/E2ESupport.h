#pragma once
// Shared look-ups of the end-to-end tests.
#include <CLProtocol/CLPort.h>

#include <cstdlib>
#include <string>

namespace VorlaE2E {

//! The GenCP driver's Hexmar template as discovery lists it, empty when it is not found.
inline std::string HexmarTemplate() {
  GenICam::gcstring_vector templates;
  CLProtocol::CCLPort::GetDeviceIDTemplates(templates);
  const std::string tail = "#libCLProtocolGenCP.so#Hexmar";
  for (const auto& t : templates)
    if (t.size() > tail.size() && t.compare(t.size() - tail.size(), tail.size(), tail) == 0)
      return t;
  return std::string();
}

//! Points clsertty at one tty; the build tree's own layout is used for everything else.
inline void UseOnlyPort(const std::string& device) {
  ::unsetenv("VORLA_ROOT");
  ::setenv("CLSERTTY_PORTS", device.c_str(), 1);
}

//! The Camera Link error code `f` fails with; CL_ERR_NO_ERR when it does not fail.
template <class F> CLINT32 CodeOf(F&& f) {
  try {
    f();
  } catch (const CLProtocol::CLErrException& e) {
    return e.GetCLErrorCode();
  }
  return CL_ERR_NO_ERR;
}

} // namespace VorlaE2E
