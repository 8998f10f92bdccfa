// The Dravik and Melsor plug-ins loaded as the host loads them, fed by an in-process camera.
#include "CameraRegisters.h"
#include "TestSupport.h"

#include <camsim/TestPattern.h>
#include <platform/DynamicLibrary.h>
#include <videocable/CableWriter.h>
#include <vorla/IFrameGrabber.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

using namespace camtest;
using camsim::CCameraModel;
using camsim::CTestPattern;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace {

//! Plays the transport layer's stream grabber: checks every frame, keeps node registrations.
class CTestCallee : public Vorla::FgCallee {
public:
  bool FrameReady(const Vorla::FrameDescriptor&) override {
    ADD_FAILURE() << "the shipped plug-ins hand over the frame's time stamp";
    return false;
  }
  void Warning(const char*) override {}
  bool FrameReadyAt(const Vorla::FrameDescriptor& d, uint64_t timeStampNs) override {
    std::unique_lock<std::mutex> lock(m_Mutex);
    EXPECT_FALSE(m_InFrame) << "two deliveries at once";
    m_InFrame = true;
    const CTestPattern::SGeometry geometry = m_Geometry;
    const milliseconds delay = m_Delay;
    lock.unlock();
    m_Changed.notify_all();
    const auto* data = static_cast<const std::uint8_t*>(d.m_pData);
    const bool good = d.m_LineLength * static_cast<std::uint64_t>(d.m_LineCount) ==
                          CTestPattern::FrameSize(geometry) &&
                      CTestPattern::Check(data, d.m_TotalSize, geometry, d.m_LinePitch);
    std::this_thread::sleep_for(delay);
    lock.lock();
    m_Frames.push_back(d);
    m_TimeStamps.push_back(timeStampNs);
    m_Numbers.push_back(CTestPattern::FrameNumber(data, d.m_TotalSize));
    m_Bad += good ? 0 : 1;
    m_InFrame = false;
    m_Changed.notify_all();
    return false;
  }
  uintptr_t RegisterNodeCallback(const char* name, Vorla::PluginNodeCallback callback,
                                 uint64_t context, uint32_t cookie) override {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Nodes[name] = {callback, context, cookie};
    return m_Nodes.size();
  }
  bool DeregisterNodeCallback(uintptr_t handle) override {
    std::lock_guard<std::mutex> lock(m_Mutex);
    ++m_Deregistered;
    return handle != 0;
  }
  //! What the stream grabber's node-change handler does when the camera node changes.
  void Fire(const std::string& node, int64_t value) {
    SNode n;
    {
      std::lock_guard<std::mutex> lock(m_Mutex);
      ASSERT_TRUE(m_Nodes.count(node)) << node;
      n = m_Nodes[node];
    }
    n.m_Callback(value, n.m_Context, n.m_Cookie);
  }
  bool WaitFor(const std::function<bool()>& condition) {
    std::unique_lock<std::mutex> lock(m_Mutex);
    return m_Changed.wait_for(lock, std::chrono::seconds(5), condition);
  }
  std::size_t Frames() {
    std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Frames.size();
  }

  struct SNode {
    Vorla::PluginNodeCallback m_Callback = nullptr;
    uint64_t m_Context = 0;
    uint32_t m_Cookie = 0;
  };
  // Owned by the callee; guards everything below.
  std::mutex m_Mutex;
  std::condition_variable m_Changed;
  CTestPattern::SGeometry m_Geometry{256, 64, 0, 0, Mono8};
  milliseconds m_Delay{0};
  bool m_InFrame = false;
  std::vector<Vorla::FrameDescriptor> m_Frames;
  std::vector<std::uint64_t> m_TimeStamps;
  std::vector<std::uint64_t> m_Numbers;
  int m_Bad = 0;
  std::map<std::string, SNode> m_Nodes;
  int m_Deregistered = 0;
};

struct SPlugin {
  const char* m_Name;
  bool m_Pitched;
};

class FrameGrabber : public ::testing::TestWithParam<SPlugin> {
protected:
  void SetUp() override {
    const std::string suffix =
        Vorla::Platform::CDynamicLibrary::Suffix(); // modules: bin/ on Windows
    const std::string path = testsupport::BuildDir() + (suffix == ".dll" ? "/bin" : "/lib") +
                             "/vorla/fg/" + GetParam().m_Name + suffix;
    ASSERT_TRUE(m_Library.Load(path)) << m_Library.LastError();
    const auto create = reinterpret_cast<Vorla::CreateFrameGrabberObjectFunction>(
        m_Library.Symbol(Vorla::CreateFrameGrabberObjectName));
    m_Destroy = reinterpret_cast<Vorla::DestroyFrameGrabberObjectFunction>(
        m_Library.Symbol(Vorla::DestroyFrameGrabberObjectName));
    ASSERT_TRUE(create && m_Destroy);
    m_Grabber = create(Parameters().c_str());
    ASSERT_NE(m_Grabber, nullptr);
    m_Camera = std::make_unique<CCameraModel>(VideoOptions(2));
    ASSERT_EQ(WriteFrameRate(*m_Camera, 500.0), 0);
  }
  void TearDown() override {
    if (m_Grabber)
      m_Destroy(m_Grabber);
  }
  static std::string Parameters(std::uint32_t channel = 2) {
    return "Sapera Board=" + std::to_string(VideoOptions(channel).m_VideoBoard) +
           " Channel=" + std::to_string(channel);
  }
  std::string ErrorText() {
    const size_t length = m_Grabber->GetLastErrorText(nullptr, 0);
    std::string text(length + 1, '?');
    EXPECT_EQ(m_Grabber->GetLastErrorText(&text[0], length + 1), length);
    EXPECT_EQ(text[length], 0);
    text.resize(length);
    return text;
  }
  void StartGrabbing() {
    ASSERT_TRUE(m_Grabber->Open(Parameters().c_str(), &m_Callee)) << ErrorText();
    ASSERT_TRUE(m_Grabber->StartGrab()) << ErrorText();
    ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  }
  bool WaitFrames(std::size_t n) {
    return m_Callee.WaitFor([&] { return m_Callee.m_Frames.size() >= n; });
  }

  Vorla::Platform::CDynamicLibrary m_Library;
  Vorla::DestroyFrameGrabberObjectFunction m_Destroy = nullptr;
  Vorla::IFrameGrabber* m_Grabber = nullptr;
  std::unique_ptr<CCameraModel> m_Camera;
  CTestCallee m_Callee;
};

} // namespace

