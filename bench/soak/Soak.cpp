// Soak: four simulated cameras (vorla-camsim processes, each on its own pty and video channel)
// grab at once through both frame-grabber plug-ins, through the public SDK interfaces only.
// Each camera's thread re-queues buffers in random order, cancels, closes and re-opens; another
// thread writes camera nodes; every few minutes one camera is killed and restarted. Prints frames
// delivered, buffers lost or delivered twice, hangs (an operation over 10 s), removals reported
// per kill and peak memory. Not a test: run it by hand, from the build tree,
//   VORLA_TEST_BUILD_DIR=build/default build/default/bin/vorla_soak [seconds [kill-period
//   [nodes]]]
// with the nodes that the writer thread writes, comma-separated (Gain,ClPixelClock).
#include "SimulatorProcess.h"

#include <GenApi/GenApi.h>
#include <VorlaBase/VorlaBase.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <sys/resource.h>

using namespace Vorla;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int Cameras = 4;
constexpr int Buffers = 4;
constexpr auto HangLimit = std::chrono::seconds(10);

// The environment and the port configuration change when a camera comes back on a new pty:
// changes take this lock exclusively, everything that opens a port takes it shared. The
// transport layer's device book is one caller at a time (its contract): creation, destruction and
// enumeration take it too.
std::shared_timed_mutex g_environment;
std::mutex g_book;
std::atomic<bool> g_stop{false};

struct SCamera {
  int index = 0;
  std::string plugin;
  VorlaE2E::CSimulatorProcess simulator;
  std::string portId; // under g_environment
  std::atomic<bool> killed{false}, restarted{false};
  // Held while the device is made, closed, opened or destroyed, and by the node writer.
  std::mutex deviceLock;
  IVorlaDevice* device = nullptr;
  std::atomic<int> removals{0};
  // Figures.
  std::atomic<uint64_t> frames{0}, lost{0}, doubled{0}, hangs{0}, cycles{0}, cancels{0}, errors{0};
  std::vector<int> removalsPerKill; // by the camera's thread
  // The operation running now, for the watchdog.
  std::atomic<int64_t> opStartMs{0};
  std::atomic<const char*> opName{""};
  std::atomic<bool> opReported{false};
};

int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch())
      .count();
}

// Times one operation of a camera's thread; the watchdog sees it while it runs.
class COperation {
public:
  COperation(SCamera& camera, const char* name)
      : m_camera(camera), m_outerName(camera.opName), m_outerStartMs(camera.opStartMs),
        m_startMs(NowMs()) {
    camera.opName = name;
    camera.opStartMs = m_startMs;
  }
  ~COperation() {
    if (NowMs() - m_startMs > HangLimit.count() * 1000 && !m_camera.opReported.exchange(true))
      ++m_camera.hangs;
    m_camera.opName = m_outerName;
    m_camera.opStartMs = m_outerStartMs;
    if (m_outerStartMs == 0)
      m_camera.opReported = false;
  }

private:
  SCamera& m_camera;
  const char* const m_outerName;
  const int64_t m_outerStartMs;
  const int64_t m_startMs;
};

class CRemovalCounter : public DeviceCallback {
public:
  explicit CRemovalCounter(SCamera& camera) : m_camera(camera) {}
  void operator()(IVorlaDevice*) const override { ++m_camera.removals; }
  DeviceCallback* Clone() const override { return new CRemovalCounter(m_camera); }

private:
  SCamera& m_camera;
};

struct SSetup {
  std::string folder;
  SCamera cameras[Cameras];
  int configurationVersion = 0;

  // Under g_environment, exclusively.
  void PublishPorts() {
    std::string ttys, ports;
    for (SCamera& c : cameras) {
      c.portId = c.simulator.PortID();
      ttys += (ttys.empty() ? "" : ":") + c.simulator.SlavePath();
      ports += "<Port><ID>" + c.portId +
               "</ID><Enabled>yes</Enabled><Manufacturer>Hexmar</Manufacturer>"
               "<DeviceSpecificString>" +
               c.plugin + " Board=" + std::to_string(::getpid()) +
               " Channel=" + std::to_string(c.index) + "</DeviceSpecificString></Port>";
    }
    ::setenv("CLSERTTY_PORTS", ttys.c_str(), 1);
    const std::string file = folder + "/PortConfiguration_x64.xml";
    std::ofstream(file) << "<CLBindings>" << ports << "</CLBindings>\n";
    // A new modification time even within the file system's clock resolution.
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() +
                                               std::chrono::seconds(++configurationVersion));
  }
};

