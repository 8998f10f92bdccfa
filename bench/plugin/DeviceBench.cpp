// A camera device over a paced serial line at 115200 baud (the simulator's camera behind the
// loopback serial library), measured against the wire time of the bytes it exchanged in the same
// run, each byte at the rate it was sent at:
// - opening: CreateDevice (connect, downloaded description) and Open (baud rates): elapsed / wire
//   time, limit 1.1;
// - reading a cached feature: serial commands per read, limit 0;
// - an uncached 4-byte read: commands per read (limit 1) and elapsed / wire time, limit 1.1;
// - opening a known camera whose description the GenCP driver's cache holds: elapsed against
//   the same open with the cache off, and what both opens put on the line; with the simulator's
//   own 24 KB description (no limit: the commands every open sends at 9600 baud put its floor
//   above 0.05) and with 310 generated features more, 302 KB as the smallest real descriptions,
//   limit 0.05.
#include "VorlaCLSerTl.h"

#include <camsim/CameraModel.h>
#include <camsim/LoopbackBus.h>

#include <CLProtocol/ClSerialTypes.h>
#include <GenApi/GenApi.h>
#include <VorlaBase/Logging.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace {

constexpr double TimeLimit = 1.1;
constexpr double CachedOpenLimit = 0.05;
//! Generated features that make the description 302 KB, as large as real cameras' start.
constexpr std::int64_t RealisticFeatures = 310;
constexpr std::uint32_t LineRates = CL_BAUDRATE_9600 | CL_BAUDRATE_115200;

using Seconds = std::chrono::duration<double>;

// The loopback serial library of the build tree and a port configuration enabling its port 0.
class CRig {
public:
  explicit CRig(std::uint32_t extraFeatures = 0) {
    const auto build = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
    ::setenv("CLSERIALPATH", (build / "lib/vorla-test/clserial").c_str(), 1);
    ::unsetenv("CLSERTTY_PORTS");
    char pattern[] = "/tmp/vorla-bench-XXXXXX";
    m_folder = ::mkdtemp(pattern);
    ::setenv("VORLA_CL_BINDINGS", m_folder.c_str(), 1);
    std::ofstream(m_folder + "/PortConfiguration_x64.xml")
        << "<CLBindings><Port><ID>Loopback#" << camsim::CLoopbackBus::PortName(0)
        << "</ID><Enabled>yes</Enabled><BaudRate>Baud115200</BaudRate></Port></CLBindings>\n";
    vxlog::LogSetFilter("512"); // quiet
    // The other benchmarks measure downloads: no cache unless one asks for it.
    ::setenv("VORLA_DESCRIPTION_CACHE", "off", 1);
    camsim::SCameraOptions options;
    options.m_Pace = true;
    options.m_SupportedBaudBits = LineRates;
    options.m_ExtraFeatures = extraFeatures;
    m_camera = std::make_shared<camsim::CCameraModel>(options);
    camsim::CLoopbackBus::Instance().Attach(0, m_camera);
    camsim::CLoopbackBus::Instance().SetSupportedBaudRates(0, LineRates);
  }
  ~CRig() {
    camsim::CLoopbackBus::Instance().DetachAll();
    std::error_code ec;
    std::filesystem::remove_all(m_folder, ec);
  }

  camsim::CCameraModel& Camera() { return *m_camera; }

private:
  std::string m_folder;
  std::shared_ptr<camsim::CCameraModel> m_camera;
};

struct SWire {
  std::uint64_t m_Commands;
  camsim::CCameraModel::Clock::duration m_Time;
  static SWire Of(camsim::CCameraModel& camera) {
    const auto stats = camera.Statistics();
    return {stats.m_Commands, stats.m_WireTime};
  }
};

void Report(benchmark::State& state, const char* what, double elapsed, double wire) {
  const double ratio = elapsed / wire;
  state.counters["elapsed_per_wire_time"] = ratio;
  state.counters["limit"] = TimeLimit;
  std::printf("%s: elapsed/wire time %.3f (limit %.2f) %s\n", what, ratio, TimeLimit,
              ratio <= TimeLimit ? "ok" : "OVER");
}

void OpenCameraAt115200(benchmark::State& state) {
  CRig rig;
  double elapsed = 0, wire = 0;
  for (auto _ : state) {
    Vorla::CVorlaCLSerTl tl;
    Vorla::DeviceInfoList list;
    if (tl.EnumerateDevices(list) != 1) {
      state.SkipWithError("no camera found");
      return;
    }
    const SWire before = SWire::Of(rig.Camera());
    const auto start = std::chrono::steady_clock::now();
    Vorla::IVorlaDevice* device = tl.CreateDevice(list[0]);
    device->Open(Vorla::Control);
    elapsed += Seconds(std::chrono::steady_clock::now() - start).count();
    wire += Seconds(SWire::Of(rig.Camera()).m_Time - before.m_Time).count();
    state.PauseTiming();
    device->Close();
    tl.DestroyDevice(device);
    state.ResumeTiming();
  }
  Report(state, "open with downloaded description at 115200", elapsed, wire);
}

