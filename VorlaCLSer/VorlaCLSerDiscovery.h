#pragma once
#include "PortConfiguration.h"
#include "VorlaCLSerTlDeviceInfoImpl.h"

#include <VorlaBase/DeviceInfo.h>
#include <VorlaBase/IEnumerationReporter.h>

#include <platform/Mutex.h>

#include <functional>

namespace Vorla {

class CVorlaCLSerPort;

//! Finds the cameras on the Camera Link serial ports that the port configuration enables: reads
//! the configuration, probes every usable port with every Hexmar template and builds one record
//! per camera. It reaches ports only through the lookup it is given (the transport layer's port
//! cache), and remembers what its last enumeration saw.
//! Runs on the caller's thread; the report is guarded by the transport layer's lock.
class CVorlaCLSerDiscovery {
public:
  //! The port object of a port id, made on first need.
  using PortLookup = std::function<CVorlaCLSerPort&(const gcstring& portId)>;

  //! `lock` guards the configuration state and the report (the transport layer's lock).
  CVorlaCLSerDiscovery(CPortConfiguration& configuration, PortLookup lookup,
                       Platform::CRecursiveMutex& lock);

  //! Appends a record per camera found; the number appended.
  int EnumerateDevices(DeviceInfoList& list);
  //! What the last enumeration to finish saw.
  SEnumerationReport GetLastReport() const;

protected:
  //! The enabled entry of the port that fits the camera best, null when none does.
  static const SPortConfigurationEntry* FindPortEntry(const gcstring& portId,
                                                      const gcstring& deviceId,
                                                      const PortConfigurationTable& table);
  static CVorlaCLSerTlDeviceInfoImpl BuildDeviceInfo(const gcstring& portId,
                                                     const gcstring& deviceId);

private:
  //! The DeviceID that answered on each usable port, or an empty slot.
  void ProbePorts(const gcstring_vector& usablePorts, gcstring_vector& deviceIds,
                  SEnumerationReport* report = nullptr);

  CPortConfiguration& m_configuration;
  const PortLookup m_lookup;
  Platform::CRecursiveMutex& m_lock;
  SEnumerationReport m_lastReport VORLA_GUARDED_BY(m_lock); // replaced whole
};

} // namespace Vorla
