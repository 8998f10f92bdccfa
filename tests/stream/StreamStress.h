#pragma once
// Frames from the test plug-in's thread while application threads queue, retrieve and cancel,
// and the main thread finishes each round while frames may still be under way. Shared by the
// stress test and the soak benchmark.
#include "fgplugin/TestFrameGrabberControl.h"

#include <VorlaBase/IStreamGrabber.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace rig {

struct SStressOutcome {
  uint64_t m_Errors = 0;                // results of buffers not queued, or with wrong bytes
  uint64_t m_Unreturned = 0;            // buffers queued and never returned
  std::map<int32_t, uint64_t> m_Status; // results per EGrabStatus
  uint64_t m_Delivered = 0;             // frames the plug-in handed over
};

inline SStressOutcome RunStress(Vorla::IStreamGrabber& grabber, testfg::IControl& control,
                                int rounds, uint64_t framesPerRound, size_t buffers = 8) {
  using namespace Vorla;
  std::vector<uint8_t> frame(256);
  for (size_t i = 0; i < frame.size(); ++i)
    frame[i] = static_cast<uint8_t>(i * 7);
  FrameDescriptor descriptor{};
  descriptor.m_LineCount = 4;
  descriptor.m_LineLength = descriptor.m_LinePitch = 64;
  descriptor.m_TotalSize = frame.size();
  descriptor.m_pData = frame.data();
  control.SetFrame(descriptor);

  SStressOutcome outcome;
  grabber.Open();
  std::vector<std::vector<uint8_t>> memory(buffers, std::vector<uint8_t>(frame.size()));
  std::mutex lock;                               // guards outstanding and outcome
  std::map<StreamBufferHandle, int> outstanding; // queued and not yet returned
  for (auto& m : memory)
    outstanding[grabber.RegisterBuffer(m.data(), m.size())] = 0;

  const auto take = [&](const GrabResult& r) {
    std::lock_guard<std::mutex> guard(lock);
    if (outstanding[r.m_hBuffer] != 1 ||
        (r.m_Status == Grabbed && std::memcmp(r.m_pBuffer, frame.data(), frame.size()) != 0))
      ++outcome.m_Errors;
    outstanding[r.m_hBuffer] = 0;
    ++outcome.m_Status[r.m_Status];
  };
  const auto queue = [&](StreamBufferHandle h) {
    {
      std::lock_guard<std::mutex> guard(lock);
      outstanding[h] = 1;
    }
    grabber.QueueBuffer(h, 0);
  };

  uint64_t target = control.Delivered();
  for (int round = 0; round < rounds; ++round) {
    grabber.PrepareGrab();
    for (const auto& entry : std::map<StreamBufferHandle, int>(outstanding))
      queue(entry.first);
    target += framesPerRound;
    control.Deliver(framesPerRound);

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
    while (control.Delivered() + framesPerRound / 10 < target)
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
  }
  for (const auto& entry : outstanding) {
    outcome.m_Unreturned += entry.second;
    grabber.DeregisterBuffer(entry.first);
  }
  grabber.Close();
  outcome.m_Delivered = control.Delivered();
  return outcome;
}

} // namespace rig
