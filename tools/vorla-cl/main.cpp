// vorla-cl: the command-line face of the Camera Link transport layer.
#include <Base/GCException.h>
#include <VorlaBase/VorlaBase.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

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
  (void)verbose;
  try {
    if (command == "tls")
      return ListTransportLayers();
    return Usage(stderr);
  } catch (const GenICam::GenericException& e) {
    std::fprintf(stderr, "vorla-cl: %s\n", e.GetDescription());
    return 1;
  }
}
