// Frame delivery of the stream grabber, measured against limits taken in the same run:
// - FrameCopy: a FrameReady cycle (queue, deliver, retrieve) of a frame of 1 MB and more, in one
//   piece and pitched, against memcpy of the same bytes from the same places (line by line for a
//   pitched source): memcpy time / cycle time >= 0.95;
// - Overhead: the cycle with a 64-byte frame, less a 64-byte memcpy: <= 2 us per frame, and
//   register transactions per frame in steady state: 0;
// - Soak: a million frames from the plug-in's thread while application threads queue, retrieve,
//   cancel and finish; every buffer back exactly once.
#include "StreamRig.h"
#include "StreamStress.h"

#include <VorlaCLSerStreamGrabber.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr double CopyLimit = 0.95;
constexpr double OverheadLimitUs = 2.0;

struct SRig {
  SRig() : m_Grabber("Sapera", &m_Device) {}
  rig::CPluginRoot m_Root;
  rig::CTestDevice m_Device;
  Vorla::CVorlaCLSerStreamGrabber m_Grabber;
};

// One frame through the grabber as an application and a plug-in thread see it; the plug-in's
// side is called here directly so that only the stream grabber is measured.
struct SCycle {
  SCycle(SRig& rig, uint64_t lineLength, uint64_t pitch, int32_t lines)
      : m_Rig(rig), m_Source(pitch * lines, 0x5A), m_Buffer(lineLength * lines) {
    m_Frame.m_LineCount = lines;
    m_Frame.m_LineLength = lineLength;
    m_Frame.m_LinePitch = pitch;
    m_Frame.m_TotalSize = lineLength * lines;
    m_Frame.m_pData = m_Source.data();
    rig.m_Device.SetGeometry(static_cast<int64_t>(lineLength), lines, 0, 0,
                             static_cast<int64_t>(m_Buffer.size()), 1);
    Vorla::IStreamGrabber& g = rig.m_Grabber;
    g.Open();
    m_Handle = g.RegisterBuffer(m_Buffer.data(), m_Buffer.size());
    g.PrepareGrab();
    Run(); // fills the node map's cache and starts the plug-in
  }
  ~SCycle() {
    Vorla::IStreamGrabber& g = m_Rig.m_Grabber;
    g.FinishGrab();
    g.DeregisterBuffer(m_Handle);
    g.Close();
  }
  void Run() {
    Vorla::IStreamGrabber& g = m_Rig.m_Grabber;
    g.QueueBuffer(m_Handle, 0);
    m_Rig.m_Grabber.FrameReady(m_Frame);
    if (!g.GetWaitObject().Wait(0) || !g.RetrieveResult(m_Result) ||
        m_Result.m_Status != Vorla::Grabbed)
      std::abort();
  }
  // The same bytes from the same places by memcpy: line by line when the source is pitched.
  void Memcpy() {
    const uint64_t length = m_Frame.m_LineLength, pitch = m_Frame.m_LinePitch;
    if (pitch == length) {
      std::memcpy(m_Buffer.data(), m_Source.data(), m_Buffer.size());
    } else {
      for (int32_t line = 0; line < m_Frame.m_LineCount; ++line)
        std::memcpy(&m_Buffer[line * length], &m_Source[line * pitch], length);
    }
    benchmark::ClobberMemory();
  }
  // As many bytes in one piece: what a pitched source costs over a contiguous one.
  void MemcpyOnePiece() {
    std::memcpy(m_Buffer.data(), m_Source.data(), m_Buffer.size());
    benchmark::ClobberMemory();
  }

  SRig& m_Rig;
  std::vector<uint8_t> m_Source, m_Buffer;
  Vorla::FrameDescriptor m_Frame{};
  Vorla::StreamBufferHandle m_Handle = 0;
  Vorla::GrabResult m_Result;
};

// Alternates batches of cycles and memcpys so that both see the same machine state, and keeps
// each one's fastest batch: other processes on the machine only ever make a batch slower.
template <class A, class B> std::pair<double, double> Interleaved(A a, B b, int rounds, int n) {
  double ta = 1e9, tb = 1e9;
  for (int r = 0; r < rounds; ++r) {
    auto t0 = Clock::now();
    for (int i = 0; i < n; ++i)
      a();
    auto t1 = Clock::now();
    for (int i = 0; i < n; ++i)
      b();
    auto t2 = Clock::now();
    ta = std::min(ta, std::chrono::duration<double>(t1 - t0).count() / n);
    tb = std::min(tb, std::chrono::duration<double>(t2 - t1).count() / n);
  }
  return {ta, tb};
}