TEST_P(FrameGrabber, DeliversWholeFramesInOrderInItsLineLayout) {
  StartGrabbing();
  ASSERT_TRUE(WaitFrames(10));
  ASSERT_TRUE(m_Grabber->StopGrab());
  std::lock_guard<std::mutex> lock(m_Callee.m_Mutex);
  EXPECT_EQ(m_Callee.m_Bad, 0);
  for (std::size_t i = 0; i < m_Callee.m_Frames.size(); ++i) {
    const Vorla::FrameDescriptor& d = m_Callee.m_Frames[i];
    EXPECT_EQ(d.m_LineCount, 64);
    EXPECT_EQ(d.m_LineLength, 256u);
    EXPECT_EQ(d.m_FrameValue, static_cast<int32_t>(m_Callee.m_Numbers[i]));
    if (i) {
      EXPECT_GT(m_Callee.m_Numbers[i], m_Callee.m_Numbers[i - 1]);
      EXPECT_GT(m_Callee.m_TimeStamps[i], m_Callee.m_TimeStamps[i - 1]);
    }
    if (GetParam().m_Pitched) {
      EXPECT_EQ(d.m_LinePitch % 256, 0u);
      EXPECT_GT(d.m_LinePitch, d.m_LineLength);
      EXPECT_EQ(d.m_TotalSize, d.m_LinePitch * 64);
    } else {
      EXPECT_EQ(d.m_LinePitch, d.m_LineLength);
      EXPECT_EQ(d.m_TotalSize, 256u * 64);
    }
  }
  const auto lost = m_Grabber->QueryValue(0xC201);
  EXPECT_EQ(static_cast<std::uint64_t>(m_Grabber->QueryValue(0xC200)), m_Callee.m_Frames.size());
  EXPECT_EQ(m_Callee.m_Numbers.back() - m_Callee.m_Numbers.front() + 1,
            m_Callee.m_Frames.size() + static_cast<std::uint64_t>(lost));
}

