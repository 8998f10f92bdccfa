// The camera's video on the simulated cable: pattern, order, modes, slow readers, leaving.
#include "CameraRegisters.h"

#include <camsim/TestPattern.h>
#include <videocable/CableReader.h>
#include <videocable/CableWriter.h>

#include <gtest/gtest.h>

#include <future>

using namespace camtest;
using camsim::CCameraModel;
using camsim::CTestPattern;
using Reader = VideoCable::CCableReader;
using std::chrono::milliseconds;

namespace {

class Video : public ::testing::Test {
protected:
  void SetUp() override {
    m_Camera = std::make_unique<CCameraModel>(VideoOptions(1));
    ASSERT_TRUE(m_Reader.Attach(Name()));
    ASSERT_EQ(WriteFrameRate(*m_Camera, 1000.0), 0);
  }
  static std::string Name() { return VideoCable::CableName(VideoOptions(1).m_VideoBoard, 1); }
  //! The next frame within a second, checked against the pattern of its own number.
  bool NextFrame(Reader::SFrame& frame, bool release = true) {
    if (m_Reader.Next(milliseconds(1000), m_Cancel, frame) != Reader::EResult::Frame &&
        m_Reader.Next(milliseconds(1000), m_Cancel, frame) != Reader::EResult::Frame)
      return false;
    const auto& i = frame.m_Info;
    const CTestPattern::SGeometry g{i.m_Width, i.m_Height, i.m_OffsetX, i.m_OffsetY,
                                    i.m_PixelFormat};
    EXPECT_EQ(i.m_Size, CTestPattern::FrameSize(g));
    EXPECT_TRUE(CTestPattern::Check(frame.m_pData, i.m_Size, g)) << i.m_FrameNumber;
    EXPECT_EQ(CTestPattern::FrameNumber(frame.m_pData, i.m_Size), i.m_FrameNumber);
    if (release)
      m_Reader.Release(frame);
    return true;
  }
  bool NoFrameFor(milliseconds wait) {
    Reader::SFrame frame;
    return m_Reader.Next(wait, m_Cancel, frame) != Reader::EResult::Frame;
  }

  std::unique_ptr<CCameraModel> m_Camera;
  Reader m_Reader;
  std::atomic<bool> m_Cancel{false};
};

} // namespace

TEST_F(Video, ContinuousFramesComeInOrderWithTheRegisteredGeometry) {
  EXPECT_TRUE(NoFrameFor(milliseconds(20))); // nothing before the start
  ASSERT_EQ(WriteRegister(*m_Camera, Width, 128), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, OffsetX, 64), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  std::uint64_t first = 0, last = 0;
  for (int i = 0; i < 20; ++i) {
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame));
    EXPECT_GT(frame.m_Info.m_FrameNumber, last);
    first = first ? first : frame.m_Info.m_FrameNumber;
    last = frame.m_Info.m_FrameNumber;
    EXPECT_EQ(frame.m_Info.m_Width, 128u);
    EXPECT_EQ(frame.m_Info.m_OffsetX, 64u);
  }
  EXPECT_EQ(last - first + 1, 20 + m_Reader.Lost()); // every gap is counted
  EXPECT_EQ(m_Camera->DeviceRegister(AcquisitionStatus), 1u);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStop, 1), 0);
  EXPECT_EQ(m_Camera->DeviceRegister(AcquisitionStatus), 0u);
}

TEST_F(Video, EveryPixelFormatMatchesItsPayloadSize) {
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionMode, 1), 0); // single frame
  for (std::uint32_t format : {Mono8, Mono10, Mono12, Mono16, BayerRG8, RGB8}) {
    ASSERT_EQ(WriteRegister(*m_Camera, PixelFormat, format), 0);
    ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame)) << std::hex << format;
    EXPECT_EQ(frame.m_Info.m_PixelFormat, format);
    EXPECT_EQ(frame.m_Info.m_Size, m_Camera->DeviceRegister(PayloadSize));
    EXPECT_TRUE(NoFrameFor(milliseconds(20)));
  }
}

