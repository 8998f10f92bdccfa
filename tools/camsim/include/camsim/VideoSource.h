#pragma once
#include <camsim/CamSimDef.h>
#include <camsim/TestPattern.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace VideoCable {
class CCableWriter;
}

namespace camsim {

//! What the camera's registers say about its video.
struct SVideoSettings {
  CTestPattern::SGeometry m_Geometry;
  double m_FrameRate = 30.0; //!< Hz
  double m_ExposureUs = 10000.0;
  std::uint32_t m_Mode = 0;       //!< 0 continuous, 1 single frame, 2 multi-frame
  std::uint32_t m_FrameCount = 1; //!< frames per start in multi-frame mode
  bool m_SoftwareTrigger = false; //!< each frame waits for a software trigger
  std::uint64_t m_PixelClock = 85000000;
};

//! The camera's video output: a thread that draws the test pattern and sends it over the cable
//! at the frame rate (or per software trigger) while acquisition runs. Thread-safe; its own
//! lock is taken after the camera model's, never before.
class CAMSIM_API CVideoSource {
public:
  //! Claims the cable of the channel; throws std::runtime_error when it is served elsewhere.
  CVideoSource(const std::string& cableName, std::uint32_t slots, std::uint64_t slotCapacity,
               const SVideoSettings& settings);
  ~CVideoSource();
  CVideoSource(const CVideoSource&) = delete;
  CVideoSource& operator=(const CVideoSource&) = delete;

  void Start();
  void Stop();
  void Trigger();
  //! New register values; the next frame uses them.
  void Update(const SVideoSettings& settings);
  bool Running();
  std::uint64_t FramesSent();
  const std::string& CableName() const;

private:
  void Run();

  std::unique_ptr<VideoCable::CCableWriter> m_Writer;
  // Owned by the source; guards the members below; m_Wake wakes the video thread.
  std::mutex m_Mutex;
  std::condition_variable m_Wake;
  SVideoSettings m_Settings;
  bool m_Running = false;
  bool m_Quit = false;
  std::uint32_t m_Triggers = 0;
  std::uint32_t m_FramesThisStart = 0;
  std::uint64_t m_FrameNumber = 0;
  std::chrono::steady_clock::time_point m_NextFrame;
  std::thread m_Thread; //!< the video thread, joined by the destructor
};

} // namespace camsim