TEST_P(FrameGrabber, FollowsTheCameraThroughNodeCallbacks) {
  StartGrabbing();
  {
    std::lock_guard<std::mutex> lock(m_Callee.m_Mutex);
    for (const char* node : {"Width", "Height", "PixelFormat", "ClPixelClock"})
      EXPECT_TRUE(m_Callee.m_Nodes.count(node)) << node;
  }
  EXPECT_EQ(m_Grabber->QueryValue(Vorla::FgValuePixelClock), 85000000);
  m_Callee.Fire("ClPixelClock", 40000000);
  EXPECT_EQ(m_Grabber->QueryValue(Vorla::FgValuePixelClock), 40000000);

  // A new picture size: once the grabber hears of it, only frames of the new size follow.
  ASSERT_TRUE(WaitFrames(2));
  {
    std::lock_guard<std::mutex> lock(m_Callee.m_Mutex);
    m_Callee.m_Geometry = {128, 64, 0, 0, Mono16};
  }
  ASSERT_EQ(WriteRegister(*m_Camera, Width, 128), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, PixelFormat, Mono16), 0);
  m_Callee.Fire("PixelFormat", Mono16);
  const std::size_t after = m_Callee.Frames();
  ASSERT_TRUE(WaitFrames(after + 3));
  {
    std::lock_guard<std::mutex> lock(m_Callee.m_Mutex);
    EXPECT_LE(m_Callee.m_Bad, 1) << "at most the frame under way when the callback came";
    EXPECT_EQ(m_Callee.m_Frames.back().m_LineLength, 256u);
    EXPECT_EQ(m_Callee.m_Frames.back().m_FrameValue,
              static_cast<int32_t>(m_Callee.m_Numbers.back()));
  }
  m_Grabber->Close();
  EXPECT_EQ(m_Callee.m_Deregistered, 4);
}

TEST_P(FrameGrabber, StopGrabReturnsAfterTheDeliveryUnderWay) {
  m_Callee.m_Delay = milliseconds(50);
  StartGrabbing();
  ASSERT_TRUE(m_Callee.WaitFor([&] { return m_Callee.m_InFrame; }));
  ASSERT_TRUE(m_Grabber->StopGrab());
  const std::size_t frames = m_Callee.Frames();
  EXPECT_FALSE(m_Callee.m_InFrame);
  std::this_thread::sleep_for(milliseconds(60));
  EXPECT_EQ(m_Callee.Frames(), frames);
}

// The simulator goes away mid-grab and comes back: the grab neither hangs nor needs a restart.
TEST_P(FrameGrabber, SurvivesTheCameraLeavingAndComingBack) {
  StartGrabbing();
  ASSERT_TRUE(WaitFrames(1));
  m_Camera.reset();
  m_Camera = std::make_unique<CCameraModel>(VideoOptions(2));
  ASSERT_EQ(WriteFrameRate(*m_Camera, 500.0), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  const std::size_t before = m_Callee.Frames();
  ASSERT_TRUE(WaitFrames(before + 3));
  m_Camera.reset();
  const auto start = steady_clock::now();
  EXPECT_TRUE(m_Grabber->StopGrab());
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(1));
}

