// The stream grabber through its public interfaces, with the test frame-grabber plug-in.
#include "StreamRig.h"

#include <VorlaCLSerStreamGrabber.h>

#include <gmock/gmock.h>

#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

using namespace Vorla;
using testing::HasSubstr;

namespace {

using testsupport::Thrown;
constexpr auto Runtime = &Thrown<GenICam::RuntimeException>;

// A frame of `lines` lines of `length` bytes each `pitch` apart, byte i of line l = l*16 + i; the
// last line ends the frame, short of a full pitch.
struct SFrame {
  SFrame(uint64_t length, uint64_t pitch, int32_t lines) : m_Data(pitch * lines, 0xEE) {
    for (int32_t l = 0; l < lines; ++l)
      for (uint64_t i = 0; i < length; ++i)
        m_Data[l * pitch + i] = static_cast<uint8_t>(l * 16 + i);
    m_Descriptor.m_LineCount = lines;
    m_Descriptor.m_LineLength = length;
    m_Descriptor.m_LinePitch = pitch;
    m_Descriptor.m_TotalSize = pitch * (lines - 1) + length;
    m_Descriptor.m_pData = m_Data.data();
  }
  operator const FrameDescriptor&() const { return m_Descriptor; }
  std::vector<uint8_t> m_Data;
  FrameDescriptor m_Descriptor{};
};

class StreamGrabberTest : public testing::Test {
protected:
  // Opens a grabber on the test plug-in ("Sapera" picks Dravik).
  void SetUp() override {
    m_pGrabber = std::make_unique<CVorlaCLSerStreamGrabber>("Sapera Board=0", &m_Device);
    m_pControl = rig::Control();
    ASSERT_NE(m_pControl, nullptr);
  }
  void TearDown() override { m_pGrabber.reset(); }

  //! Registers `count` buffers of `size` bytes, prepares and queues them.
  std::vector<StreamBufferHandle> StartGrab(size_t count, size_t size = 256) {
    m_pGrabber->Open();
    std::vector<StreamBufferHandle> handles;
    for (size_t i = 0; i < count; ++i) {
      m_Buffers.emplace_back(size + 16, 0x55); // 16 guard bytes past the registered size
      handles.push_back(m_pGrabber->RegisterBuffer(m_Buffers.back().data(), size));
    }
    m_pGrabber->PrepareGrab();
    for (size_t i = 0; i < count; ++i)
      m_pGrabber->QueueBuffer(handles[i], 100 + i);
    return handles;
  }
  void Deliver(const FrameDescriptor& frame, uint64_t count) {
    m_pControl->SetFrame(frame);
    m_pControl->Deliver(count);
    ASSERT_TRUE(m_pControl->WaitDelivered());
  }
  std::vector<GrabResult> RetrieveAll() {
    std::vector<GrabResult> results;
    GrabResult result;
    while (m_pGrabber->RetrieveResult(result))
      results.push_back(result);
    return results;
  }
  //! Takes the next result: its buffer failed for `reason` and nothing was copied into it.
  void ExpectFailed(const std::string& reason) {
    GrabResult r;
    ASSERT_TRUE(m_pGrabber->RetrieveResult(r));
    EXPECT_EQ(r.m_Status, Failed);
    EXPECT_EQ(r.m_ErrorCode, 0xFFFFFFFFu);
    EXPECT_EQ(r.m_ErrorDescription, reason);
    EXPECT_EQ(m_Buffers.back()[0], 0x55) << "nothing copied";
  }

