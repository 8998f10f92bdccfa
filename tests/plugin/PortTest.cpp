#include "LoopbackRig.h"
#include "TestSupport.h"
#include "VorlaCLSerPort.h"

#include <CLProtocol/CLPort.h>
#include <GenApi/GenApi.h>
#include <camsim/CameraXml.h>

#include <platform/TimerQueue.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <future>
#include <thread>

using namespace Vorla;
using testsupport::Thrown;

namespace {
constexpr int64_t SerialNumberAddress = 0x144; // bootstrap register, 64 bytes

// The device side of a port: counts removals, may hold a camera node map.
class CSink : public IVorlaCLSerRemovalSink {
public:
  void NotifyRemoval() override {
    ++m_removals;
    if (m_onRemoval)
      m_onRemoval();
  }
  bool IsDeviceOpen() const override { return m_open; }
  GenApi::INodeMap* GetCameraNodeMap() override {
    if (m_onNodeMap)
      m_onNodeMap();
    return m_nodeMap._Ptr;
  }

  std::atomic<int> m_removals{0};
  std::function<void()> m_onRemoval; // runs with the port lock held
  std::function<void()> m_onNodeMap; // runs in a probe's quick check
  bool m_open = true;
  GenApi::CNodeMapRef m_nodeMap;
};

std::string ReadSerial(CVorlaCLSerPort& port) {
  char text[64] = {};
  port.Read(text, SerialNumberAddress, sizeof text);
  return std::string(text, strnlen(text, sizeof text));
}

// The full DeviceID of the camera on a loopback port, as discovery finds it.
gcstring DeviceIdOn(size_t port) {
  gcstring_vector templates;
  CLProtocol::CCLPort::GetDeviceIDTemplates(templates);
  for (const gcstring& t : templates) {
    const gcstring id = CLProtocol::CCLPort::ProbeDevice(rig::PortId(port), t, 400);
    if (!id.empty())
      return id;
  }
  return gcstring();
}

// Camera "SN1" on loopback port 0, its port connected with a device open on it.
struct COpenDevice {
  std::shared_ptr<camsim::CCameraModel> camera = rig::Attach(0, "SN1");
  gcstring deviceId = DeviceIdOn(0);
  CSink sink;
  CVorlaCLSerPort port{rig::PortId(0)};

  COpenDevice() {
    EXPECT_TRUE(port.ConnectDevice(deviceId));
    port.SetRemovalSink(&sink);
  }
};

using Port = rig::CLoopbackTest;
} // namespace

TEST_F(Port, ConnectsReadsAndReconnectsAfterInactivity) {
  COpenDevice d;
  CVorlaCLSerPort& port = d.port;
  EXPECT_EQ(port.GetAccessMode(), GenApi::RW);
  EXPECT_EQ(m_log.Count("Successfully created/connected deviceID '" + d.deviceId + "' on '" +
                        rig::PortId(0) + "'."),
            1u);
  EXPECT_FALSE(port.ConnectDevice(d.deviceId)); // already connected
  EXPECT_EQ(ReadSerial(port), "SN1");

  port.SetAutoCloseTimeout(10);
  ASSERT_TRUE(rig::Eventually([&] { return !port.IsConnected(); }));
  EXPECT_EQ(m_log.Count("AutoClosing CLPort '" + rig::PortId(0) + "' due to inactivity."), 1u);
  port.SetAutoCloseTimeout(0);
  EXPECT_EQ(ReadSerial(port), "SN1"); // the device id was kept for the reopen
  EXPECT_EQ(m_log.Count("Reopening CLPort '" + rig::PortId(0) + "'"), 1u);
  EXPECT_TRUE(port.IsConnected());

  EXPECT_TRUE(port.Close(false));
  EXPECT_EQ(m_log.Count("Closed CLPort '" + rig::PortId(0) + "'"), 1u);
  // A fully closed port forgot its device id and cannot reopen.
  EXPECT_EQ(Thrown<GenICam::RuntimeException>([&] { ReadSerial(port); }),
            "Could not reopen CLPort '" + rig::PortId(0) + "'");
}