bool StartSimulator(SCamera& c) {
  const std::string board = std::to_string(::getpid());
  if (!c.simulator.Start({"--serial", "SOAK" + std::to_string(c.index), "--board", board,
                          "--channel", std::to_string(c.index), "--sensor-width", "320",
                          "--sensor-height", "240"})) {
    std::fprintf(stderr, "camera %d: %s\n", c.index, c.simulator.Error().c_str());
    return false;
  }
  return true;
}

// One camera's grab, from creation of its device to its destruction.
class CGrab {
public:
  CGrab(ITransportLayer& tl, SCamera& camera, std::mt19937& random)
      : m_tl(tl), m_camera(camera), m_random(random) {}

  // Runs until the soak ends or the camera is killed; false when the device could not be made.
  bool Run() {
    if (!Create())
      return false;
    try {
      StartSession();
      while (!g_stop && !m_camera.killed)
        Step();
    } catch (const std::exception& e) {
      if (!m_camera.killed)
        ++m_camera.errors, std::fprintf(stderr, "camera %d: %s\n", m_camera.index, e.what());
    }
    Destroy();
    return true;
  }

private:
  struct SBuffer {
    std::vector<uint8_t> memory;
    StreamBufferHandle handle = 0;
    bool queued = false;
  };

  bool Create() {
    COperation op(m_camera, "create");
    std::shared_lock<std::shared_timed_mutex> environment(g_environment);
    std::lock_guard<std::mutex> book(g_book);
    DeviceInfoList list;
    m_tl.EnumerateDevices(list);
    for (const CDeviceInfo& info : list) {
      gcstring port;
      if (info.GetPropertyValue("PortID", port) && port == m_camera.portId.c_str()) {
        std::lock_guard<std::mutex> guard(m_camera.deviceLock);
        try {
          IVorlaDevice* device = m_tl.CreateDevice(info);
          device->Open(Control);
          device->RegisterRemovalCallback(m_removal);
          m_camera.device = device;
          return true;
        } catch (const std::exception& e) {
          std::fprintf(stderr, "camera %d: creation: %s\n", m_camera.index, e.what());
          return false;
        }
      }
    }
    return false;
  }

  void Destroy() {
    COperation op(m_camera, "destroy");
    try {
      EndSession();
    } catch (const std::exception&) {
      // a killed camera fails here; what was lost is counted in EndSession
    }
    std::lock_guard<std::mutex> book(g_book);
    std::lock_guard<std::mutex> guard(m_camera.deviceLock);
    try {
      if (m_camera.device->IsOpen())
        m_camera.device->Close();
    } catch (const std::exception&) {
    }
    m_tl.DestroyDevice(m_camera.device);
    m_camera.device = nullptr;
  }

  IStreamGrabber& Stream() { return *m_camera.device->GetStreamGrabber(0); }
  GenApi::INodeMap& Camera() { return *m_camera.device->GetNodeMap(); }
  void Execute(const char* command) {
    dynamic_cast<GenApi::ICommand&>(*Camera().GetNode(command)).Execute();
  }

  void StartSession() {
    COperation op(m_camera, "start");
    const auto payload = static_cast<size_t>(
        dynamic_cast<GenApi::IInteger&>(*Camera().GetNode("PayloadSize")).GetValue());
    IStreamGrabber& stream = Stream();
    stream.Open();
    m_held.clear();
    m_buffers.assign(Buffers, SBuffer());
    for (SBuffer& b : m_buffers) {
      b.memory.resize(payload);
      b.handle = stream.RegisterBuffer(b.memory.data(), b.memory.size());
    }
    stream.PrepareGrab();
    for (SBuffer& b : m_buffers)
      Queue(b);
    Execute("AcquisitionStart");
    m_session = true;
  }

  void EndSession() {
    if (!m_session)
      return;
    m_session = false;
    IStreamGrabber& stream = Stream();
    try {
      Execute("AcquisitionStop");
    } catch (const std::exception&) {
      // the camera may be gone; the grab ends all the same
    }
    stream.CancelGrab();
    Drain();
    CountLost();
    stream.FinishGrab();
    for (SBuffer& b : m_buffers)
      stream.DeregisterBuffer(b.handle);
    stream.Close();
  }

  void Queue(SBuffer& b) {
    Stream().QueueBuffer(b.handle);
    b.queued = true;
  }

  SBuffer* Find(StreamBufferHandle handle) {
    for (SBuffer& b : m_buffers)
      if (b.handle == handle)
        return &b;
    return nullptr;
  }

  // Takes every result there is; the buffers come back to the application.
  std::vector<SBuffer*> Drain() {
    std::vector<SBuffer*> back;
    GrabResult result;
    while (Stream().RetrieveResult(result)) {
      SBuffer* b = Find(result.m_hBuffer);
      if (!b || !b->queued) {
        ++m_camera.doubled;
        continue;
      }
      b->queued = false;
      if (result.m_Status == Grabbed)
        ++m_camera.frames;
      back.push_back(b);
    }
    return back;
  }

