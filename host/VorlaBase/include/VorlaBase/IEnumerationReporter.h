#pragma once
// What a transport layer saw during its last device enumeration, so that an application can
// tell its user why a camera was not found without reading the log.
#include <VorlaBase/InfoBase.h>

#include <cstdint>

namespace Vorla {

//! How the transport layer's configuration file fared in an enumeration.
enum EConfigurationFileState {
  ConfigurationNotLookedAt, //!< the enumeration stopped before the file was looked for
  ConfigurationMissing,     //!< no file at the path
  ConfigurationUnreadable,  //!< the file exists but could not be opened or parsed
  ConfigurationRead         //!< the file was read (or the cached reading of it is current)
};

//! The facts of one enumeration, in the order the transport layer established them. A list
//! stays empty when the enumeration stopped before its step.
struct SEnumerationReport {
  //! False until the transport layer has enumerated once.
  bool Enumerated = false;
  //! Full path of the configuration file that says which ports are enabled.
  gcstring ConfigurationPath;
  EConfigurationFileState ConfigurationState = ConfigurationNotLookedAt;
  //! Why the file is unreadable, in the words of the failing layer.
  gcstring ConfigurationProblem;
  //! Ids of the ports that the configuration enables, whether present or not.
  gcstring_vector PortsConfigured;
  //! Ids of the ports that the installed drivers offer.
  gcstring_vector PortsFound;
  //! Ports both found and enabled: the ones probed for cameras.
  gcstring_vector PortsEnabled;
  //! True once the transport layer looked for drivers (it does so only with enabled ports).
  bool DriversLookedFor = false;
  //! The drivers (or device templates) that can talk to this transport layer's cameras.
  gcstring_vector DriversUsable;
  //! Enabled ports on which no camera answered.
  gcstring_vector PortsSilent;
  //! The error that cut the enumeration short, empty when it ran to its end.
  gcstring Failure;
  //! Number of cameras the enumeration returned.
  uint32_t DevicesFound = 0;
};

//! Optional interface of a transport layer: the report of its most recent enumeration, reached
//! with a dynamic_cast from the ITransportLayer that CTlFactory::CreateTl hands out.
//! Thread-safe: the report is replaced as a whole when an enumeration ends, and each call
//! answers a copy of the latest complete one.
class VORLA_INTERFACE IEnumerationReporter {
public:
  virtual SEnumerationReport GetLastEnumerationReport() const = 0;

protected:
  virtual ~IEnumerationReporter() = default;
};

} // namespace Vorla