TEST_F(Port, AVanishedCameraIsRemovedOnceAndLaterAccessFailsWithoutTraffic) {
  COpenDevice d;

  camsim::CLoopbackBus::Instance().Detach(0);
  EXPECT_THROW(ReadSerial(d.port), CLProtocol::CLErrException);
  EXPECT_EQ(m_log.CountContaining("Could not read from CLSer port '" + rig::PortId(0) +
                                  "'. CL Error: -10004"), // CL_ERR_TIMEOUT
            1u);
  EXPECT_EQ(d.sink.m_removals, 1);
  EXPECT_EQ(m_log.Count("Device removal for PortID '" + rig::PortId(0) + "' DeviceID '" +
                        d.deviceId + "' detected. Firing removal callbacks."),
            1u);

  camsim::CLoopbackBus::Instance().Attach(0, d.camera); // back, but the port stays removed
  const auto commands = d.camera->Statistics().m_Commands;
  const char data[4] = {};
  EXPECT_EQ(Thrown<GenICam::RuntimeException>([&] { d.port.Write(data, 0x10000, 4); }),
            "Device '" + rig::PortId(0) + "' already removed/disconnected.");
  EXPECT_EQ(d.camera->Statistics().m_Commands, commands);
  EXPECT_EQ(d.sink.m_removals, 1);

  d.port.Close(false); // a full close clears the removal: the port is merely closed now
  EXPECT_EQ(Thrown<GenICam::RuntimeException>([&] { ReadSerial(d.port); }),
            "Could not reopen CLPort '" + rig::PortId(0) + "'");
}

// A reopen that finds no device (time-out, a noisy line) fires the removal at once; any other
// failure (another camera answers) fires it through the access that fails.
TEST_F(Port, AFailedReopenFiresRemovalOnce) {
  struct Case {
    CLINT32 code; // 0: not a no-device code
    std::function<void(const std::shared_ptr<camsim::CCameraModel>&)> loseCamera;
  };
  const Case cases[] = {
      {CL_ERR_TIMEOUT, [](const auto&) { camsim::CLoopbackBus::Instance().Detach(0); }},
      {-30209, // the line answers, but with noise
       [](const auto& camera) {
         camsim::SFaultPlan noise;
         noise.m_CorruptEvery = 1;
         camera->InjectFaults(noise);
       }},
      {0, [](const auto&) { rig::Attach(0, "SN2"); }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.code);
    m_log.Clear();
    COpenDevice d;
    ASSERT_TRUE(d.port.Close(true)); // as the inactivity timer does

    c.loseCamera(d.camera);
    EXPECT_FALSE(d.port.Reopen());
    if (c.code != 0) {
      EXPECT_EQ(m_log.CountContaining("Could not connect CLPort '" + rig::PortId(0) +
                                      "' DeviceID '" + d.deviceId +
                                      "' Error: " + std::to_string(c.code) + " '"),
                1u);
      EXPECT_EQ(m_log.Count("Could not reopen CLPort '" + rig::PortId(0) + "'"), 1u);
    }
    EXPECT_EQ(d.sink.m_removals, c.code != 0 ? 1 : 0);
    EXPECT_THROW(ReadSerial(d.port), GenICam::RuntimeException); // never a second firing
    EXPECT_EQ(d.sink.m_removals, 1);
  }
}

TEST_F(Port, DescriptionIsReadOnceAndAClosedPortIsClosedAgain) {
  auto camera = rig::Attach(0, "SN1");
  const gcstring deviceId = DeviceIdOn(0);
  CVorlaCLSerPort port(rig::PortId(0));

  EXPECT_TRUE(port.HasXML(deviceId));
  EXPECT_FALSE(port.IsConnected());
  EXPECT_EQ(m_log.Count("Closed CLPort '" + rig::PortId(0) + "'"), 1u);

  ASSERT_TRUE(port.ConnectDevice(deviceId));
  const auto commands = camera->Statistics().m_Commands;
  gcstring xml;
  port.GetXML(xml, deviceId); // served from what HasXML read
  EXPECT_EQ(xml, camsim::CameraXml());
  EXPECT_EQ(camera->Statistics().m_Commands, commands);
  EXPECT_TRUE(port.IsConnected());

  CVorlaCLSerPort empty(rig::PortId(1));
  EXPECT_EQ(Thrown<GenICam::RuntimeException>([&] { empty.GetXML(xml, deviceId); }),
            "Could not open port '" + deviceId + "'");
}

TEST_F(Port, ProbeStopsAtNoDeviceAndRetriesOtherErrors) {
  CVorlaCLSerPort port(rig::PortId(2));
  gcstring_vector templates;
  CLProtocol::CCLPort::GetDeviceIDTemplates(templates);
  ASSERT_FALSE(templates.empty());
  const gcstring hexmar = templates[0];
  gcstring answer = "stale";
  const gcstring_vector twice{hexmar, hexmar};
  port.Probe(answer, &twice);
  EXPECT_EQ(answer, "");
  EXPECT_EQ(m_log.Count("Seems there is no device connected to port '" + rig::PortId(2) +
                        "'. Skipping further probes."),
            1u); // the second template is never tried

  m_log.Clear();
  rig::Attach(2, "SN3");
  const gcstring_vector badThenGood{hexmar + "#1#2#3#4#5", hexmar}; // eight tokens: refused
  port.Probe(answer, &badThenGood);
  EXPECT_EQ(m_log.Count("Error accessing port '" + rig::PortId(2) + "'. Retrying!"), 1u);
  EXPECT_NE(answer.find("#SN3"), gcstring::npos) << answer;
}

