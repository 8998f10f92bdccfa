#include "DriverLogRoute.h"

#include <CLProtocol/DriverLog.h>
#include <VorlaBase/Logging.h>

#include <cstring>

namespace VorlaCl {

std::atomic<bool> CDriverLogRoute::s_FromCache{false};

CDriverLogRoute::CDriverLogRoute() {
  CLProtocol::SetDriverLogFunction(&CDriverLogRoute::Receive);
}

CDriverLogRoute::~CDriverLogRoute() {
  CLProtocol::SetDriverLogFunction(nullptr);
}

unsigned CDriverLogRoute::HostLevel(int driverLevel) {
  if (driverLevel <= CLP_LOG_ERROR)
    return vxlog::Error;
  if (driverLevel <= CLP_LOG_WARN)
    return vxlog::Warning;
  return vxlog::Progress;
}

void CDriverLogRoute::Receive(int level, const char* text) {
  // The GenCP driver's words when its description cache answered.
  if (std::strstr(text, "taken from the description cache"))
    s_FromCache.store(true);
  static const vxlog::CategoryID category = vxlog::LogGetCatID("CLProtocol.Driver");
  vxlog::LogTrace(category, HostLevel(level), "%s", text);
}

} // namespace VorlaCl
