#include "LoopbackRig.h"
#include "VorlaCLSerTl.h"

#include <CLProtocol/DeviceID.h>

#include <gmock/gmock.h>

using namespace Vorla;
using rig::CBindingsFolder;

namespace {
// The matching rules of discovery, reached without a serial port.
struct CDiscoverySeam : CVorlaCLSerDiscovery {
  using CVorlaCLSerDiscovery::BuildDeviceInfo;
  using CVorlaCLSerDiscovery::FindPortEntry;
};
} // namespace

namespace {
class Discovery : public rig::CLoopbackTest {
protected:
  static gcstring Property(const CDeviceInfo& info, const char* key) {
    gcstring value;
    return info.GetPropertyValue(key, value) ? value : gcstring("<absent>");
  }

  CBindingsFolder m_bindings;
};

SPortConfigurationEntry Entry(const char* id, const char* manufacturer, const char* family,
                              const char* model, bool enabled = true) {
  SPortConfigurationEntry e;
  e.ID = id;
  e.Manufacturer = manufacturer;
  e.Family = family;
  e.Model = model;
  e.Enabled = enabled;
  e.DeviceSpecificString = std::string(manufacturer) + "/" + family + "/" + model;
  return e;
}
} // namespace

TEST_F(Discovery, FindsTheCamerasOfEnabledPortsInPortOrder) {
  // Camera strings need not be C identifiers: the version is "1.0", the serial number "SN-0".
  rig::Attach(0, "SN-0", "HX1300");
  rig::Attach(1, "SN1", "HX2000");
  m_bindings.Write(CBindingsFolder::Port(rig::PortId(1),
                                         "<Manufacturer>Hexmar</Manufacturer>"
                                         "<DeviceSpecificString>Sapera 1</DeviceSpecificString>"
                                         "<BaudRate>Baud115200</BaudRate>") +
                   CBindingsFolder::Port(rig::PortId(0), "<Manufacturer>Hexmar</Manufacturer>") +
                   CBindingsFolder::Port(rig::PortId(2)));
  CVorlaCLSerTl tl;
  DeviceInfoList list;
  ASSERT_EQ(tl.EnumerateDevices(list), 2);
  ASSERT_EQ(list.size(), 2u);

  const CDeviceInfo& first = list[0];
  const gcstring deviceId = Property(first, "DeviceID");
  CLProtocol::CDeviceID id;
  ASSERT_TRUE(id.FromString(deviceId));
  // Token 0 is the folder that holds the driver, as GenICam's reference module writes it.
  EXPECT_EQ(deviceId, id.GetDriverDirectory(false) + "#libCLProtocolGenCP" +
                          Platform::CDynamicLibrary::Suffix() + "#Hexmar#CamSim#HX1300#1.0#SN-0");
  EXPECT_THAT(id.GetDriverDirectory(false),
              ::testing::EndsWith("/vorla/clprotocol/" + id.GetPlatformFolder()));
  EXPECT_EQ(Property(first, "PortID"), rig::PortId(0));
  EXPECT_EQ(first.GetDeviceClass(), "HexmarCameraLink");
  EXPECT_FALSE(first.IsUserProvided());
  EXPECT_EQ(first.GetVendorName(), "Hexmar");
  EXPECT_EQ(first.GetModelName(), "HX1300");
  EXPECT_EQ(first.GetUserDefinedName(), "");
  EXPECT_EQ(first.GetSerialNumber(), ""); // the camera's serial number is not copied
  EXPECT_EQ(first.GetFullName(), rig::PortId(0) + "|" + id.GetDriverDirectory(true) + "#" +
                                     id.GetDriverFileName() + "#Hexmar#" + id.GetCameraFamily() +
                                     "#HX1300");
  EXPECT_EQ(first.GetFriendlyName(), "Hexmar HX1300 on " + rig::PortId(0));
  EXPECT_EQ(first.GetDeviceFactory(), "Camera Link/HexmarCameraLink 2.3.5.2633");
  EXPECT_EQ(Property(first, "DeviceSpecificString"), ""); // matched entry without the values
  EXPECT_EQ(Property(first, "InitialBaudRate"), "");

  EXPECT_EQ(Property(list[1], "PortID"), rig::PortId(1));
  EXPECT_EQ(Property(list[1], "DeviceSpecificString"), "Sapera 1");
  EXPECT_EQ(Property(list[1], "InitialBaudRate"), "Baud115200");

  // The empty port cost one probe, then it was skipped.
  EXPECT_EQ(m_log.Count("Seems there is no device connected to port '" + rig::PortId(2) +
                        "'. Skipping further probes."),
            1u);
  EXPECT_EQ(m_log.Count("Probed '" + rig::PortId(2) + "' found '' "), 1u);

  // A filter keeps the cameras that match any of its entries, each once.
  CDeviceInfo byModel, byVendor;
  byModel.SetModelName("HX2000");
  byVendor.SetVendorName("Hexmar");
  byVendor.SetModelName("HX2000");
  DeviceInfoList filtered;
  EXPECT_EQ(tl.EnumerateDevices(filtered, DeviceInfoList{byModel, byVendor}), 1);
  ASSERT_EQ(filtered.size(), 1u);
  EXPECT_EQ(filtered[0].GetModelName(), "HX2000");
}

