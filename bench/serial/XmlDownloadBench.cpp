// Paced download of the simulator's description at 115200 baud through the GenCP driver:
// bytes on the wire per payload byte (limit 1.05) and elapsed time per wire time (limit 1.1).
// The wire time is that of the bytes counted on the line in the same run.
#include <camsim/CameraModel.h>
#include <camsim/LoopbackSerial.h>
#include <gencp/CLProtocolGenCP.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr double WireLimit = 1.05;
constexpr double TimeLimit = 1.1;
constexpr double Baud = 115200.0;

void PacedXmlDownload(benchmark::State& state) {
  // Every download goes over the line, and none is kept in the user's description cache.
  ::setenv("VORLA_DESCRIPTION_CACHE", "off", 1);
  camsim::SCameraOptions options;
  options.m_Pace = true;
  auto camera = std::make_shared<camsim::CCameraModel>(options);
  camsim::CLoopbackSerial serial(camera);
  char id[256];
  CLUINT32 size = sizeof id;
  CLUINT32 cookie = 0;
  if (clpProbeDevice(&serial, "Hexmar", id, &size, &cookie, 500) != CL_ERR_NO_ERR) {
    state.SkipWithError("probe failed");
    return;
  }
  const CLUINT32 bit = CL_BAUDRATE_115200;
  if (clpSetParam(&serial, CLP_DEVICE_BAUDERATE, cookie, reinterpret_cast<const CLINT8*>(&bit), 4,
                  500) != CL_ERR_NO_ERR) {
    state.SkipWithError("baud switch failed");
    return;
  }
  const std::string fullId = id;
  double wireBytes = 0, payloadBytes = 0, seconds = 0;
  for (auto _ : state) {
    // A fresh connection each time: the driver keeps downloaded descriptions per connection.
    state.PauseTiming();
    clpDisconnect(cookie);
    size = sizeof id;
    clpProbeDevice(&serial, fullId.c_str(), id, &size, &cookie, 500);
    char ids[512];
    CLUINT32 idsSize = sizeof ids;
    clpGetXMLIDs(&serial, cookie, ids, &idsSize, 500);
    const std::uint64_t before = serial.BytesWritten() + serial.BytesRead();
    state.ResumeTiming();

    const auto start = std::chrono::steady_clock::now();
    CLUINT32 xmlSize = 0;
    clpGetXMLDescription(&serial, cookie, ids, nullptr, &xmlSize, 500);
    const auto end = std::chrono::steady_clock::now();

    state.PauseTiming();
    std::vector<char> xml(xmlSize);
    clpGetXMLDescription(&serial, cookie, ids, xml.data(), &xmlSize, 500); // from the cache
    wireBytes += static_cast<double>(serial.BytesWritten() + serial.BytesRead() - before);
    payloadBytes += static_cast<double>(xmlSize - 1);
    seconds += std::chrono::duration<double>(end - start).count();
    state.ResumeTiming();
  }
  clpDisconnect(cookie);
  const double wireRatio = wireBytes / payloadBytes;
  const double timeRatio = seconds / (wireBytes * 10.0 / Baud);
  state.counters["wire_per_payload"] = wireRatio;
  state.counters["wire_limit"] = WireLimit;
  state.counters["time_per_wire_time"] = timeRatio;
  state.counters["time_limit"] = TimeLimit;
  std::printf("paced XML download at 115200: wire/payload %.4f (limit %.2f) %s, "
              "elapsed/wire time %.4f (limit %.2f) %s\n",
              wireRatio, WireLimit, wireRatio <= WireLimit ? "ok" : "OVER", timeRatio, TimeLimit,
              timeRatio <= TimeLimit ? "ok" : "OVER");
}

} // namespace

BENCHMARK(PacedXmlDownload)->Iterations(2)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
