#pragma once
// Why an enumeration found no camera, from the transport layer's own report of it.
#include <VorlaBase/IEnumerationReporter.h>

#include <string>

namespace VorlaCl {

//! Turns a transport layer's enumeration report into one line for the user.
class CEnumerationExplainer {
public:
  //! Folders the explanations point to; the installation's by default.
  struct SFolders {
    std::string SerialLibraries;
    std::string ProtocolDrivers;
  };
  static SFolders InstalledFolders();

  //! The first thing in the report that keeps cameras from being found.
  static std::string Explain(const Vorla::SEnumerationReport& report, const SFolders& folders);
};

} // namespace VorlaCl
