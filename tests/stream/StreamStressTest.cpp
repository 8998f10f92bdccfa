// Frames from the plug-in's thread while application threads queue, retrieve, cancel and finish
// at the same time: every queued buffer comes back exactly once. Meant for ThreadSanitizer.
#include "StreamRig.h"

#include <VorlaCLSerStreamGrabber.h>

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

using namespace Vorla;

TEST(StreamGrabberStress, EveryQueuedBufferComesBackExactlyOnce) {
  constexpr int Rounds = 10;
  constexpr uint64_t FramesPerRound = 1000;
  constexpr size_t Buffers = 8;
  rig::CPluginRoot root;
  rig::CTestDevice device;
  CVorlaCLSerStreamGrabber grabber("Sapera", &device);
  testfg::IControl* control = rig::Control();
  ASSERT_NE(control, nullptr);

  std::vector<uint8_t> frame(256);
  for (size_t i = 0; i < frame.size(); ++i)
    frame[i] = static_cast<uint8_t>(i * 7);
  FrameDescriptor descriptor{};
  descriptor.m_LineCount = 4;
  descriptor.m_LineLength = descriptor.m_LinePitch = 64;
  descriptor.m_TotalSize = frame.size();
  descriptor.m_pData = frame.data();
  control->SetFrame(descriptor);

  grabber.Open();
  std::vector<std::vector<uint8_t>> memory(Buffers, std::vector<uint8_t>(256));
  std::mutex lock;                               // guards the bookkeeping below
  std::map<StreamBufferHandle, int> outstanding; // queued and not yet returned
  std::map<int32_t, uint64_t> statusCount;
  int errors = 0;
  for (auto& m : memory)
    outstanding[grabber.RegisterBuffer(m.data(), m.size())] = 0;

  const auto take = [&](const GrabResult& r) {
    std::lock_guard<std::mutex> guard(lock);
    if (outstanding[r.m_hBuffer] != 1)
      ++errors;
    outstanding[r.m_hBuffer] = 0;
    ++statusCount[r.m_Status];
    if (r.m_Status == Grabbed && std::memcmp(r.m_pBuffer, frame.data(), frame.size()) != 0)
      ++errors;
  };
  const auto queue = [&](StreamBufferHandle h) {
    {
      std::lock_guard<std::mutex> guard(lock);
      outstanding[h] = 1;
    }
    grabber.QueueBuffer(h, 0);
  };

  uint64_t target = 0;
  for (int round = 0; round < Rounds; ++round) {
    grabber.PrepareGrab();
    for (const auto& entry : std::map<StreamBufferHandle, int>(outstanding))
      queue(entry.first);
    target += FramesPerRound;
    control->Deliver(FramesPerRound);

    std::atomic<bool> stop{false};
    const auto consumer = [&] {
      GrabResult r;
      while (!stop) {
        if (!grabber.GetWaitObject().Wait(5))
          continue;
        while (grabber.RetrieveResult(r)) {
          take(r);
          queue(r.m_hBuffer);
        }
      }
    };
    std::thread consumers[] = {std::thread(consumer), std::thread(consumer)};
    std::thread canceler([&] {
      while (!stop) {
        grabber.CancelGrab();
        std::this_thread::sleep_for(std::chrono::microseconds(300));
      }
    });
    // Finish while the plug-in may still be delivering the round's last frames.
    while (control->Delivered() + FramesPerRound / 10 < target)
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    stop = true;
    for (auto& t : consumers)
      t.join();
    canceler.join();
    grabber.FinishGrab();
    GrabResult r;
    bool any = false;
    while (grabber.RetrieveResult(r)) {
      take(r);
      any = true;
    }
    if (any)
      grabber.FinishGrab(); // the last result set state 2 again
    std::lock_guard<std::mutex> guard(lock);
    for (const auto& entry : outstanding)
      EXPECT_EQ(entry.second, 0) << "round " << round << " handle " << entry.first;
  }
  EXPECT_EQ(errors, 0);
  EXPECT_GT(statusCount[Grabbed], 0u);
  EXPECT_GT(statusCount[Canceled], 0u);
  EXPECT_EQ(statusCount[Failed], 0u);
  for (const auto& entry : outstanding)
    grabber.DeregisterBuffer(entry.first);
  grabber.Close();
}