TEST_F(Video, MultiFrameAndSoftwareTriggerSendWhatTheyAskFor) {
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionMode, 2), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionFrameCount, 3), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  for (int i = 0; i < 3; ++i) {
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame));
  }
  EXPECT_TRUE(NoFrameFor(milliseconds(30)));
  EXPECT_EQ(m_Camera->DeviceRegister(AcquisitionStatus), 0u); // ended by itself

  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionMode, 0), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, TriggerMode, 1), 0);
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  EXPECT_TRUE(NoFrameFor(milliseconds(30)));
  for (int i = 0; i < 2; ++i) {
    ASSERT_EQ(WriteRegister(*m_Camera, TriggerSoftware, 1), 0);
    Reader::SFrame frame;
    ASSERT_TRUE(NextFrame(frame));
    EXPECT_TRUE(NoFrameFor(milliseconds(20)));
  }
}

// A reader that holds a frame keeps it intact while the camera runs on; the frames it could not
// take are counted, and the camera never waited for it.
TEST_F(Video, SlowReaderLosesFramesButNeverSeesATornOne) {
  ASSERT_EQ(WriteRegister(*m_Camera, AcquisitionStart, 1), 0);
  Reader::SFrame held;
  ASSERT_TRUE(NextFrame(held, false));
  const std::vector<std::uint8_t> copy(held.m_pData, held.m_pData + held.m_Info.m_Size);
  Reader other; // a second reader sees the camera go on meanwhile
  ASSERT_TRUE(other.Attach(Name()));
  std::uint64_t newest = 0;
  for (int i = 0; i < 30; ++i) {
    Reader::SFrame f;
    ASSERT_EQ(other.Next(milliseconds(1000), m_Cancel, f), Reader::EResult::Frame);
    newest = f.m_Info.m_FrameNumber;
    other.Release(f);
  }
  EXPECT_GT(newest, held.m_Info.m_FrameNumber + 20);
  EXPECT_TRUE(std::equal(copy.begin(), copy.end(), held.m_pData));
  m_Reader.Release(held);
  Reader::SFrame next;
  ASSERT_TRUE(NextFrame(next));
  EXPECT_GT(m_Reader.Lost(), 0u);
  EXPECT_EQ(next.m_Info.m_FrameNumber - held.m_Info.m_FrameNumber - 1, m_Reader.Lost());
}

TEST_F(Video, CameraLeavingEndsAWaitAndFreesTheChannel) {
  EXPECT_THROW(CCameraModel{VideoOptions(1)}, std::runtime_error); // the channel is served
  auto waiting = std::async(std::launch::async, [&] {
    Reader::SFrame frame;
    const auto start = std::chrono::steady_clock::now();
    while (m_Reader.Next(milliseconds(5000), m_Cancel, frame) == Reader::EResult::Nothing)
      ;
    return std::chrono::steady_clock::now() - start;
  });
  std::this_thread::sleep_for(milliseconds(20));
  m_Camera.reset();
  ASSERT_EQ(waiting.wait_for(std::chrono::seconds(2)), std::future_status::ready);
  EXPECT_LT(waiting.get(), std::chrono::seconds(1));
  EXPECT_FALSE(m_Reader.CameraPresent());
  Reader fresh;
  EXPECT_FALSE(fresh.Attach(Name()));
  m_Camera = std::make_unique<CCameraModel>(VideoOptions(1));
  EXPECT_TRUE(fresh.Attach(Name()));
}

TEST_F(Video, WakeEndsAWaitWithoutAFrame) {
  auto waiting = std::async(std::launch::async, [&] {
    Reader::SFrame frame;
    return m_Reader.Next(milliseconds(5000), m_Cancel, frame);
  });
  std::this_thread::sleep_for(milliseconds(20));
  m_Cancel = true;
  m_Reader.Wake();
  ASSERT_EQ(waiting.wait_for(std::chrono::seconds(1)), std::future_status::ready);
  EXPECT_EQ(waiting.get(), Reader::EResult::Nothing);
}
