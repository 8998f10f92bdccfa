// Threads against the stream grabber: frames, queues, retrievals, cancels, finishes, closes and
// node changes racing each other. Meant for ThreadSanitizer.
#include "StreamStress.h"
#include "CameraRegisters.h"
#include "StreamRig.h"

#include <VorlaCLSerStreamGrabber.h>
#include <camsim/TestPattern.h>

#include <gtest/gtest.h>

#include <unistd.h>

using namespace Vorla;

namespace {

void ExpectEveryBufferBackOnce(const rig::SStressOutcome& outcome) {
  EXPECT_EQ(outcome.m_Errors, 0u);
  EXPECT_EQ(outcome.m_Unreturned, 0u);
  EXPECT_GT(outcome.m_Status.at(Grabbed), 0u);
  EXPECT_GT(outcome.m_Status.at(Canceled), 0u);
  EXPECT_EQ(outcome.m_Status.count(Failed), 0u);
}

std::string RealPluginString(const char* family, uint32_t channel) {
  return std::string(family) + " Board=" + std::to_string(::getpid()) +
         " Channel=" + std::to_string(channel);
}

} // namespace

TEST(StreamGrabberStress, EveryQueuedBufferComesBackExactlyOnce) {
  rig::CPluginRoot root;
  rig::CTestDevice device;
  CVorlaCLSerStreamGrabber grabber("Sapera", &device);
  testfg::IControl* control = rig::Control();
  ASSERT_NE(control, nullptr);
  const rig::SStressOutcome outcome = rig::RunStress(grabber, *control, 10, 1000);
  ExpectEveryBufferBackOnce(outcome);
  EXPECT_GE(outcome.m_Delivered, 9000u);
}

// The shipped plug-ins, fed by a free-running camera: their delivery threads start and stop
// with every cancel and re-queue, and every session is closed while they deliver. Their frames
// carry the camera's time stamps.
TEST(StreamGrabberStress, RealPluginsBringEveryBufferBackAcrossSessions) {
  rig::CPluginRoot root("");
  camsim::CCameraModel camera(camtest::VideoOptions(5));
  ASSERT_EQ(camtest::WriteFrameRate(camera, 2000.0), 0);
  ASSERT_EQ(camtest::WriteRegister(camera, camtest::AcquisitionStart, 1), 0);
  const camsim::CTestPattern::SGeometry geometry{256, 64, 0, 0, camtest::Mono8};
  for (const char* family : {"Sapera", "NI-IMAQ"}) {
    SCOPED_TRACE(family);
    rig::CTestDevice device;
    device.SetGeometry(256, 64, 0, 0, 256 * 64, 1);
    CVorlaCLSerStreamGrabber grabber(RealPluginString(family, 5), &device);
    std::atomic<uint64_t> grabbed{0};
    const rig::SStressSource source{256 * 64, [](uint64_t) {}, [&] { return grabbed.load(); },
                                    [&](const GrabResult& r) {
                                      ++grabbed;
                                      return r.m_TimeStamp == 0 && r.m_GrabberTimeStamp != 0 &&
                                             camsim::CTestPattern::Check(
                                                 static_cast<const uint8_t*>(r.m_pBuffer),
                                                 r.m_PayloadSize, geometry);
                                    }};
    ExpectEveryBufferBackOnce(rig::RunStress(grabber, source, 3, 60));
  }
}

// The plug-ins follow ClPixelClock, which a grab does not lock, and Width through callbacks that
// run inside the camera node map's lock, while the grab locks and unlocks the camera's nodes.
TEST(StreamGrabberStress, NodeWritesDuringPrepareAndFinishGoThrough) {
  rig::CPluginRoot root("");
  for (const char* family : {"Sapera", "NI-IMAQ"}) {
    SCOPED_TRACE(family);
    rig::CTestDevice device;
    CVorlaCLSerStreamGrabber grabber(RealPluginString(family, 6), &device);
    grabber.Open();
    std::atomic<bool> stop{false};
    std::thread writer([&] {
      for (int64_t i = 1; !stop; ++i) {
        device.Int("ClPixelClock")->SetValue(i);
        try {
          device.Int("Width")->SetValue(64 + i % 2);
        } catch (const GenICam::AccessException&) { // read-only while a grab is prepared
        }
      }
    });
    for (int i = 0; i < 300; ++i) {
      grabber.PrepareGrab();
      grabber.FinishGrab();
    }
    stop = true;
    writer.join();
    grabber.Close();
  }
}