void ReadFeaturesAt115200(benchmark::State& state) {
  CRig rig;
  Vorla::CVorlaCLSerTl tl;
  Vorla::DeviceInfoList list;
  if (tl.EnumerateDevices(list) != 1) {
    state.SkipWithError("no camera found");
    return;
  }
  Vorla::IVorlaDevice* device = tl.CreateDevice(list[0]);
  device->Open(Vorla::Control);
  GenApi::INodeMap* map = device->GetNodeMap();
  auto* serial = dynamic_cast<GenApi::IString*>(map->GetNode("DeviceSerialNumber"));
  auto* width = dynamic_cast<GenApi::IInteger*>(map->GetNode("WidthReg"));
  serial->GetValue(); // fills the cache

  const int reads = 200;
  const SWire cachedBefore = SWire::Of(rig.Camera());
  for (int i = 0; i < reads; ++i)
    benchmark::DoNotOptimize(serial->GetValue());
  const double cachedCommands =
      double(SWire::Of(rig.Camera()).m_Commands - cachedBefore.m_Commands) / reads;

  double elapsed = 0, wire = 0, commands = 0, count = 0;
  for (auto _ : state) {
    const SWire before = SWire::Of(rig.Camera());
    const auto start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(width->GetValue(false, true));
    elapsed += Seconds(std::chrono::steady_clock::now() - start).count();
    const SWire after = SWire::Of(rig.Camera());
    wire += Seconds(after.m_Time - before.m_Time).count();
    commands += double(after.m_Commands - before.m_Commands);
    count += 1;
  }
  state.counters["cached_commands_per_read"] = cachedCommands;
  state.counters["uncached_commands_per_read"] = commands / count;
  std::printf("cached feature read: %.2f serial commands per read (limit 0) %s\n", cachedCommands,
              cachedCommands == 0 ? "ok" : "OVER");
  std::printf("uncached 4-byte read: %.2f commands per read (limit 1) %s\n", commands / count,
              commands / count <= 1.0 ? "ok" : "OVER");
  Report(state, "uncached 4-byte read at 115200", elapsed, wire);
  device->Close();
  tl.DestroyDevice(device);
}

// A transport layer of its own (no port or description kept from before), enumeration,
// creation (the description) and opening, timed from creation on, with what crossed the line.
struct SOpen {
  double m_Elapsed = -1;
  std::uint64_t m_Commands = 0, m_Bytes = 0;
  double m_Wire = 0;
};

SOpen TimedOpen(camsim::CCameraModel& camera) {
  SOpen open;
  Vorla::CVorlaCLSerTl tl;
  Vorla::DeviceInfoList list;
  if (tl.EnumerateDevices(list) != 1)
    return open;
  const auto before = camera.Statistics();
  const auto start = std::chrono::steady_clock::now();
  Vorla::IVorlaDevice* device = tl.CreateDevice(list[0]);
  device->Open(Vorla::Control);
  open.m_Elapsed = Seconds(std::chrono::steady_clock::now() - start).count();
  const auto after = camera.Statistics();
  open.m_Commands = after.m_Commands - before.m_Commands;
  open.m_Bytes = after.m_BytesIn + after.m_BytesOut - before.m_BytesIn - before.m_BytesOut;
  open.m_Wire = Seconds(after.m_WireTime - before.m_WireTime).count();
  device->Close();
  tl.DestroyDevice(device);
  return open;
}

// state.range(0): generated features added to the camera's description.
void OpenKnownCameraFromDescriptionCache(benchmark::State& state) {
  CRig rig(static_cast<std::uint32_t>(state.range(0)));
  const double kilobytes = double(rig.Camera().ServedXmlFile().size()) / 1024;
  char pattern[] = "/tmp/vorla-bench-cache-XXXXXX";
  const std::string cache = ::mkdtemp(pattern);
  ::setenv("VORLA_DESCRIPTION_CACHE", "off", 1);
  const SOpen uncached = TimedOpen(rig.Camera());
  ::setenv("VORLA_DESCRIPTION_CACHE", cache.c_str(), 1);
  TimedOpen(rig.Camera()); // the first open with the cache fills it
  SOpen cached;            // the last open; elapsed and wire time are summed over all of them
  double elapsed = 0, wire = 0, count = 0;
  for (auto _ : state) {
    cached = TimedOpen(rig.Camera());
    elapsed += cached.m_Elapsed;
    wire += cached.m_Wire;
    count += 1;
  }
  ::setenv("VORLA_DESCRIPTION_CACHE", "off", 1);
  std::error_code ec;
  std::filesystem::remove_all(cache, ec);
  if (uncached.m_Elapsed <= 0 || cached.m_Elapsed < 0) {
    state.SkipWithError("no camera found");
    return;
  }
  const double ratio = elapsed / count / uncached.m_Elapsed;
  // What the ratio would be if the cached open took no more than its time on the line.
  const double floor = wire / count / uncached.m_Elapsed;
  state.counters["cached_per_uncached"] = ratio;
  state.counters["floor"] = floor;
  std::printf("open of a known camera with a %.0f KB description at 115200: cached %.3f s / "
              "uncached %.3f s = %.3f ",
              kilobytes, elapsed / count, uncached.m_Elapsed, ratio);
  if (state.range(0) > 0) {
    state.counters["limit"] = CachedOpenLimit;
    std::printf("(limit %.2f) %s\n", CachedOpenLimit, ratio <= CachedOpenLimit ? "ok" : "OVER");
  } else {
    std::printf("(no limit: the cached open's wire time alone is %.3f of the uncached open, the "
                "fixed commands at 9600 baud)\n",
                floor);
  }
  // Where the time goes: the line, both directions, each byte at the rate it crossed.
  std::printf("  on the line: cached %llu commands, %llu bytes, %.3f s; uncached %llu commands, "
              "%llu bytes, %.3f s\n",
              static_cast<unsigned long long>(cached.m_Commands),
              static_cast<unsigned long long>(cached.m_Bytes), wire / count,
              static_cast<unsigned long long>(uncached.m_Commands),
              static_cast<unsigned long long>(uncached.m_Bytes), uncached.m_Wire);
}

} // namespace

BENCHMARK(OpenKnownCameraFromDescriptionCache)
    ->Arg(0)
    ->Arg(RealisticFeatures)
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(OpenCameraAt115200)->Iterations(3)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(ReadFeaturesAt115200)->Iterations(50)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