TEST_P(FrameGrabber, FailuresCarryTheirReason) {
  const std::string board = std::to_string(VideoOptions(9).m_VideoBoard);
  EXPECT_FALSE(m_Grabber->StartGrab());
  EXPECT_EQ(ErrorText(),
            std::string(GetParam().m_Pitched ? "Dravik" : "Melsor") + " grabber is not open");
  EXPECT_FALSE(m_Grabber->Open("Sapera Board=1%x", &m_Callee)); // the host reads '%%' as '%'
  EXPECT_EQ(ErrorText(), "bad parameter 'Board=1%%x': Board takes a number from 0 to 4294967295");
  EXPECT_FALSE(m_Grabber->Open("NI-IMAQ Channel=4294967296", &m_Callee));
  EXPECT_EQ(ErrorText(),
            "bad parameter 'Channel=4294967296': Channel takes a number from 0 to 4294967295");
  ASSERT_TRUE(m_Grabber->Open(Parameters(9).c_str(), &m_Callee));
  EXPECT_FALSE(m_Grabber->Open(Parameters(9).c_str(), &m_Callee));
  EXPECT_EQ(ErrorText(),
            std::string(GetParam().m_Pitched ? "Dravik" : "Melsor") + " grabber is already open");
  EXPECT_EQ(m_Grabber->QueryValue(Vorla::FgValuePixelClock), 0); // no camera to ask
  EXPECT_FALSE(m_Grabber->StartGrab());
  EXPECT_EQ(ErrorText(), "no camera video on channel Board=" + board +
                             " Channel=9 (no camera simulator serves 'vorla-cable-" + board +
                             "-9')");
  char small[5];
  EXPECT_EQ(m_Grabber->GetLastErrorText(small, sizeof small), 4u);
  EXPECT_STREQ(small, "no c");
}

// Frame descriptions from the cable size nothing before they add up: lines x length is the
// frame, and a pitched copy stays near its frame. Each case is followed by a good frame, which
// shows that the grabber went on.
TEST_P(FrameGrabber, FramesWhoseLinesDoNotAddUpAreSkipped) {
  struct SCase {
    std::uint32_t m_LineLength, m_Lines;
    std::uint64_t m_Size;
    bool m_Pitched, m_Contiguous; //!< delivered by a grabber of that layout
  } const cases[] = {
      {1, 1u << 20, 1u << 20, false, true}, // a pitched copy would take 256 MiB
      {0, 0x7FFFFFFF, 0, false, false},
      {16, 4, 100, false, false},
      {4096, 256, 1u << 20, true, true},
  };
  VideoCable::CCableWriter cable(VideoCable::CableName(VideoOptions(7).m_VideoBoard, 7), 3,
                                 1u << 20);
  ASSERT_TRUE(m_Grabber->Open(Parameters(7).c_str(), &m_Callee)) << ErrorText();
  ASSERT_TRUE(m_Grabber->StartGrab()) << ErrorText();
  std::uint64_t number = 0;
  for (const SCase& c : cases) {
    VideoCable::SFrameInfo info;
    info.m_LineLength = c.m_LineLength;
    info.m_Height = c.m_Lines;
    info.m_Size = c.m_Size;
    const auto tested = static_cast<std::int32_t>(info.m_FrameNumber = ++number);
    ASSERT_TRUE(cable.Send(info, [](std::uint8_t*) {}));
    info = VideoCable::SFrameInfo{++number, 0, 256, 64, 0, 0, Mono8, 256, 256 * 64};
    ASSERT_TRUE(cable.Send(info, [](std::uint8_t*) {}));
    ASSERT_TRUE(m_Callee.WaitFor([&] {
      return !m_Callee.m_Frames.empty() && m_Callee.m_Frames.back().m_FrameValue == tested + 1;
    }));
    std::lock_guard<std::mutex> lock(m_Callee.m_Mutex);
    const bool delivered = std::any_of(m_Callee.m_Frames.begin(), m_Callee.m_Frames.end(),
                                       [&](const auto& d) { return d.m_FrameValue == tested; });
    EXPECT_EQ(delivered, GetParam().m_Pitched ? c.m_Pitched : c.m_Contiguous) << tested;
  }
  EXPECT_EQ(ErrorText(), "frame 5 skipped: its 4 lines of 16 bytes are not its 100 bytes");
}

INSTANTIATE_TEST_SUITE_P(Plugins, FrameGrabber,
                         ::testing::Values(SPlugin{"Dravik_MD_VC80", true},
                                           SPlugin{"Melsor_MD_VC80", false}),
                         [](const auto& info) { return std::string(info.param.m_Name, 6); });