TEST_F(Discovery, ACameraThatVanishesMidProbeIsSkippedAndLaterPortsAreStillProbed) {
  camsim::SCameraOptions options;
  options.m_Serial = "GONE";
  options.m_Faults.m_VanishAfterCommands = 1; // answers the first command of the probe only
  camsim::CLoopbackBus::Instance().Attach(0, std::make_shared<camsim::CCameraModel>(options));
  rig::Attach(1, "SN1");
  m_bindings.Write(CBindingsFolder::Port(rig::PortId(0)) + CBindingsFolder::Port(rig::PortId(1)));
  CVorlaCLSerTl tl;
  DeviceInfoList list;
  ASSERT_EQ(tl.EnumerateDevices(list), 1);
  gcstring portId;
  list[0].GetPropertyValue("PortID", portId);
  EXPECT_EQ(portId, rig::PortId(1));
}

TEST_F(Discovery, AnUnchangedFileIsReadOnceAndATouchedOneAgain) {
  rig::Attach(0, "SN0");
  m_bindings.Write(CBindingsFolder::Port(rig::PortId(0)));
  CVorlaCLSerTl tl;
  DeviceInfoList list;
  EXPECT_EQ(tl.EnumerateDevices(list), 1);
  EXPECT_EQ(tl.EnumerateDevices(list), 1);
  const std::string parsing = "Trying to load CLBindings from file '" + m_bindings.File() + "'";
  EXPECT_EQ(m_log.Count(parsing), 1u);
  m_bindings.Write(CBindingsFolder::Port(rig::PortId(0), "", "no"));
  m_bindings.Touch(5);
  EXPECT_EQ(tl.EnumerateDevices(list), 0);
  EXPECT_EQ(m_log.Count(parsing), 2u);
}

TEST_F(Discovery, PortsMustBeEnabledWithTheExactId) {
  rig::Attach(0, "SN0");
  CVorlaCLSerTl tl;
  DeviceInfoList list;
  const char* const noUsable = "No valid usable PortIDs due to no enabled ports in "
                               "PortConfiguration.xml. Enumeration will return 0 devices.";
  EXPECT_EQ(tl.EnumerateDevices(list), 0); // no configuration file at all
  EXPECT_EQ(m_log.Count(noUsable), 1u);

  std::string lower = rig::PortId(0);
  lower[lower.size() - 5] = 'l'; // "Loopback#loop0"
  m_bindings.Write(CBindingsFolder::Port(lower) + CBindingsFolder::Port("Nowhere#Port9"));
  EXPECT_EQ(tl.EnumerateDevices(list), 0);
  EXPECT_EQ(m_log.Count(noUsable), 2u);
  EXPECT_EQ(m_log.CountContaining("Probed"), 0u); // no port was opened
}

TEST(DiscoveryRules, BestEntryScoresManufacturerFamilyAndModel) {
  const gcstring deviceId = "/opt/cl#libX.so#Hexmar#Fam#Mod#v1#SN";
  const PortConfigurationTable table{
      Entry("P#1", "Hexmar", "Other", "Mod"),      // score 1: family differs, model ignored
      Entry("P#1", "Hexmar", "Fam", "Mod", false), // disabled
      Entry("P#1", "Hexmar", "Fam", "Other"),      // score 2
      Entry("p#1", "Hexmar", "Fam", "Mod"),        // other port (case matters)
      Entry("P#1", "Hexmar", "Fam", "Mod"),        // score 3
      Entry("P#1", "Hexmar", "Fam", "Mod"),        // tie: the earlier one stays
      Entry("P#1", "Someone", "Fam", "Mod"),       // no candidate
  };
  EXPECT_EQ(CDiscoverySeam::FindPortEntry("P#1", deviceId, table), &table[4]);
  const PortConfigurationTable partial{table[0], table[2]};
  EXPECT_EQ(CDiscoverySeam::FindPortEntry("P#1", deviceId, partial), &partial[1]);
  EXPECT_EQ(CDiscoverySeam::FindPortEntry("P#2", deviceId, table), nullptr);
  EXPECT_EQ(CDiscoverySeam::FindPortEntry("P#1", "/opt/cl#libX.so#Someone#Fam", table), &table[6]);
}

