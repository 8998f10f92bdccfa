// Frames of 2 MiB from a camera process over the simulated cable through a frame-grabber
// plug-in into application buffers (one copy, as the stream grabber makes it): MB/s, its ratio
// to the memcpy bandwidth measured in the same run, frames lost, and CPU per frame of the
// camera process and of the plug-in's delivery thread (which includes the copy).
//
// "paced" runs the camera at 425 frames/s (850 MB/s, the fastest Camera Link configuration)
// and must lose nothing; "free" lets the camera run as fast as it can draw frames.
#include "CameraRegisters.h"

#include <platform/DynamicLibrary.h>
#include <vorla/IFrameGrabber.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::uint32_t Width = 1024, Height = 1024; // Mono16: 2 MiB
constexpr double FrameBytes = Width * Height * 2.0;
constexpr double LimitMBps = 850.0;
constexpr double PacedRate = 425.0;
constexpr std::uint32_t Channel = 7;

double ThreadCpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

// Copies of 2 MiB frames between buffers that together exceed the caches, as a stream's do.
double MemcpyMBps() {
  const auto size = static_cast<std::size_t>(FrameBytes);
  std::vector<std::vector<std::uint8_t>> from(12, std::vector<std::uint8_t>(size, 1));
  std::vector<std::vector<std::uint8_t>> to(8, std::vector<std::uint8_t>(size));
  double best = 0;
  for (int run = 0; run < 3; ++run) {
    constexpr int Rounds = 120;
    const auto start = Clock::now();
    for (int i = 0; i < Rounds; ++i) {
      std::memcpy(to[i % to.size()].data(), from[i % from.size()].data(), size);
      benchmark::DoNotOptimize(to[i % to.size()].data());
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    best = std::max(best, FrameBytes * Rounds / 1e6 / seconds);
  }
  return best;
}

//! The application side: one copy of each frame into the next of eight buffers.
class CCopyingCallee : public Vorla::FgCallee {
public:
  CCopyingCallee()
      : m_Buffers(8, std::vector<std::uint8_t>(static_cast<std::size_t>(FrameBytes))) {}
  bool FrameReadyAt(const Vorla::FrameDescriptor& d, std::uint64_t) override {
    return FrameReady(d);
  }
  void Warning(const char*) override {}
  bool FrameReady(const Vorla::FrameDescriptor& d) override {
    const double cpu = ThreadCpuSeconds();
    if (m_Frames.load() == 0) {
      m_FirstCpu = cpu;
      m_FirstValue = d.m_FrameValue;
      m_FirstTime = Clock::now();
    }
    std::vector<std::uint8_t>& buffer = m_Buffers[m_Frames % m_Buffers.size()];
    const auto* src = static_cast<const std::uint8_t*>(d.m_pData);
    if (d.m_LinePitch != d.m_LineLength) {
      for (int32_t y = 0; y < d.m_LineCount; ++y)
        std::memcpy(buffer.data() + d.m_LineLength * static_cast<std::uint64_t>(y),
                    src + d.m_LinePitch * static_cast<std::uint64_t>(y), d.m_LineLength);
    } else {
      std::memcpy(buffer.data(), src, std::min<std::size_t>(d.m_TotalSize, buffer.size()));
    }
    m_LastValue = d.m_FrameValue;
    m_LastTime = Clock::now();
    m_LastCpu = ThreadCpuSeconds();
    ++m_Frames;
    (void)cpu;
    return false;
  }
  uintptr_t RegisterNodeCallback(const char*, Vorla::PluginNodeCallback, uint64_t,
                                 uint32_t) override {
    return 0;
  }
  bool DeregisterNodeCallback(uintptr_t) override { return false; }

  std::vector<std::vector<std::uint8_t>> m_Buffers;
  std::atomic<std::uint64_t> m_Frames{0};
  int32_t m_FirstValue = 0, m_LastValue = 0;
  double m_FirstCpu = 0, m_LastCpu = 0;
  Clock::time_point m_FirstTime, m_LastTime;
};

//! The camera in a process of its own; it reports its CPU time when told to stop.
class CCameraProcess {
public:
  explicit CCameraProcess(double frameRate) {
    int toChild[2], fromChild[2];
    if (pipe(toChild) != 0 || pipe(fromChild) != 0)
      return;
    const auto board = static_cast<std::uint32_t>(getpid()); // the parent's, as it asks for
    m_Pid = fork();
    if (m_Pid == 0) {
      close(toChild[1]);
      close(fromChild[0]);
      camsim::SCameraOptions options = camtest::VideoOptions(Channel);
      options.m_SensorWidth = Width;
      options.m_SensorHeight = Height;
      options.m_VideoSlots = 8;
      options.m_VideoBoard = board;
      auto camera = std::make_unique<camsim::CCameraModel>(options);
      camtest::WriteRegister(*camera, camtest::PixelFormat, camtest::Mono16);
      camtest::WriteFrameRate(*camera, frameRate);
      const double exposureUs = 50.0; // short enough not to set the pace
      std::uint64_t bits;
      std::memcpy(&bits, &exposureUs, sizeof bits);
      camtest::WriteRegister(*camera, 0x58, bits, 8); // ExposureTime
      camtest::WriteRegister(*camera, camtest::AcquisitionStart, 1);
      char go = 1;
      (void)!write(fromChild[1], &go, 1);
      (void)!read(toChild[0], &go, 1); // until the parent closes its end
      camera.reset();
      rusage usage{};
      getrusage(RUSAGE_SELF, &usage);
      const double cpu =
          static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
          static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
      (void)!write(fromChild[1], &cpu, sizeof cpu);
      _exit(0);
    }
    close(toChild[0]);
    close(fromChild[1]);
    m_ToChild = toChild[1];
    m_FromChild = fromChild[0];
    char go = 0;
    m_Ready = read(m_FromChild, &go, 1) == 1;
  }
  bool Ready() const { return m_Ready; }
  //! Stops the camera; its CPU seconds.
  double Stop() {
    close(m_ToChild);
    double cpu = 0;
    if (read(m_FromChild, &cpu, sizeof cpu) != sizeof cpu)
      cpu = -1;
    close(m_FromChild);
    waitpid(m_Pid, nullptr, 0);
    return cpu;
  }

private:
  pid_t m_Pid = -1;
  int m_ToChild = -1, m_FromChild = -1;
  bool m_Ready = false;
};

void CableToPlugin(benchmark::State& state, const char* plugin, double frameRate) {
  const double memcpyMBps = MemcpyMBps();
  Vorla::Platform::CDynamicLibrary library;
  const std::string path =
      (std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() /
       "lib/vorla/fg" / plugin)
          .string() +
      Vorla::Platform::CDynamicLibrary::Suffix();
  if (!library.Load(path)) {
    state.SkipWithError(("cannot load " + path).c_str());
    return;
  }
  const auto create = reinterpret_cast<Vorla::CreateFrameGrabberObjectFunction>(
      library.Symbol(Vorla::CreateFrameGrabberObjectName));
  const auto destroy = reinterpret_cast<Vorla::DestroyFrameGrabberObjectFunction>(
      library.Symbol(Vorla::DestroyFrameGrabberObjectName));
  const std::string parameters =
      "Board=" + std::to_string(getpid()) + " Channel=" + std::to_string(Channel);
  for (auto _ : state) {
    CCameraProcess camera(frameRate);
    Vorla::IFrameGrabber* grabber = create(parameters.c_str());
    CCopyingCallee callee;
    if (!camera.Ready() || !grabber->Open(parameters.c_str(), &callee) || !grabber->StartGrab()) {
      state.SkipWithError("no camera");
      destroy(grabber);
      camera.Stop();
      return;
    }
    std::this_thread::sleep_for(std::chrono::seconds(2));
    grabber->StopGrab();
    const auto lost = grabber->QueryValue(0xC201);
    destroy(grabber);
    const double cameraCpu = camera.Stop();

    const double frames = static_cast<double>(callee.m_Frames.load());
    const double sent = callee.m_LastValue - callee.m_FirstValue + 1.0;
    const double seconds =
        std::chrono::duration<double>(callee.m_LastTime - callee.m_FirstTime).count();
    const double mbps = (frames - 1) * FrameBytes / 1e6 / seconds;
    const double grabCpuUs = (callee.m_LastCpu - callee.m_FirstCpu) / (frames - 1) * 1e6;
    // The camera's CPU covers its whole life (start and stop too): an upper bound.
    const double cameraCpuUs = cameraCpu / sent * 1e6;
    state.counters["MBps"] = mbps;
    state.counters["memcpy_MBps"] = memcpyMBps;
    state.counters["ratio_to_memcpy"] = mbps / memcpyMBps;
    state.counters["frames"] = frames;
    state.counters["lost"] = static_cast<double>(lost);
    state.counters["camera_cpu_us_per_frame"] = cameraCpuUs;
    state.counters["grabber_cpu_us_per_frame"] = grabCpuUs;
    std::printf("%s %s: %.0f MB/s (limit %.0f) %s, %.3f of memcpy (%.0f MB/s), %.0f frames, "
                "%lld lost; CPU per frame: camera %.0f us, grabber %.0f us\n",
                plugin, frameRate == PacedRate ? "paced" : "free", mbps, LimitMBps,
                frameRate != PacedRate || (mbps >= LimitMBps * 0.99 && lost == 0) ? "ok" : "UNDER",
                mbps / memcpyMBps, memcpyMBps, frames, static_cast<long long>(lost), cameraCpuUs,
                grabCpuUs);
  }
}

} // namespace

BENCHMARK_CAPTURE(CableToPlugin, melsor_paced, "Melsor_MD_VC80", PacedRate)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(CableToPlugin, dravik_paced, "Dravik_MD_VC80", PacedRate)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(CableToPlugin, melsor_free, "Melsor_MD_VC80", 5000.0)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(CableToPlugin, dravik_free, "Dravik_MD_VC80", 5000.0)
    ->Iterations(1)
    ->Unit(benchmark::kSecond)
    ->UseRealTime();

BENCHMARK_MAIN();