  void CountLost() {
    for (SBuffer& b : m_buffers)
      if (b.queued) {
        ++m_camera.lost;
        b.queued = false;
      }
  }

  void Step() {
    const int dice = std::uniform_int_distribution<int>(0, 99)(m_random);
    if (dice < 2) { // close and re-open everything
      COperation op(m_camera, "close and re-open");
      EndSession();
      {
        std::shared_lock<std::shared_timed_mutex> environment(g_environment);
        std::lock_guard<std::mutex> guard(m_camera.deviceLock);
        m_camera.device->Close();
        m_camera.device->Open(Control); // the removal callback stays registered
      }
      StartSession();
      ++m_camera.cycles;
      return;
    }
    if (dice < 7) { // cancel: every queued buffer comes back, and is queued again
      COperation op(m_camera, "cancel");
      Stream().CancelGrab();
      Drain();
      CountLost();
      m_held.clear();
      for (SBuffer& b : m_buffers)
        Queue(b);
      ++m_camera.cancels;
      return;
    }
    COperation op(m_camera, "wait and re-queue");
    if (!Stream().GetWaitObject().Wait(1000))
      return;
    std::vector<SBuffer*> back = Drain();
    // Random order; now and then one is kept back for a while.
    std::shuffle(back.begin(), back.end(), m_random);
    for (SBuffer* b : back)
      if (std::uniform_int_distribution<int>(0, 9)(m_random) != 0)
        Queue(*b);
      else
        m_held.push_back(b);
    if (m_held.size() > 1 || (!m_held.empty() && back.empty())) {
      for (SBuffer* b : m_held)
        Queue(*b);
      m_held.clear();
    }
  }

  ITransportLayer& m_tl;
  SCamera& m_camera;
  std::mt19937& m_random;
  CRemovalCounter m_removal{m_camera};
  std::vector<SBuffer> m_buffers;
  std::vector<SBuffer*> m_held;
  bool m_session = false;
};

