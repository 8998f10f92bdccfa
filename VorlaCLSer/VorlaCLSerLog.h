#pragma once
// The plug-in's log categories, each looked up once and kept.
#include <Base/GCException.h>
#include <VorlaBase/Logging.h>

#include <exception>

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

inline vxlog::CategoryID StreamLog() {
  static const vxlog::CategoryID id = vxlog::LogGetCatID("Vorla.CLSer.Stream");
  return id;
}

//! The text a message quotes for an exception: a GenICam exception's description, else what().
inline const char* DescriptionOf(const std::exception& e) {
  const auto* g = dynamic_cast<const GenICam::GenericException*>(&e);
  return g ? g->GetDescription() : e.what();
}

} // namespace Vorla
