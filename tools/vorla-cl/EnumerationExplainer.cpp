#include "EnumerationExplainer.h"

#include <VorlaBase/VorlaFolders.h>

namespace VorlaCl {
namespace {

std::string Join(const GenICam::gcstring_vector& items) {
  std::string text;
  for (const auto& item : items)
    text += (text.empty() ? "" : ", ") + item;
  return text;
}

} // namespace

CEnumerationExplainer::SFolders CEnumerationExplainer::InstalledFolders() {
  return {Vorla::getVorlaFolderPath(Vorla::VorlaFolderClSerial),
          Vorla::getVorlaFolderPath(Vorla::VorlaFolderClProtocol)};
}

std::string CEnumerationExplainer::Explain(const Vorla::SEnumerationReport& report,
                                           const SFolders& folders) {
  const std::string path = report.ConfigurationPath;
  if (!report.Enumerated)
    return "The transport layer has not enumerated its cameras.";
  if (report.ConfigurationState == Vorla::ConfigurationUnreadable)
    return "The port configuration '" + path +
           "' could not be read: " + report.ConfigurationProblem;
  if (!report.Failure.empty())
    return "The enumeration failed: " + report.Failure;
  if (report.PortsFound.empty())
    return "No Camera Link serial port found. Serial libraries are looked for in '" +
           folders.SerialLibraries +
           "' and $CLSERIALPATH; the tty library offers the ttys listed in $CLSERTTY_PORTS.";
  if (report.PortsEnabled.empty()) {
    if (report.ConfigurationState == Vorla::ConfigurationMissing)
      return "No port configuration file at '" + path +
             "' (set VORLA_CL_BINDINGS to its folder; see examples/PortConfiguration_x64.xml); "
             "ports found: " +
             Join(report.PortsFound) + ".";
    std::string text =
        "None of the ports found (" + Join(report.PortsFound) + ") is enabled in '" + path + "'";
    if (!report.PortsConfigured.empty())
      text += ", which enables " + Join(report.PortsConfigured);
    return text + ".";
  }
  if (report.DriversLookedFor && report.DriversUsable.empty())
    return "No CLProtocol driver for Hexmar cameras found (in the Linux64_x64 folders of the "
           "';'-separated $GENICAM_CLPROTOCOL and of '" +
           folders.ProtocolDrivers + "').";
  if (!report.PortsSilent.empty())
    return "No camera answered on the enabled ports: " + Join(report.PortsSilent) + ".";
  return "No camera found on the enabled ports: " + Join(report.PortsEnabled) + ".";
}

} // namespace VorlaCl