void FrameCopy(benchmark::State& state) {
  const bool pitched = state.range(0) != 0;
  SRig rig;
  // 2 MB of image either way; pitched lines leave 48 bytes of each 2 KB line out.
  SCycle cycle(rig, pitched ? 2000 : 2048, 2048, 1024);
  double ratio = 0, onePiece = 0;
  for (auto _ : state) {
    const auto times = Interleaved([&] { cycle.Run(); }, [&] { cycle.Memcpy(); }, 200, 1);
    ratio = times.second / times.first;
    const auto whole = Interleaved([&] { cycle.Run(); }, [&] { cycle.MemcpyOnePiece(); }, 200, 1);
    onePiece = whole.second / whole.first;
    state.SetIterationTime(times.first);
  }
  state.counters["memcpy_per_cycle"] = ratio;
  state.counters["limit"] = CopyLimit;
  std::printf("FrameReady copy of %zu bytes, %s: memcpy time / FrameReady cycle time %.3f "
              "(limit >= %.2f) %s",
              cycle.m_Buffer.size(), pitched ? "pitched" : "contiguous", ratio, CopyLimit,
              ratio >= CopyLimit ? "ok" : "UNDER");
  if (pitched)
    std::printf(" (against one memcpy of as many bytes: %.3f)", onePiece);
  std::printf("\n");
}

void Overhead(benchmark::State& state) {
  SRig rig;
  SCycle cycle(rig, 64, 64, 1);
  double overheadUs = 0, transactions = 0;
  for (auto _ : state) {
    const int before = rig.m_Device.m_Port.m_Reads + rig.m_Device.m_Port.m_Writes;
    const auto times = Interleaved([&] { cycle.Run(); }, [&] { cycle.Memcpy(); }, 100, 1000);
    transactions =
        double(rig.m_Device.m_Port.m_Reads + rig.m_Device.m_Port.m_Writes - before) / 100000;
    overheadUs = (times.first - times.second) * 1e6;
    state.SetIterationTime(times.first);
  }
  state.counters["overhead_us"] = overheadUs;
  state.counters["transactions_per_frame"] = transactions;
  std::printf("FrameReady cycle beyond the copy: %.3f us per frame (limit <= %.1f) %s; register "
              "transactions per frame %.0f (limit 0) %s\n",
              overheadUs, OverheadLimitUs, overheadUs <= OverheadLimitUs ? "ok" : "OVER",
              transactions, transactions == 0 ? "ok" : "OVER");
}

void Soak(benchmark::State& state) {
  SRig rig;
  testfg::IControl* control = rig::Control();
  rig::SStressOutcome outcome;
  for (auto _ : state)
    outcome = rig::RunStress(rig.m_Grabber, *control, 100, 10000);
  const uint64_t returned = outcome.m_Status[Vorla::Grabbed] + outcome.m_Status[Vorla::Canceled] +
                            outcome.m_Status[Vorla::Failed];
  std::printf("soak: %llu frames delivered, %llu grabbed, %llu cancelled, %llu failed, %llu "
              "errors, %llu buffers never returned: %s\n",
              (unsigned long long)outcome.m_Delivered,
              (unsigned long long)outcome.m_Status[Vorla::Grabbed],
              (unsigned long long)outcome.m_Status[Vorla::Canceled],
              (unsigned long long)outcome.m_Status[Vorla::Failed],
              (unsigned long long)outcome.m_Errors, (unsigned long long)outcome.m_Unreturned,
              outcome.m_Errors == 0 && outcome.m_Unreturned == 0 && returned > 0 ? "ok" : "FAILED");
  state.counters["errors"] = double(outcome.m_Errors + outcome.m_Unreturned);
}

} // namespace

BENCHMARK(FrameCopy)->Arg(0)->Arg(1)->Iterations(3)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Overhead)->Iterations(3)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(Soak)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv) {
  vxlog::LogSetFilter("512"); // no stream log lines (underruns) on the terminal
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