  rig::CPluginRoot m_Root;
  rig::CTestDevice m_Device;
  vxlog::CLogCapture m_Log;
  std::unique_ptr<CVorlaCLSerStreamGrabber> m_pGrabber;
  testfg::IControl* m_pControl = nullptr;
  std::list<std::vector<uint8_t>> m_Buffers;
};

struct SLoadCase {
  const char* m_DeviceSpecificString;
  const char* m_Root;
  std::string m_Thrown; // empty: loads
  std::vector<std::pair<unsigned, std::string>> m_Log;
};

TEST(StreamGrabberLoad, ChoosesAndChecksThePluginLibrary) {
  const std::string dravik = rig::CPluginRoot::Plugin("Dravik");
  const std::string melsor = rig::CPluginRoot::Plugin("Melsor");
  const std::string missing = rig::CPluginRoot::Plugin("Dravik", "emptyroot");
  const std::string noParameters =
      "Skipping loading of Plugin DLL since there are no device specific parameters!";
  const SLoadCase cases[] = {
      // clang-format off
      {"NI-IMAQ Sapera", "fgroot", "", {{64, "About to load FGPlugin DLL " + dravik + "."},
                                        {64, "Sucessfully loaded FGPlugin DLL."}}},
      {"", "fgroot", noParameters, {{64, noParameters}}},
      {"sapera Board=0", "fgroot",
       "Skipping loading of Plugin DLL since the name of the DLL cannot be deduced from the "
       "device specific parameters!", {{64, "Don't know which plugin DLL must be loaded!"}}},
      {"Sapera", "emptyroot", "Could not load FrameGrabber Plugin DLL.",
       {{64, "About to load FGPlugin DLL " + missing + "."}, {128, "Could not load FGPlugin DLL"}}},
      {"NI-IMAQ", "fgroot", "Missing neccessary functions in FGPlugin DLL '" + melsor + "'.",
       {{256, "Could not find functions in FGPlugin DLL."}}},
      {"Sapera CreateFails", "fgroot",
       "Could not create Framegrabber object using FGPlugin DLL and parameterstring 'Sapera "
       "CreateFails'.", {{256, "Could not create Framegrabber object using FGPlugin DLL and "
                               "parameterstring 'Sapera CreateFails'."}}},
      // clang-format on
  };
  rig::CTestDevice device;
  for (const SLoadCase& c : cases) {
    SCOPED_TRACE(c.m_DeviceSpecificString);
    rig::CPluginRoot root(c.m_Root);
    vxlog::CLogCapture log;
    const std::string thrown =
        Runtime([&] { CVorlaCLSerStreamGrabber(c.m_DeviceSpecificString, &device); });
    EXPECT_EQ(thrown, c.m_Thrown.empty() ? "(nothing thrown)" : c.m_Thrown);
    for (const auto& line : c.m_Log)
      EXPECT_EQ(rig::Logged(log, line.first, line.second), 1u) << line.second;
    EXPECT_EQ(
        rig::Logged(log, 256,
                    "Error parsing stream grabber XML or accessing its nodes (" + thrown + ")"),
        c.m_Thrown.empty() ? 0u : 1u);
  }
  // The incomplete library's create function was never called.
  void* library = ::dlopen(melsor.c_str(), RTLD_NOW);
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(reinterpret_cast<int (*)()>(::dlsym(library, "TestCreateCalls"))(), 0);
  ::dlclose(library);
}

TEST_F(StreamGrabberTest, NodeMapOffersTheStreamParametersAndThePixelClock) {
  GenApi::INodeMap* nodes = m_pGrabber->GetNodeMap();
  ASSERT_NE(nodes, nullptr);
  EXPECT_EQ(GenApi::CIntegerPtr(nodes->GetNode("MaxNumBuffer"))->GetValue(), 10);
  EXPECT_EQ(GenApi::CIntegerPtr(nodes->GetNode("MaxBufferSize"))->GetValue(), 5760000);
  GenApi::CIntegerPtr priority(nodes->GetNode("ThreadPriority"));
  EXPECT_THROW(priority->SetValue(16), GenICam::OutOfRangeException);
  priority->SetValue(15);
  EXPECT_EQ(GenApi::CNodePtr(nodes->GetNode("PixelClockDetected"))->GetDescription(),
            "The Pixel clock frequency detected by the grabebr in Hz.");

  // Four bytes, little-endian, unsigned, of the grabber's value; logged all the same.
  m_pControl->SetQueryAnswer(0x1'8765'4321);
  EXPECT_EQ(GenApi::CIntegerPtr(nodes->GetNode("PixelClockDetected"))->GetValue(), 0x87654321);
  EXPECT_EQ(m_pControl->LastQueryNumber(), 0xC10Cu);
  EXPECT_EQ(rig::Logged(m_Log, 128, "Unknown port address Address=826223411468 (0xc05ec0c10c)"),
            1u);

  // Any other address: nothing read, the line logged.
  GenApi::IPort* port = dynamic_cast<GenApi::IPort*>(nodes->GetNode("Device"));
  ASSERT_NE(port, nullptr);
  uint8_t bytes[4] = {1, 2, 3, 4};
  port->Read(bytes, 0x10, 4);
  EXPECT_THAT(bytes, testing::ElementsAre(1, 2, 3, 4));
  EXPECT_EQ(rig::Logged(m_Log, 128, "Unknown port address Address=16 (0x10)"), 1u);

  GenApi::CIntegerPtr debug(nodes->GetNode("DebugData1"));
  m_pGrabber->Open();
  debug->SetValue(7);
  m_pGrabber->Close();
  EXPECT_EQ(debug->GetValue(), 0);
}

TEST_F(StreamGrabberTest, OperationsInTheWrongStateAreRefused) {
  using Op = std::function<void(IStreamGrabber&)>;
  GrabResult result;
  const std::map<std::string, Op> ops = {
      {"Open", [](IStreamGrabber& g) { g.Open(); }},
      {"RegisterBuffer", [this](IStreamGrabber& g) { g.RegisterBuffer(this, 1); }},
      {"DeregisterBuffer", [](IStreamGrabber& g) { g.DeregisterBuffer(1); }},
      {"PrepareGrab", [](IStreamGrabber& g) { g.PrepareGrab(); }},
      {"FinishGrab", [](IStreamGrabber& g) { g.FinishGrab(); }},
      {"QueueBuffer", [](IStreamGrabber& g) { g.QueueBuffer(1, 0); }},
      {"CancelGrab", [](IStreamGrabber& g) { g.CancelGrab(); }},
      {"RetrieveResult", [&result](IStreamGrabber& g) { g.RetrieveResult(result); }},
  };
  const std::vector<std::pair<int, std::vector<const char*>>> refused = {
      {0,
       {"RegisterBuffer", "DeregisterBuffer", "PrepareGrab", "FinishGrab", "QueueBuffer",
        "CancelGrab", "RetrieveResult"}},
      {1, {"Open", "FinishGrab", "QueueBuffer", "CancelGrab"}},
      {2, {"Open", "PrepareGrab"}},
  };
  IStreamGrabber& grabber = *m_pGrabber;
  for (const auto& state : refused) {
    if (state.first == 1)
      grabber.Open();
    if (state.first == 2)
      grabber.PrepareGrab();
    for (const char* name : state.second)
      EXPECT_EQ(Thrown<GenICam::LogicalErrorException>([&] { ops.at(name)(grabber); }),
                "Invalid streamgrabber state (" + std::to_string(state.first) + ") in " + name);
  }
  EXPECT_TRUE(grabber.IsOpen());
  grabber.Close();
  EXPECT_FALSE(grabber.IsOpen());
}

TEST_F(StreamGrabberTest, BadBuffersHandlesAndPluginFailuresTakeTheirPaths) {
  EXPECT_EQ(Runtime([&] { m_pGrabber->RegisterBuffer(nullptr, 1); }),
            "Invalid Buffer passed to RegisterBuffer");
  m_Device.m_IsOpen = false;
  EXPECT_EQ(Runtime([&] { m_pGrabber->Open(); }), "Device not open when opening stream grabber.");
  EXPECT_EQ(rig::Logged(m_Log, 256, "Device not open when opening stream grabber."), 1u);
  m_Device.m_IsOpen = true;
  // The plug-in's text is a format: "%%" comes out as one '%'.
  m_pControl->FailNext("Open", "Open failed 100%% sure");
  EXPECT_EQ(Runtime([&] { m_pGrabber->Open(); }), "Open failed 100% sure");
  EXPECT_FALSE(m_pGrabber->IsOpen());

  m_pGrabber->Open();
  uint8_t memory[64];
  const StreamBufferHandle a = m_pGrabber->RegisterBuffer(memory, 32);
  const StreamBufferHandle b = m_pGrabber->RegisterBuffer(memory + 32, 32);
  EXPECT_EQ(Runtime([&] { m_pGrabber->DeregisterBuffer(b + 1); }),
            "Invalid Bufferhandle " + rig::HandleText(b + 1) + " passed");
  m_pGrabber->PrepareGrab();
  EXPECT_EQ(Runtime([&] { m_pGrabber->QueueBuffer(b + 1, 0); }),
            "Invalid Bufferhandle " + rig::HandleText(b + 1) + " passed");

  // A failed start leaves the buffer queued; the next queue starts again.
  m_pControl->FailNext("StartGrab", "no %% clock");
  EXPECT_EQ(Runtime([&] { m_pGrabber->QueueBuffer(a, 0); }), "no % clock");
  EXPECT_EQ(Runtime([&] { m_pGrabber->DeregisterBuffer(a); }),
            "Buffer h=" + rig::HandleText(a) +
                " waiting to be filled and cannot be deregistred now.");
  m_pGrabber->QueueBuffer(b, 0);
  EXPECT_EQ(m_pControl->Calls("StartGrab"), 2);

  m_pControl->FailNext("StopGrab", "stuck");
  m_pGrabber->CancelGrab();
  EXPECT_EQ(rig::Logged(m_Log, 128, "Failed to stop the grab gracefully (stuck)."), 1u);
  EXPECT_EQ(Runtime([&] { m_pGrabber->DeregisterBuffer(b); }),
            "Buffer h=" + rig::HandleText(b) +
                " currently waiting to be retrieved and cannot be deregistred now");
  EXPECT_EQ(RetrieveAll().size(), 2u);
  EXPECT_EQ(m_pGrabber->DeregisterBuffer(a), memory);
  EXPECT_EQ(m_pGrabber->DeregisterBuffer(b), memory + 32);

  // Handles are never reused, also across stream grabbers.
  CVorlaCLSerStreamGrabber other("Sapera", &m_Device);
  other.Open();
  EXPECT_EQ(other.RegisterBuffer(memory, 1), b + 1);
  EXPECT_EQ(m_pGrabber->RegisterBuffer(memory, 1), b + 2);
}

TEST_F(StreamGrabberTest, GrabCycleFillsBuffersInQueueOrderAndCancelsTheRest) {
  const auto handles = StartGrab(3);
  EXPECT_EQ(GenApi::CIntegerPtr(m_Device.Node("TLParamsLocked"))->GetValue(), 1);
  EXPECT_EQ(m_Device.Node("Width")->GetAccessMode(), GenApi::RO);
  EXPECT_EQ(m_Device.Node("ClTapGeometry")->GetAccessMode(), GenApi::RO);
  EXPECT_EQ(m_pControl->Calls("StartGrab"), 1);

  SFrame frame(64, 64, 4);
  Deliver(frame, 1);
  // From now on the geometry comes from the node map's cache: no register transaction.
  m_Device.m_Port.m_Reads = m_Device.m_Port.m_Writes = 0;
  Deliver(frame, 1);
  EXPECT_EQ(m_Device.m_Port.m_Reads + m_Device.m_Port.m_Writes, 0);
  EXPECT_TRUE(m_pGrabber->GetWaitObject().Wait(0));

  m_pGrabber->CancelGrab();
  auto results = RetrieveAll();
  EXPECT_FALSE(m_pGrabber->GetWaitObject().Wait(0));
  ASSERT_EQ(results.size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    const GrabResult& r = results[i];
    SCOPED_TRACE(i);
    EXPECT_EQ(r.m_hBuffer, handles[i]);
    EXPECT_EQ(r.m_Context, 100 + i);
    EXPECT_EQ(r.m_pBuffer, std::next(m_Buffers.begin(), i)->data());
    EXPECT_EQ(r.m_ErrorCode, 0u);
    EXPECT_EQ(r.m_TimeStamp, 0u);
    if (i < 2) {
      EXPECT_EQ(r.m_Status, Grabbed);
      EXPECT_EQ(r.m_FrameNumber, static_cast<int32_t>(i + 1));
      EXPECT_EQ(r.m_PixelType, static_cast<uint32_t>(PixelType_Mono8));
      EXPECT_EQ(std::vector<int32_t>({r.m_SizeX, r.m_SizeY, r.m_OffsetX, r.m_OffsetY, r.m_PaddingX,
                                      r.m_PaddingY, r.m_PayloadType}),
                std::vector<int32_t>({64, 4, 8, 2, 0, 0, 0}));
      EXPECT_EQ(r.m_PayloadSize, 256u);
      EXPECT_EQ(std::memcmp(r.m_pBuffer, frame.m_Data.data(), 256), 0);
    } else {
      EXPECT_EQ(r.m_Status, Canceled);
      EXPECT_EQ(r.m_SizeX, -1);
      EXPECT_EQ(r.m_PayloadSize, 256u);
    }
  }

  // A frame without a queued buffer is dropped.
  m_pGrabber->QueueBuffer(handles[0], 7);
  Deliver(frame, 2);
  EXPECT_EQ(rig::Logged(m_Log, 16, "Buffer underrun*!"), 1u);
  EXPECT_EQ(RetrieveAll().size(), 1u);

  // Finish stops twice (its own stop and the cancel's), then unlocks the camera.
  const int stops = m_pControl->Calls("StopGrab");
  m_pGrabber->FinishGrab();
  EXPECT_EQ(m_pControl->Calls("StopGrab"), stops + 2);
  EXPECT_EQ(GenApi::CIntegerPtr(m_Device.Node("TLParamsLocked"))->GetValue(), 0);
  EXPECT_EQ(m_Device.Node("Width")->GetAccessMode(), GenApi::RW);
  for (StreamBufferHandle h : handles)
    m_pGrabber->DeregisterBuffer(h);
  m_pGrabber->Close();
  EXPECT_EQ(m_Log.CountContaining("Invalid streamgrabber state"), 0u);
}

struct SCopyCase {
  const char* m_Name;
  uint64_t m_Length, m_Pitch;
  int32_t m_Lines;
  int64_t m_PayloadSize;
  size_t m_BufferSize;
  std::vector<uint8_t> m_Expected; // the buffer's first bytes; the rest must stay untouched
};

TEST_F(StreamGrabberTest, FramesAreCopiedWithoutGapsAndWithinTheBuffer) {
  // clang-format off
  const std::vector<SCopyCase> cases = {
      {"contiguous",                  3, 3, 2, 6, 8, {0, 1, 2, 16, 17, 18}},
      {"contiguous, buffer smaller",  3, 3, 2, 6, 4, {0, 1, 2, 16}},
      {"contiguous, payload smaller", 3, 3, 2, 5, 8, {0, 1, 2, 16, 17}},
      {"pitched",                     2, 4, 3, 6, 6, {0, 1, 16, 17, 32, 33}},
      {"pitched, buffer smaller",     2, 4, 3, 6, 5, {0, 1, 16, 17, 32}},
      {"pitched, buffer larger",      2, 4, 2, 8, 8, {0, 1, 16, 17}},
  };
  // clang-format on
  m_pGrabber->Open();
  for (const SCopyCase& c : cases) {
    SCOPED_TRACE(c.m_Name);
    m_Device.SetGeometry(c.m_Length, c.m_Lines, 0, 0, c.m_PayloadSize, 2);
    std::vector<uint8_t> buffer(c.m_BufferSize + 16, 0x55);
    const StreamBufferHandle h = m_pGrabber->RegisterBuffer(buffer.data(), c.m_BufferSize);
    m_pGrabber->PrepareGrab();
    m_pGrabber->QueueBuffer(h, 0);
    Deliver(SFrame(c.m_Length, c.m_Pitch, c.m_Lines), 1);
    m_pGrabber->FinishGrab();
    GrabResult r;
    ASSERT_TRUE(m_pGrabber->RetrieveResult(r));
    EXPECT_EQ(r.m_Status, Grabbed);
    EXPECT_EQ(r.m_PixelType, static_cast<uint32_t>(PixelType_RGB8packed));
    EXPECT_EQ(r.m_PayloadSize, std::min<uint64_t>(c.m_PayloadSize, c.m_BufferSize));
    std::vector<uint8_t> expected = c.m_Expected;
    expected.resize(buffer.size(), 0x55);
    EXPECT_EQ(buffer, expected);
    // The last result taken sets state 2 again, even after FinishGrab.
    m_pGrabber->FinishGrab();
    m_pGrabber->DeregisterBuffer(h);
  }
}

TEST_F(StreamGrabberTest, FramesTheCameraCannotDescribeFailTheirBuffer) {
  struct SCase {
    const char* m_Name;
    std::function<void()> m_Break;
    bool m_DuringGrab;    // else before PrepareGrab locks the camera
    const char* m_Logged; // empty: nothing logged
  };
  const std::vector<SCase> cases = {
      {"unknown pixel format", [&] { m_Device.Int("PixelFormatReg")->SetValue(3); }, false, ""},
      {"width of 2^31", [&] { m_Device.Int("Width")->SetValue(int64_t(1) << 31); }, false,
       "Could not read values from device nodemap (Value 2147483648 out of range "
       "(-2147483648..2147483647))"},
      {"camera vanished", [&] { m_Device.m_Vanished = true; }, true, ""},
  };
  for (const SCase& c : cases) {
    SCOPED_TRACE(c.m_Name);
    m_Device.SetGeometry(64, 4, 8, 2, 256, 1);
    if (!c.m_DuringGrab)
      c.m_Break();
    m_Log.Clear();
    StartGrab(1);
    if (c.m_DuringGrab)
      c.m_Break();
    Deliver(SFrame(64, 64, 4), 1);
    m_Device.m_Vanished = false;
    m_pGrabber->FinishGrab();
    ExpectFailed("Failed to payload related information from camera");
    EXPECT_EQ(rig::Logged(m_Log, 256, c.m_Logged), *c.m_Logged ? 1u : 0u);
    EXPECT_EQ(m_Log.CountContaining("Could not read values"), *c.m_Logged ? 1u : 0u);
    m_pGrabber->FinishGrab();
    m_pGrabber->Close();
  }
}

// A plug-in's descriptor is checked before it sizes a copy: each of these fails its buffer in
// constant time and nothing is read from the 16 bytes handed over (AddressSanitizer watches).
TEST_F(StreamGrabberTest, MalformedFrameDescriptorsFailTheirBuffer) {
  struct SCase {
    int32_t m_Lines;
    uint64_t m_Length, m_Pitch;
    bool m_Data;
    const char* m_Reason;
  };
  // clang-format off
  const std::vector<SCase> cases = {
      {0x7FFFFFFF, 0, 16, true, "line length 0"},
      {4, 8, 4, true, "line pitch 4 smaller than line length 8"},
      {-1, 4, 4, true, "line count -1"},
      {1, 4, 4, false, "no image data"},
      {5, 4, 4, true, "5 lines of 4 bytes at pitch 4 reach past the 16 bytes handed over"},
      {3, 4, 8, true, "3 lines of 4 bytes at pitch 8 reach past the 16 bytes handed over"},
      {0x7FFFFFFF, 1, uint64_t(1) << 40, true,
       "2147483647 lines of 1 bytes at pitch 1099511627776 reach past the 16 bytes handed over"},
  };
  // clang-format on
  const std::vector<uint8_t> source(16, 0xAB);
  const StreamBufferHandle h = StartGrab(1)[0];
  for (const SCase& c : cases) {
    SCOPED_TRACE(c.m_Reason);
    FrameDescriptor descriptor{};
    descriptor.m_LineCount = c.m_Lines;
    descriptor.m_LineLength = c.m_Length;
    descriptor.m_LinePitch = c.m_Pitch;
    descriptor.m_TotalSize = source.size();
    descriptor.m_pData = c.m_Data ? source.data() : nullptr;
    m_Log.Clear();
    Deliver(descriptor, 1);
    const std::string reason = std::string("Frame descriptor rejected: ") + c.m_Reason;
    ExpectFailed(reason);
    EXPECT_EQ(rig::Logged(m_Log, 256, reason), 1u);
    m_pGrabber->QueueBuffer(h, 0);
  }
}

TEST(StreamGrabberCamera, TransportParameterLockNeedsTLParamsLockedOnly) {
  rig::CPluginRoot root;
  {
    rig::SCameraOptions options;
    options.m_Binning = false;
    rig::CTestDevice device(options);
    CVorlaCLSerStreamGrabber grabber("Sapera", &device);
    grabber.Open();
    grabber.PrepareGrab();
    EXPECT_EQ(device.Node("Height")->GetAccessMode(), GenApi::RO);
    grabber.FinishGrab();
    EXPECT_EQ(device.Node("Height")->GetAccessMode(), GenApi::RW);
    grabber.Close();
  }
  rig::SCameraOptions options;
  options.m_TLParamsLocked = false;
  rig::CTestDevice device(options);
  CVorlaCLSerStreamGrabber grabber("Sapera", &device);
  grabber.Open();
  EXPECT_EQ(Thrown<GenICam::PropertyException>([&] { grabber.PrepareGrab(); }),
            "TLParamsLocked node missing from device nodemap.");
  device.m_Vanished = true;
  EXPECT_EQ(Runtime([&] { grabber.PrepareGrab(); }), "Missing device nodemap.");
}

TEST_F(StreamGrabberTest, ResultsOutliveFinishAndCloseDropsWhatIsLeft) {
  // FinishGrab with results pending: they are retrieved in state 1; the last sets state 2.
  const auto handles = StartGrab(2);
  m_pGrabber->FinishGrab();
  GrabResult r;
  ASSERT_TRUE(m_pGrabber->RetrieveResult(r));
  EXPECT_THAT(Thrown<GenICam::LogicalErrorException>([&] { m_pGrabber->Open(); }),
              "Invalid streamgrabber state (1) in Open");
  ASSERT_TRUE(m_pGrabber->RetrieveResult(r));
  EXPECT_EQ(Thrown<GenICam::LogicalErrorException>([&] { m_pGrabber->PrepareGrab(); }),
            "Invalid streamgrabber state (2) in PrepareGrab");
  EXPECT_FALSE(m_pGrabber->RetrieveResult(r));

  // An empty output queue resets the wait object.
  m_pGrabber->GetWaitObject().Signal();
  EXPECT_FALSE(m_pGrabber->RetrieveResult(r));
  EXPECT_FALSE(m_pGrabber->GetWaitObject().Wait(0));

  // Close in state 2 with two buffers: the state line carries the buffer count.
  m_pGrabber->Close();
  EXPECT_EQ(rig::Logged(m_Log, 128, "Invalid streamgrabber state (2) in Close"), 1u);
  EXPECT_EQ(rig::Logged(m_Log, 128, "Still 2 bufferers registred when calling Close()"), 1u);
  m_pGrabber->Open();
  EXPECT_EQ(Runtime([&] { m_pGrabber->DeregisterBuffer(handles[0]); }),
            "Invalid Bufferhandle " + rig::HandleText(handles[0]) + " passed");
  m_Log.Clear();
  m_pGrabber.reset();
  EXPECT_EQ(rig::Logged(m_Log, 128, "Stream still open on destruction"), 1u);
}

// A frame held inside its delivery while the application deregisters its buffer, then closes the
// stream: both wait for the copy, and the next session starts without the old buffer.
TEST_F(StreamGrabberTest, BufferBeingFilledIsWaitedForByDeregisterAndClose) {
  const StreamBufferHandle h = StartGrab(1)[0];
  const SFrame frame(64, 64, 4);
  m_pControl->SetFrame(frame.m_Descriptor);
  const auto duringFrame = [&](const std::function<void()>& call) {
    m_Device.m_Gate.Arm();
    m_pControl->Deliver(1);
    ASSERT_TRUE(m_Device.m_Gate.WaitReached());
    std::thread application(call);
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // lets the call meet the frame
    m_Device.m_Gate.Open();
    application.join();
  };
  std::string thrown;
  duringFrame([&] { thrown = Runtime([&] { m_pGrabber->DeregisterBuffer(h); }); });
  EXPECT_EQ(thrown, "Buffer h=" + rig::HandleText(h) +
                        " currently waiting to be retrieved and cannot be deregistred now");
  GrabResult r;
  ASSERT_TRUE(m_pGrabber->RetrieveResult(r));
  EXPECT_EQ(r.m_Status, Grabbed);
  m_pGrabber->QueueBuffer(h, 0);
  duringFrame([&] { m_pGrabber->Close(); });
  m_pGrabber->Open();
  EXPECT_FALSE(m_pGrabber->RetrieveResult(r));
}

using Calls = std::vector<std::tuple<int64_t, uint64_t, uint32_t>>;
Calls s_Calls;
void Record(int64_t value, uint64_t context, uint32_t cookie) {
  s_Calls.emplace_back(value, context, cookie);
}

TEST_F(StreamGrabberTest, PluginNodeCallbacksReuseFreeRows) {
  FgCallee& callee = *m_pGrabber;
  s_Calls.clear();
  EXPECT_EQ(callee.RegisterNodeCallback(nullptr, Record, 0, 0), 0u);
  EXPECT_EQ(callee.RegisterNodeCallback("Width", nullptr, 0, 0), 0u);
  EXPECT_EQ(callee.RegisterNodeCallback("Nope", Record, 0, 0), 0u);
  EXPECT_EQ(rig::Logged(m_Log, 256, "Invalid nodename passed."), 1u);
  EXPECT_EQ(rig::Logged(m_Log, 256, "Invalid callbackaddress passed."), 1u);
  EXPECT_EQ(rig::Logged(m_Log, 256, "Could not register nodecallback for node (Nope)"), 1u);

  EXPECT_EQ(callee.RegisterNodeCallback("Width", Record, 0x1'0000'0001, 7), 1u);
  EXPECT_EQ(callee.RegisterNodeCallback("PixelFormat", Record, 2, 8), 2u);
  EXPECT_EQ(callee.RegisterNodeCallback("Flag", Record, 3, 9), 3u);
  m_Device.Int("Width")->SetValue(640);
  GenApi::CEnumerationPtr(m_Device.Node("PixelFormat"))->SetIntValue(2);
  GenApi::CBooleanPtr(m_Device.Node("Flag"))->SetValue(true);
  EXPECT_EQ(s_Calls, (Calls{{640, 0x1'0000'0001, 7}, {2, 2, 8}}));
  EXPECT_EQ(rig::Logged(m_Log, 256, "Invalid node type. Only inter like types are supported"), 1u);

  EXPECT_FALSE(callee.DeregisterNodeCallback(0));
  EXPECT_FALSE(callee.DeregisterNodeCallback(4));
  EXPECT_TRUE(callee.DeregisterNodeCallback(1));
  EXPECT_FALSE(callee.DeregisterNodeCallback(1));
  s_Calls.clear();
  m_Device.Int("Width")->SetValue(320);
  EXPECT_TRUE(s_Calls.empty());
  EXPECT_EQ(callee.RegisterNodeCallback("Height", Record, 4, 10), 1u);
  m_Device.Int("Height")->SetValue(3);
  EXPECT_EQ(s_Calls, (Calls{{3, 4, 10}}));
}

} // namespace