TEST(DiscoveryRules, RecordsOfUnparsableDeviceIdsStillCarryPortAndDeviceId) {
  vxlog::CLogCapture log;
  const CVorlaCLSerTlDeviceInfoImpl record = CDiscoverySeam::BuildDeviceInfo("P#1", "garbage");
  EXPECT_EQ(log.Count("Could not parse DeviceID 'garbage' for PortID 'P#1'."), 1u);
  EXPECT_EQ(record.GetPortID(), "P#1");
  EXPECT_EQ(record.GetDeviceID(), "garbage");
  const gcstring friendly = record.GetFriendlyName();
  EXPECT_EQ(friendly.substr(friendly.size() - 7), " on P#1");
  EXPECT_EQ(record.GetDeviceClass(), "HexmarCameraLink");

  const PortConfigurationTable table{Entry("P#1", "Hexmar", "Fam", "Mod")};
  EXPECT_EQ(CDiscoverySeam::FindPortEntry("P#1", "garbage", table), nullptr);
  EXPECT_EQ(log.Count("Could not parse DeviceID 'garbage', skipping!"), 1u);
}

// The report is what tools explain an empty result with; each step must land in its field.
TEST_F(Discovery, TheEnumerationReportSaysWhatEachStepSaw) {
  CVorlaCLSerTl tl;
  const auto* reporter =
      dynamic_cast<const IEnumerationReporter*>(static_cast<ITransportLayer*>(&tl));
  ASSERT_NE(reporter, nullptr);
  EXPECT_FALSE(reporter->GetLastEnumerationReport().Enumerated);

  DeviceInfoList list;
  tl.EnumerateDevices(list);
  SEnumerationReport report = reporter->GetLastEnumerationReport();
  EXPECT_TRUE(report.Enumerated);
  EXPECT_EQ(report.ConfigurationPath, m_bindings.File());
  EXPECT_EQ(report.ConfigurationState, ConfigurationMissing);
  EXPECT_EQ(report.PortsFound.size(), 3u);
  EXPECT_TRUE(report.PortsEnabled.empty());
  EXPECT_FALSE(report.DriversLookedFor);

  rig::Attach(0, "SN0");
  m_bindings.Write(CBindingsFolder::Port(rig::PortId(0)) + CBindingsFolder::Port(rig::PortId(2)) +
                   CBindingsFolder::Port("Nowhere#1") +
                   CBindingsFolder::Port(rig::PortId(1), "", "no"));
  ASSERT_EQ(tl.EnumerateDevices(list), 1);
  report = reporter->GetLastEnumerationReport();
  EXPECT_EQ(report.ConfigurationState, ConfigurationRead);
  EXPECT_EQ(report.PortsConfigured, (gcstring_vector{rig::PortId(0), rig::PortId(2), "Nowhere#1"}));
  EXPECT_EQ(report.PortsEnabled, (gcstring_vector{rig::PortId(0), rig::PortId(2)}));
  EXPECT_TRUE(report.DriversLookedFor);
  EXPECT_FALSE(report.DriversUsable.empty());
  EXPECT_EQ(report.PortsSilent, gcstring_vector{rig::PortId(2)});
  EXPECT_EQ(report.DevicesFound, 1u);
  EXPECT_TRUE(report.Failure.empty());

  std::ofstream(m_bindings.File()) << "<CLBindings><Port>";
  m_bindings.Touch(5);
  EXPECT_EQ(tl.EnumerateDevices(list), 0);
  EXPECT_EQ(m_log.CountContaining("Could not read CLBindings (Failed to parse XML file '"), 1u);
  EXPECT_EQ(m_log.CountContaining("Exception in Vorla::CVorlaCLSerTl::InternalEnumerateDevices "
                                  "while enumerating devices. 'Failed to parse XML file '"),
            1u);
  report = reporter->GetLastEnumerationReport();
  EXPECT_EQ(report.ConfigurationState, ConfigurationUnreadable);
  EXPECT_NE(report.ConfigurationProblem.find(m_bindings.File()), std::string::npos);
  EXPECT_EQ(report.Failure, report.ConfigurationProblem);
  EXPECT_TRUE(report.PortsFound.empty());
}
