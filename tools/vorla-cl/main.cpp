// vorla-cl: the command-line face of the Camera Link transport layer.
#include <Base/GCException.h>
#include <CLProtocol/DeviceID.h>
#include <VorlaBase/VorlaBase.h>
#include <platform/Environment.h>
#include <platform/SystemPaths.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using GenICam::gcstring;

int Usage(FILE* out) {
  std::fprintf(out, "usage: vorla-cl [--log LEVEL] <command>\n"
                    "commands:\n"
                    "  tls        list the transport layers the host finds\n"
                    "  list [-v]  list the cameras on the enabled Camera Link serial ports\n"
                    "options:\n"
                    "  --log LEVEL  show the log from LEVEL on (16, 32, 64, 128, 256) on stderr\n");
  return out == stdout ? 0 : 2;
}

int ListTransportLayers() {
  Vorla::TlInfoList tls;
  Vorla::CTlFactory& factory = Vorla::CTlFactory::GetInstance();
  factory.EnumerateTls(tls);
  if (tls.empty()) {
    std::printf("No transport layer found in '%s'.\n", factory.GetPluginFolder().c_str());
    return 1;
  }
  for (const Vorla::CTlInfo& tl : tls)
    std::printf("%s\t%s\n", tl.GetDeviceClass().c_str(), tl.GetFullName().c_str());
  return 0;
}

// Where the transport layer looks for its port configuration.
std::string PortConfigurationPath() {
  std::string folder;
  if (!Vorla::Platform::GetEnv("VORLA_CL_BINDINGS", folder))
    folder = Vorla::Platform::PathAppend(Vorla::Platform::MachineConfigFolder(), "Hexmar/CLBindings");
  return Vorla::Platform::PathAppend(folder, "PortConfiguration_x64.xml");
}

std::vector<std::string> LinesAfter(const vxlog::CLogCapture& log, const std::string& prefix) {
  std::vector<std::string> values;
  for (const vxlog::LogEntry& e : log.Entries())
    if (e.text.compare(0, prefix.size(), prefix) == 0) {
      std::string value = e.text.substr(prefix.size());
      if (value.size() >= 2 && value.front() == '\'' && value.back() == '\'')
        value = value.substr(1, value.size() - 2);
      values.push_back(value);
    }
  return values;
}

// Says why an enumeration found nothing, from what the transport layer logged on the way.
void ExplainNothingFound(const vxlog::CLogCapture& log) {
  const std::string path = PortConfigurationPath();
  const auto failures = LinesAfter(log, "Could not read CLBindings ");
  for (const std::string& failure : failures)
    std::printf("The port configuration '%s' could not be read: %s\n", path.c_str(),
                failure.c_str());
  if (!failures.empty())
    return;
  if (log.Contains("GetPortIDs() found 0 ports.")) {
    std::printf("No Camera Link serial port found. Serial libraries are looked for in '%s' and "
                "$CLSERIALPATH; the tty library offers the ttys listed in $CLSERTTY_PORTS.\n",
                Vorla::getVorlaFolderPath(Vorla::VorlaFolderClSerial).c_str());
    return;
  }
  const auto found = LinesAfter(log, "Found available PortID ");
  if (log.CountContaining("No valid usable PortIDs") != 0) {
    std::error_code ec;
    if (!std::filesystem::exists(path, ec))
      std::printf("No port configuration file at '%s' (set VORLA_CL_BINDINGS to its folder; "
                  "see examples/PortConfiguration_x64.xml).\n",
                  path.c_str());
    else
      std::printf("None of the ports found is enabled in '%s'.\n", path.c_str());
    for (const std::string& id : found)
      std::printf("  port found: %s\n", id.c_str());
    return;
  }
  if (log.Contains("No usable usable DeviceIDTemplates found!")) {
    std::printf("No CLProtocol driver for Hexmar cameras found (folders of $GENICAM_CLPROTOCOL "
                "and '%s').\n",
                Vorla::getVorlaFolderPath(Vorla::VorlaFolderClProtocol).c_str());
    return;
  }
  std::printf("No camera answered on the enabled ports:\n");
  for (const std::string& id : LinesAfter(log, "Valid usable PortID "))
    std::printf("  %s\n", id.c_str());
}

int ListCameras(bool verbose) {
  vxlog::CLogCapture log;
  Vorla::DeviceInfoList devices;
  Vorla::CTlFactory::GetInstance().EnumerateDevices(devices);
  if (devices.empty()) {
    ExplainNothingFound(log);
    return 1;
  }
  for (const Vorla::CDeviceInfo& device : devices) {
    gcstring portId, deviceId;
    device.GetPropertyValue("PortID", portId);
    device.GetPropertyValue("DeviceID", deviceId);
    CLProtocol::CDeviceID id;
    id.FromString(deviceId);
    std::printf("%s\tport %s\tmodel %s\tserial %s\n", device.GetFriendlyName().c_str(),
                portId.c_str(), device.GetModelName().c_str(), id.GetCameraSerialNumber().c_str());
    if (verbose) {
      GenICam::gcstring_vector names;
      device.GetPropertyNames(names);
      for (const auto& name : names) {
        gcstring value;
        device.GetPropertyValue(name, value);
        std::printf("    %-22s %s\n", name.c_str(), value.c_str());
      }
    }
  }
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  std::vector<std::string> args(argv + 1, argv + argc);
  std::string command;
  bool verbose = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--log" && i + 1 < args.size())
      vxlog::LogSetFilter(args[++i]);
    else if (args[i] == "-v" || args[i] == "--verbose")
      verbose = true;
    else if (args[i] == "-h" || args[i] == "--help")
      return Usage(stdout);
    else if (command.empty() && args[i][0] != '-')
      command = args[i];
    else
      return Usage(stderr);
  }
  try {
    if (command == "tls")
      return ListTransportLayers();
    if (command == "list")
      return ListCameras(verbose);
    return Usage(stderr);
  } catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "vorla-cl: %s\n", e.GetDescription());
    return 1;
  }
}