void CameraThread(ITransportLayer& tl, SCamera& camera, unsigned seed) {
  std::mt19937 random(seed);
  while (!g_stop) {
    camera.removals = 0;
    CGrab grab(tl, camera, random);
    const bool made = grab.Run();
    if (camera.killed) {
      camera.removalsPerKill.push_back(camera.removals.exchange(0));
      while (!camera.restarted && !g_stop)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      camera.restarted = false;
      camera.killed = false;
    } else if (camera.removals != 0) {
      ++camera.errors; // a removal without a kill
      std::fprintf(stderr, "camera %d: removal without a kill\n", camera.index);
    }
    if (!made && !g_stop)
      std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
}

// Writes camera nodes from a thread of its own (the plug-ins watch ClPixelClock).
void NodeWriter(SSetup& setup, std::vector<std::string> nodes) {
  for (unsigned i = 0; !g_stop; ++i) {
    for (SCamera& c : setup.cameras) {
      std::lock_guard<std::mutex> guard(c.deviceLock);
      if (!c.device || !c.device->IsOpen())
        continue;
      try {
        const std::string& name = nodes[i % nodes.size()];
        auto* value = dynamic_cast<GenApi::IValue*>(c.device->GetNodeMap()->GetNode(name.c_str()));
        if (value && GenApi::IsWritable(value))
          value->FromString(value->ToString(false, true));
      } catch (const std::exception&) {
        // a killed camera: its removal is counted by its callback
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
}

long CurrentRssKb() {
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

} // namespace

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::atoi(argv[1]) : 120;
  const int killPeriod = argc > 2 ? std::atoi(argv[2]) : 45;
  std::vector<std::string> nodes;
  std::stringstream nodeList(argc > 3 ? argv[3] : "Gain,ClPixelClock");
  for (std::string name; std::getline(nodeList, name, ',');)
    nodes.push_back(name);
  if (VorlaE2E::CSimulatorProcess::Executable().empty()) {
    std::fprintf(stderr, "set VORLA_TEST_BUILD_DIR to the build tree\n");
    return 2;
  }
  auto setup = std::make_unique<SSetup>();
  char pattern[] = "/tmp/vorla-soak-XXXXXX";
  setup->folder = ::mkdtemp(pattern);
  ::setenv("VORLA_CL_BINDINGS", setup->folder.c_str(), 1);
  ::unsetenv("VORLA_ROOT");
  for (int i = 0; i < Cameras; ++i) {
    SCamera& c = setup->cameras[i];
    c.index = i;
    c.plugin = i % 2 ? "NI-IMAQ" : "Sapera"; // the Melsor and the Dravik plug-in
    if (!StartSimulator(c))
      return 1;
  }
  setup->PublishPorts();

  CTlFactory& factory = CTlFactory::GetInstance();
  ITransportLayer* tl = factory.CreateTl("HexmarCameraLink");
  if (!tl) {
    std::fprintf(stderr, "no transport layer\n");
    return 1;
  }
  const auto start = Clock::now();
  std::vector<std::thread> threads;
  for (SCamera& c : setup->cameras)
    threads.emplace_back(CameraThread, std::ref(*tl), std::ref(c), 1234u + c.index);
  std::thread writer(NodeWriter, std::ref(*setup), nodes);

  // The main thread: watchdog, killer, memory.
  long rssAfterMinute = 0;
  int kills = 0, next = 0;
  auto nextKill = start + std::chrono::seconds(killPeriod);
  while (Clock::now() < start + std::chrono::seconds(seconds)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    for (SCamera& c : setup->cameras) {
      const int64_t began = c.opStartMs;
      if (began != 0 && NowMs() - began > HangLimit.count() * 1000 &&
          !c.opReported.exchange(true)) {
        ++c.hangs;
        std::fprintf(stderr, "camera %d: '%s' hangs\n", c.index, c.opName.load());
      }
    }
    if (rssAfterMinute == 0 && Clock::now() > start + std::chrono::minutes(1))
      rssAfterMinute = CurrentRssKb();
    if (Clock::now() >= nextKill) {
      SCamera& victim = setup->cameras[next];
      next = (next + 1) % Cameras;
      victim.killed = true;
      victim.simulator.Stop();
      ++kills;
      std::this_thread::sleep_for(std::chrono::seconds(3));
      if (!StartSimulator(victim))
        return 1;
      std::unique_lock<std::shared_timed_mutex> environment(g_environment, std::defer_lock);
      if (environment.try_lock_for(HangLimit)) {
        setup->PublishPorts();
        environment.unlock();
        victim.restarted = true;
      } else {
        ++victim.hangs; // another camera's thread hangs while it holds the environment
        std::fprintf(stderr, "camera %d: cannot be restarted\n", victim.index);
      }
      nextKill = Clock::now() + std::chrono::seconds(killPeriod);
    }
  }
  g_stop = true;
  // Threads that hang are reported, not waited for.
  const auto giveUp = Clock::now() + HangLimit + std::chrono::seconds(5);
  bool stuck = false;
  for (SCamera& c : setup->cameras)
    while (c.opStartMs != 0 && Clock::now() < giveUp)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
  for (SCamera& c : setup->cameras)
    stuck = stuck || c.opStartMs != 0;

  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  uint64_t frames = 0, lost = 0, doubled = 0, hangs = 0, errors = 0, removalMismatches = 0;
  std::printf("soak: %d s, %d cameras, %d kills\n", seconds, Cameras, kills);
  for (SCamera& c : setup->cameras) {
    std::string perKill;
    for (int r : c.removalsPerKill) {
      perKill += (perKill.empty() ? "" : ",") + std::to_string(r);
      removalMismatches += r != 1;
    }
    std::printf("camera %d (%-7s): frames %llu, lost %llu, doubled %llu, hangs %llu, cancels %llu, "
                "re-opens %llu, errors %llu, removals per kill [%s]\n",
                c.index, c.plugin.c_str(), (unsigned long long)c.frames.load(),
                (unsigned long long)c.lost.load(), (unsigned long long)c.doubled.load(),
                (unsigned long long)c.hangs.load(), (unsigned long long)c.cancels.load(),
                (unsigned long long)c.cycles.load(), (unsigned long long)c.errors.load(),
                perKill.c_str());
    frames += c.frames;
    lost += c.lost;
    doubled += c.doubled;
    hangs += c.hangs;
    errors += c.errors;
  }
  std::printf("total: frames %llu, lost %llu, doubled %llu, hangs %llu, errors %llu, kills with "
              "other than one removal %llu\n",
              (unsigned long long)frames, (unsigned long long)lost, (unsigned long long)doubled,
              (unsigned long long)hangs, (unsigned long long)errors,
              (unsigned long long)removalMismatches);
  std::printf("memory: peak %ld kB, after the first minute %ld kB, at the end %ld kB\n",
              usage.ru_maxrss, rssAfterMinute, CurrentRssKb());
  std::fflush(stdout);
  if (stuck || hangs != 0)
    std::_Exit(3); // a hung thread cannot be joined
  writer.join();
  for (std::thread& t : threads)
    t.join();
  factory.ReleaseTl(tl);
  std::filesystem::remove_all(setup->folder);
  return lost || doubled || hangs || removalMismatches ? 1 : 0;
}
