#pragma once
// Frames from a plug-in's delivery thread while application threads queue, retrieve and cancel,
// the main thread finishes each round while frames may still be under way, and closes each
// session while a frame is being delivered. Shared by the stress tests and the soak benchmark.
#include "fgplugin/TestFrameGrabberControl.h"

#include <VorlaBase/IStreamGrabber.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
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

//! Where the frames come from.
struct SStressSource {
  size_t m_FrameSize;
  std::function<void(uint64_t)> m_Deliver;              // asks for more frames
  std::function<uint64_t()> m_Delivered;                // frames handed over so far
  std::function<bool(const Vorla::GrabResult&)> m_Good; // a grabbed buffer holds a whole frame
};

inline SStressOutcome RunStress(Vorla::IStreamGrabber& grabber, const SStressSource& source,
                                int rounds, uint64_t framesPerRound, size_t buffers = 8) {
  using namespace Vorla;
  SStressOutcome outcome;
  std::vector<std::vector<uint8_t>> memory(buffers, std::vector<uint8_t>(source.m_FrameSize));
  std::mutex lock;                               // guards outstanding and outcome
  std::map<StreamBufferHandle, int> outstanding; // queued and not yet returned
  const auto take = [&](const GrabResult& r) {
    std::lock_guard<std::mutex> guard(lock);
    if (outstanding[r.m_hBuffer] != 1 || (r.m_Status == Grabbed && !source.m_Good(r)))
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

  uint64_t target = source.m_Delivered();
  for (int round = 0; round < rounds; ++round) {
    // Every round is a session of its own, opened after one closed with a frame under way.
    grabber.Open();
    outstanding.clear();
    for (auto& m : memory)
      outstanding[grabber.RegisterBuffer(m.data(), m.size())] = 0;
    grabber.PrepareGrab();
    for (const auto& entry : std::map<StreamBufferHandle, int>(outstanding))
      queue(entry.first);
    target += framesPerRound;
    source.m_Deliver(framesPerRound);

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
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (source.m_Delivered() + framesPerRound / 10 < target &&
           std::chrono::steady_clock::now() < deadline)
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
    for (const auto& entry : outstanding)
      outcome.m_Unreturned += entry.second;
    // Grabbing again, closed with the delivery thread running once the buffer is filled (a
    // buffer still queued would stay in InputQueue, whose stale handles a later cancel returns).
    grabber.PrepareGrab();
    grabber.QueueBuffer(outstanding.begin()->first, 0);
    source.m_Deliver(1);
    grabber.GetWaitObject().Wait(10000);
    grabber.Close();
  }
  outcome.m_Delivered = source.m_Delivered();
  return outcome;
}

//! Frames of the test plug-in: a fixed picture, on demand.
inline SStressOutcome RunStress(Vorla::IStreamGrabber& grabber, testfg::IControl& control,
                                int rounds, uint64_t framesPerRound, size_t buffers = 8) {
  static std::vector<uint8_t> frame(256);
  for (size_t i = 0; i < frame.size(); ++i)
    frame[i] = static_cast<uint8_t>(i * 7);
  Vorla::FrameDescriptor descriptor{};
  descriptor.m_LineCount = 4;
  descriptor.m_LineLength = descriptor.m_LinePitch = 64;
  descriptor.m_TotalSize = frame.size();
  descriptor.m_pData = frame.data();
  control.SetFrame(descriptor);
  const SStressSource source{frame.size(), [&](uint64_t count) { control.Deliver(count); },
                             [&] { return control.Delivered(); },
                             [](const Vorla::GrabResult& r) {
                               return std::memcmp(r.m_pBuffer, frame.data(), frame.size()) == 0;
                             }};
  return RunStress(grabber, source, rounds, framesPerRound, buffers);
}

} // namespace rig
