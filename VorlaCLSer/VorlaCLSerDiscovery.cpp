#include "VorlaCLSerDiscovery.h"

#include "VorlaCLSerLog.h"
#include "VorlaCLSerPort.h"
#include "VorlaCLSerTl.h"

#include <CLProtocol/CLPort.h>
#include <CLProtocol/DeviceID.h>

namespace Vorla {

CVorlaCLSerDiscovery::CVorlaCLSerDiscovery(CPortConfiguration& configuration, PortLookup lookup,
                                           Platform::CRecursiveMutex& lock)
    : m_configuration(configuration), m_lookup(std::move(lookup)), m_lock(lock) {}

SEnumerationReport CVorlaCLSerDiscovery::GetLastReport() const {
  Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
  return m_lastReport;
}

int CVorlaCLSerDiscovery::EnumerateDevices(DeviceInfoList& list) {
  int count = 0;
  SEnumerationReport report;
  report.Enumerated = true;
  // Published on every way out, so that a caller can explain an empty result.
  const auto publish = [&] {
    report.DevicesFound = static_cast<uint32_t>(count);
    Platform::CLockGuard<Platform::CRecursiveMutex> guard(m_lock);
    m_lastReport = report;
  };
  try {
    report.ConfigurationPath = CPortConfiguration::BuildPath();
    m_configuration.LoadPortConfiguration();
    report.ConfigurationState =
        CPortConfiguration::CheckFile(report.ConfigurationPath, report.ConfigurationProblem);
    const PortConfigurationTable table = m_configuration.GetTable();
    gcstring_vector enabledIds;
    for (const SPortConfigurationEntry& entry : table)
      if (entry.Enabled)
        enabledIds.push_back(entry.ID);
    report.PortsConfigured = enabledIds;

    gcstring_vector portIds;
    CLProtocol::CCLPort::GetPortIDs(portIds);
    report.PortsFound = portIds;
    vxlog::LogTrace(TlLog(), vxlog::Progress, "GetPortIDs() found %u ports.",
                    static_cast<unsigned>(portIds.size()));
    if (portIds.empty()) {
      publish();
      return 0;
    }
    for (const gcstring& id : portIds)
      vxlog::LogTrace(TlLog(), vxlog::Progress, "Found available PortID '%s'", id.c_str());

    gcstring_vector usable;
    for (const gcstring& id : portIds)
      for (const gcstring& enabled : enabledIds)
        if (id == enabled) {
          usable.push_back(id);
          break;
        }
    if (usable.empty())
      vxlog::LogTrace(TlLog(), vxlog::Progress,
                      "No valid usable PortIDs due to no enabled ports in PortConfiguration.xml. "
                      "Enumeration will return 0 devices.");
    for (const gcstring& id : usable)
      vxlog::LogTrace(TlLog(), vxlog::Progress, "Valid usable PortID '%s'", id.c_str());
    report.PortsEnabled = usable;

    gcstring_vector slots;
    ProbePorts(usable, slots, &report);
    for (size_t i = 0; i < slots.size(); ++i) {
      if (slots[i].empty())
        continue;
      const SPortConfigurationEntry* entry = FindPortEntry(usable[i], slots[i], table);
      CVorlaCLSerTlDeviceInfoImpl record = BuildDeviceInfo(usable[i], slots[i]);
      if (entry) {
        record.SetDeviceSpecificString(entry->DeviceSpecificString);
        record.SetInitialBaudRate(entry->BaudRate);
      }
      list.push_back(record);
      ++count;
    }
  } catch (const GenICam::GenericException& e) {
    vxlog::LogTrace(TlLog(), vxlog::Error, "Exception in %s while enumerating devices. '%s'",
                    "Vorla::CVorlaCLSerTl::InternalEnumerateDevices", e.GetDescription());
    report.Failure = e.GetDescription();
    // Only reading the configuration comes before its state is known.
    if (report.ConfigurationState == ConfigurationNotLookedAt &&
        !report.ConfigurationPath.empty()) {
      report.ConfigurationState = ConfigurationUnreadable;
      report.ConfigurationProblem = report.Failure;
    }
  }
  publish();
  return count;
}

void CVorlaCLSerDiscovery::ProbePorts(const gcstring_vector& usablePorts,
                                      gcstring_vector& deviceIds, SEnumerationReport* report) {
  if (usablePorts.empty())
    return;
  if (report)
    report->DriversLookedFor = true;
  gcstring_vector templates;
  CLProtocol::CCLPort::GetDeviceIDTemplates(templates);
  for (const gcstring& t : templates)
    vxlog::LogTrace(TlLog(), vxlog::Progress, "Found DeviceIDTemplate '%s' ", t.c_str());
  gcstring_vector kept;
  for (const gcstring& t : templates) {
    CLProtocol::CDeviceID id;
    if (id.FromString(t) && id.GetCameraManufacturer() == "Hexmar") {
      kept.push_back(t);
      vxlog::LogTrace(TlLog(), vxlog::Progress, "Usable DeviceIDTemplate: '%s' ", t.c_str());
    }
  }
  if (report)
    report->DriversUsable = kept;
  if (kept.empty()) {
    vxlog::LogTrace(TlLog(), vxlog::Progress, "No usable usable DeviceIDTemplates found!");
    return;
  }
  gcstring_vector slots(usablePorts.size());
  for (size_t i = 0; i < usablePorts.size(); ++i) {
    CVorlaCLSerPort& port = m_lookup(usablePorts[i]); // the lookup takes the lock, not the probe
    gcstring answer;
    port.Probe(answer, &kept);
    if (!answer.empty()) {
      vxlog::LogTrace(TlLog(), vxlog::Progress, "Port '%s' adding '%s' to slot %u!",
                      usablePorts[i].c_str(), answer.c_str(), static_cast<unsigned>(i));
      slots[i] = answer;
    }
  }
  for (size_t i = 0; i < slots.size(); ++i) {
    vxlog::LogTrace(TlLog(), vxlog::Progress, "Probed '%s' found '%s' ", usablePorts[i].c_str(),
                    slots[i].c_str());
    if (report && slots[i].empty())
      report->PortsSilent.push_back(usablePorts[i]);
  }
  deviceIds = slots;
}

const SPortConfigurationEntry*
CVorlaCLSerDiscovery::FindPortEntry(const gcstring& portId, const gcstring& deviceId,
                                    const PortConfigurationTable& table) {
  const SPortConfigurationEntry* best = nullptr;
  int bestScore = 0;
  for (const SPortConfigurationEntry& entry : table) {
    if (!entry.Enabled || entry.ID != portId)
      continue;
    CLProtocol::CDeviceID id;
    if (!id.FromString(deviceId)) {
      vxlog::LogTrace(TlLog(), vxlog::Warning, "Could not parse DeviceID '%s', skipping!",
                      deviceId.c_str());
      continue;
    }
    if (entry.Manufacturer != id.GetCameraManufacturer())
      continue;
    int score = 1;
    if (entry.Family == id.GetCameraFamily())
      score = entry.Model == id.GetCameraModel() ? 3 : 2;
    if (score > bestScore) { // ties go to the earlier entry
      best = &entry;
      bestScore = score;
    }
  }
  return best;
}

CVorlaCLSerTlDeviceInfoImpl CVorlaCLSerDiscovery::BuildDeviceInfo(const gcstring& portId,
                                                                  const gcstring& deviceId) {
  CVorlaCLSerTlDeviceInfoImpl record;
  CLProtocol::CDeviceID id;
  if (!id.FromString(deviceId))
    vxlog::LogTrace(TlLog(), vxlog::Warning, "Could not parse DeviceID '%s' for PortID '%s'.",
                    deviceId.c_str(), portId.c_str());
  record.SetPortID(portId);
  record.SetDeviceID(deviceId);
  const gcstring manufacturer = id.GetCameraManufacturer();
  const gcstring model = id.GetCameraModel();
  record.SetVendorName(manufacturer);
  record.SetModelName(model);
  const gcstring userDefinedName; // the camera's serial number is deliberately not copied
  record.SetUserDefinedName(userDefinedName);
  record.SetSerialNumber("");
  const gcstring sep = CLProtocol::CDeviceID::GetTokenSeperator();
  record.SetFullName(portId + "|" + id.GetDriverDirectory(true) + sep + id.GetDriverFileName() +
                     sep + manufacturer + sep + id.GetCameraFamily() + sep + model);
  gcstring friendly = manufacturer + " " + model;
  if (!userDefinedName.empty())
    friendly += "/" + userDefinedName;
  record.SetFriendlyName(friendly + " on " + portId);
  record.SetDeviceClass(CLSerDeviceClass);
  record.SetDeviceFactory(GetCLSerTlInfo().GetFullName());
  return record;
}

} // namespace Vorla
