#include "CommandLine.h"

#include <camsim/CameraModel.h>

#include <boost/program_options.hpp>

#include <cstdlib>
#include <limits>
#include <sstream>

namespace camsim {
namespace {

namespace po = boost::program_options;

// Numbers in decimal, or hexadecimal with 0x (baud-rate bits are written so).
template <typename T> po::typed_value<std::string>* Number(T& target, const char* name) {
  return po::value<std::string>()->notifier([&target, name](const std::string& text) {
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
    if (text.empty() || *end || text[0] == '-' || value > std::numeric_limits<T>::max())
      throw po::invalid_option_value("--" + std::string(name) + " " + text);
    target = static_cast<T>(value);
  });
}

po::typed_value<std::string>* Seconds(std::chrono::milliseconds& target, const char* name) {
  return po::value<std::string>()->notifier([&target, name](const std::string& text) {
    std::uint32_t seconds = 0;
    Number(seconds, name)->notify(boost::any(text));
    target = std::chrono::seconds(seconds);
  });
}

po::options_description Options(CCommandLine& c) {
  SCameraOptions& cam = c.m_Camera;
  SFaultPlan& faults = cam.m_Faults;
  po::options_description identity("Camera");
  identity.add_options()("serial", po::value(&cam.m_Serial),
                         "serial number (the camera's DeviceID)")(
      "family", po::value(&cam.m_Family),
      "family name")("model", po::value(&cam.m_Model),
                     "model name")("device-version", po::value(&cam.m_Version), "device version")(
      "zip", po::bool_switch(&cam.m_Zip),
      "serve the GenApi description zipped")("no-sha1", "publish no SHA-1 of the description")(
      "sensor-width", Number(cam.m_SensorWidth, "sensor-width"),
      "sensor width in pixels (1280)")("sensor-height", Number(cam.m_SensorHeight, "sensor-height"),
                                       "sensor height in lines (1024)")(
      "extra-features", Number(cam.m_ExtraFeatures, "extra-features"),
      "add N generated features to the description (category UserDefinedValues, about 900 bytes "
      "each: 310 make it 300 KB, the size of a small real camera's)");
  po::options_description line("Serial line");
  line.add_options()("tty", po::value(&c.m_Tty),
                     "serve on this tty instead of a new pseudo-terminal")(
      "pace", po::bool_switch(&cam.m_Pace), "bytes take the time of the current baud rate")(
      "baud-rates", Number(cam.m_SupportedBaudBits, "baud-rates"),
      "supported baud-rate bits (0xFF)")("ignore-stdin", po::bool_switch(&c.m_IgnoreStdin),
                                         "do not stop at the end of standard input");
  po::options_description video("Video (the simulated Camera Link cable)");
  video.add_options()("board", Number(cam.m_VideoBoard, "board"),
                      "frame-grabber board the cable leads to (0)")(
      "channel", Number(cam.m_VideoChannel, "channel"), "channel of that board (0)")(
      "video-slots", Number(cam.m_VideoSlots, "video-slots"),
      "frames the cable holds for a slow grabber (4)")("no-video", "send no video");
  po::options_description fault("Faults");
  fault.add_options()("drop-every", Number(faults.m_DropEvery, "drop-every"),
                      "drop every Nth acknowledge")("corrupt-every",
                                                    Number(faults.m_CorruptEvery, "corrupt-every"),
                                                    "corrupt every Nth acknowledge")(
      "delay-every", Number(faults.m_DelayEvery, "delay-every"), "delay every Nth acknowledge ...")(
      "delay-ms", Number(faults.m_DelayMs, "delay-ms"), "... by this many milliseconds")(
      "vanish-after-commands", Number(faults.m_VanishAfterCommands, "vanish-after-commands"),
      "go silent after N commands")("vanish-after-seconds",
                                    Seconds(faults.m_VanishAfter, "vanish-after-seconds"),
                                    "go silent S seconds after start");
  po::options_description all;
  all.add_options()("help,h", po::bool_switch(&c.m_Help), "this text");
  all.add(identity).add(line).add(video).add(fault);
  return all;
}

} // namespace

std::string CCommandLine::Usage() {
  CCommandLine scratch;
  std::ostringstream text;
  text << "usage: vorla-camsim [options]\n"
          "Serves a Hexmar GenCP camera on a new pseudo-terminal (its path is the first line\n"
          "printed) or on a given tty, until SIGTERM/SIGINT or the end of standard input. While\n"
          "acquisition runs it sends video to the frame grabber's board and channel through\n"
          "shared memory named vorla-cable-<board>-<channel>.\n"
       << Options(scratch);
  return text.str();
}

bool CCommandLine::Parse(int argc, char** argv, std::string& error) {
  try {
    po::options_description options = Options(*this);
    po::variables_map vm;
    po::store(po::command_line_parser(argc, argv).options(options).run(), vm);
    po::notify(vm);
    m_Camera.m_PublishSha1 = !vm.count("no-sha1");
    m_Camera.m_Video = !vm.count("no-video");
    m_ChannelGiven = vm.count("board") || vm.count("channel");
    // The cable holds whole-sensor RGB8 frames in every slot: bounded memory.
    if (m_Camera.m_SensorWidth < 16 || m_Camera.m_SensorWidth > 4096 ||
        m_Camera.m_SensorWidth % 4 || m_Camera.m_SensorHeight < 1 || m_Camera.m_SensorHeight > 4096)
      throw po::error("the sensor must be 16 to 4096 pixels wide (a multiple of 4) and 1 to "
                      "4096 lines high");
    if (m_Camera.m_ExtraFeatures > CCameraModel::MaxExtraFeatures)
      throw po::error("--extra-features takes 0 to " +
                      std::to_string(CCameraModel::MaxExtraFeatures));
    if (m_Camera.m_VideoSlots < 3 || m_Camera.m_VideoSlots > 64)
      throw po::error("--video-slots takes 3 to 64");
    return true;
  } catch (const po::error& e) {
    error = e.what();
    return false;
  }
}

} // namespace camsim
