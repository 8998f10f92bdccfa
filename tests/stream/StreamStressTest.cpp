// Every queued buffer comes back exactly once while frames, queues, retrievals, cancels and
// finishes race each other. Meant for ThreadSanitizer.
#include "StreamStress.h"
#include "StreamRig.h"

#include <VorlaCLSerStreamGrabber.h>

#include <gtest/gtest.h>

TEST(StreamGrabberStress, EveryQueuedBufferComesBackExactlyOnce) {
  rig::CPluginRoot root;
  rig::CTestDevice device;
  Vorla::CVorlaCLSerStreamGrabber grabber("Sapera", &device);
  testfg::IControl* control = rig::Control();
  ASSERT_NE(control, nullptr);
  rig::SStressOutcome outcome = rig::RunStress(grabber, *control, 10, 1000);
  EXPECT_EQ(outcome.m_Errors, 0u);
  EXPECT_EQ(outcome.m_Unreturned, 0u);
  EXPECT_GT(outcome.m_Status[Vorla::Grabbed], 0u);
  EXPECT_GT(outcome.m_Status[Vorla::Canceled], 0u);
  EXPECT_EQ(outcome.m_Status[Vorla::Failed], 0u);
  EXPECT_GE(outcome.m_Delivered, 9000u);
}