TEST_F(Port, ProbeOfAnOpenDeviceAsksTheCameraForItsSerialNumberAndHoldsTheDevice) {
  COpenDevice d;

  gcstring answer;
  d.port.Probe(answer); // no node map yet: full probe, the port reconnects afterwards
  EXPECT_EQ(m_log.Count("Device is opened but 'DeviceID' node not found. Performing a full probe."),
            1u);
  EXPECT_EQ(answer, d.deviceId);
  EXPECT_TRUE(d.port.IsConnected());

  d.sink.m_nodeMap._LoadXMLFromString(camsim::CameraXml());
  ASSERT_TRUE(d.sink.m_nodeMap._Connect(&d.port));
  d.port.Probe(answer);
  EXPECT_EQ(answer, d.deviceId);
  EXPECT_EQ(d.sink.m_removals, 0);

  rig::Attach(0, "SN9"); // the camera was swapped while open
  d.port.Probe(answer);
  EXPECT_EQ(answer, "");
  EXPECT_EQ(d.sink.m_removals, 1);

  // A device's Close replaces the sink before the device is destroyed: that waits while a probe
  // on another thread is inside its quick check.
  std::promise<void> inside, release;
  d.sink.m_onNodeMap = [&] {
    inside.set_value();
    release.get_future().wait();
  };
  auto probe = std::async(std::launch::async, [&] { d.port.Probe(answer); });
  inside.get_future().wait();
  auto replaced = std::async(std::launch::async, [&] { d.port.SetRemovalSink(nullptr); });
  EXPECT_TRUE(replaced.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout)
      << "the device could be destroyed while the probe uses it";
  release.set_value();
}

// One timer thread serves every port: an access holding the port lock for long (a description
// download at 9600 baud holds it for minutes) must hold up neither that thread nor a change of
// the timeout, and the timer's close is dropped once the access succeeds and re-arms.
TEST_F(Port, ALongAccessHoldsUpNeitherTheTimerThreadNorATimeoutChange) {
  COpenDevice d;
  struct Witness {
    std::atomic<bool> accessRunning{true};
    std::atomic<int> sawAccessRunning{-1};
    static void Run(void* self) {
      auto* w = static_cast<Witness*>(self);
      w->sawAccessRunning = w->accessRunning ? 1 : 0;
    }
  } witness;
  Platform::CTimerQueue other;

  d.port.SetAutoCloseTimeout(30); // fires during the read below
  camsim::SFaultPlan slow;
  slow.m_DelayNext = 1;
  slow.m_DelayMs = 300;
  d.camera->InjectFaults(slow);
  std::thread reader([&] {
    EXPECT_EQ(ReadSerial(d.port), "SN1");
    witness.accessRunning = false;
  });
  other.CreateTimer(120, &Witness::Run, &witness);
  ASSERT_TRUE(rig::Eventually([&] { return witness.sawAccessRunning >= 0; }));
  EXPECT_EQ(witness.sawAccessRunning, 1);
  d.port.SetAutoCloseTimeout(0);
  EXPECT_TRUE(witness.accessRunning); // returned without waiting for the reader
  reader.join();
  EXPECT_TRUE(d.port.IsConnected());
  EXPECT_EQ(m_log.CountContaining("AutoClosing"), 0u);
}

// When the access that held the lock fails, nothing re-arms: the close that came due meanwhile
// waited for the lock on the timer's worker and happens once the access is over.
TEST_F(Port, AnInactivityCloseWaitingForAFailedAccessHappensAfterIt) {
  COpenDevice d;
  d.sink.m_onRemoval = [] { std::this_thread::sleep_for(std::chrono::milliseconds(100)); };
  d.port.SetAutoCloseTimeout(20); // fires while the removal callback holds the port lock
  camsim::CLoopbackBus::Instance().Detach(0);
  EXPECT_THROW(ReadSerial(d.port), CLProtocol::CLErrException);
  ASSERT_TRUE(rig::Eventually([&] { return !d.port.IsConnected(); }));
  EXPECT_EQ(m_log.Count("AutoClosing CLPort '" + rig::PortId(0) + "' due to inactivity."), 1u);
}
