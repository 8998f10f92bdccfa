#pragma once
#include <Base/GCString.h>
#include <VorlaBase/DeviceInfo.h>
#include <VorlaBase/VorlaBaseDef.h>
#include <VorlaBase/XmlFileBinding.h>

#include <memory>

namespace Vorla {

//! The host's configuration registry: decides where the description of a device comes from.
//!
//! For a device record, in this order:
//! 1. a non-empty "DeviceXMLFileOverride" property names the XML file;
//! 2. otherwise the first entry of the XML bindings file that matches the record decides
//!    (download or a file, each with an optional merge file);
//! 3. otherwise the description is downloaded from the device.
//! The bindings file is "XmlFileBindings.xml" in the folder that VORLA_XML_BINDINGS names (set
//! but empty: the current directory), or, when it is not set, in the machine-wide configuration
//! folder + "Hexmar/XmlBindings". Its format is described in the README. It is re-read when its
//! path or modification time changes; a missing file has no entries.
//!
//! Thread-safe: one instance per process; GetXmlFileBinding may be called from any thread (the
//! file is read under the registry's own lock).
class VORLABASE_API CConfigFileRegistry {
public:
  static CConfigFileRegistry& GetInstance();

  //! The binding of `info`. Throws GenICam::RuntimeException for a malformed or unreadable
  //! bindings file (naming file, line and column) and for a path that uses an environment
  //! variable that is not set.
  CXmlFileBinding GetXmlFileBinding(const CDeviceInfo& info);

  //! The full path of the bindings file, built anew from the environment on every call.
  static GenICam::gcstring GetBindingsFilePath();

  CConfigFileRegistry(const CConfigFileRegistry&) = delete;
  CConfigFileRegistry& operator=(const CConfigFileRegistry&) = delete;

private:
  CConfigFileRegistry();
  ~CConfigFileRegistry();
  struct Impl;
  std::unique_ptr<Impl> m_impl;
};

} // namespace Vorla
