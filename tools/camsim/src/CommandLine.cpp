#include "CommandLine.h"

#include <cstdlib>
#include <cstring>

namespace camsim {
namespace {

bool ToNumber(const char* text, std::uint64_t& value) {
  if (!text || !*text)
    return false;
  char* end = nullptr;
  value = std::strtoull(text, &end, 0);
  return *end == 0;
}

} // namespace

const char* CCommandLine::Usage() {
  return "usage: vorla-camsim [options]\n"
         "Serves a Hexmar GenCP camera on a new pseudo-terminal (its path is the first line\n"
         "printed) or on a given tty, until SIGTERM/SIGINT or the end of standard input.\n"
         "  --serial S --family F --model M --device-version V   camera identity\n"
         "  --zip                  serve the GenApi description zipped\n"
         "  --no-sha1              publish no SHA-1 of the description\n"
         "  --pace                 bytes take the time of the current baud rate\n"
         "  --tty PATH             serve on this tty\n"
         "  --ignore-stdin         do not stop at the end of standard input\n"
         "  --baud-rates BITS      supported baud-rate bits (default 0xFF)\n"
         "  --drop-every N         drop every Nth acknowledge\n"
         "  --corrupt-every N      corrupt every Nth acknowledge\n"
         "  --delay-every N --delay-ms MS   delay every Nth acknowledge\n"
         "  --vanish-after-commands N       go silent after N commands\n"
         "  --vanish-after-seconds S        go silent S seconds after start\n";
}

bool CCommandLine::Parse(int argc, char** argv, std::string& error) {
  SFaultPlan& faults = m_Camera.m_Faults;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    std::uint64_t number = 0;
    const auto text = [&](std::string& target) {
      if (!value)
        return false;
      target = value;
      ++i;
      return true;
    };
    const auto count = [&](auto& target) {
      if (!ToNumber(value, number))
        return false;
      target = static_cast<std::remove_reference_t<decltype(target)>>(number);
      ++i;
      return true;
    };
    bool ok = true;
    if (option == "--serial")
      ok = text(m_Camera.m_Serial);
    else if (option == "--family")
      ok = text(m_Camera.m_Family);
    else if (option == "--model")
      ok = text(m_Camera.m_Model);
    else if (option == "--device-version")
      ok = text(m_Camera.m_Version);
    else if (option == "--tty")
      ok = text(m_Tty);
    else if (option == "--zip")
      m_Camera.m_Zip = true;
    else if (option == "--no-sha1")
      m_Camera.m_PublishSha1 = false;
    else if (option == "--pace")
      m_Camera.m_Pace = true;
    else if (option == "--ignore-stdin")
      m_IgnoreStdin = true;
    else if (option == "--baud-rates")
      ok = count(m_Camera.m_SupportedBaudBits);
    else if (option == "--drop-every")
      ok = count(faults.m_DropEvery);
    else if (option == "--corrupt-every")
      ok = count(faults.m_CorruptEvery);
    else if (option == "--delay-every")
      ok = count(faults.m_DelayEvery);
    else if (option == "--delay-ms")
      ok = count(faults.m_DelayMs);
    else if (option == "--vanish-after-commands")
      ok = count(faults.m_VanishAfterCommands);
    else if (option == "--vanish-after-seconds") {
      ok = ToNumber(value, number);
      faults.m_VanishAfter = std::chrono::seconds(number);
      i += ok ? 1 : 0;
    } else if (option == "--help" || option == "-h")
      m_Help = true;
    else {
      error = "unknown option '" + option + "'";
      return false;
    }
    if (!ok) {
      error = "option '" + option + "' needs a " +
              (option == "--serial" || option == "--family" || option == "--model" ||
                       option == "--device-version" || option == "--tty"
                   ? "value"
                   : "number");
      return false;
    }
  }
  return true;
}

} // namespace camsim
