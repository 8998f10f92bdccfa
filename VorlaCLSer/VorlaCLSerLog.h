#pragma once
// The plug-in's log categories, each looked up once and kept.
#include <VorlaBase/Logging.h>

namespace Vorla {

inline vxlog::CategoryID TlLog() {
  static const vxlog::CategoryID id = vxlog::LogGetCatID("Vorla.CLSer.TL");
  return id;
}

inline vxlog::CategoryID PortLog() {
  static const vxlog::CategoryID id = vxlog::LogGetCatID("Vorla.CLSer.Port");
  return id;
}

inline vxlog::CategoryID DeviceLog() {
  static const vxlog::CategoryID id = vxlog::LogGetCatID("Vorla.CLSer.Device");
  return id;
}

} // namespace Vorla
