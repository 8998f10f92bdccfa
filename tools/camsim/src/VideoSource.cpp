#include <camsim/VideoSource.h>

#include <videocable/CableWriter.h>

#include <algorithm>

namespace camsim {

CVideoSource::CVideoSource(const std::string& cableName, std::uint32_t slots,
                           std::uint64_t slotCapacity, const SVideoSettings& settings)
    : m_Writer(std::make_unique<VideoCable::CCableWriter>(cableName, slots, slotCapacity)),
      m_Settings(settings) {
  m_Writer->SetPixelClock(settings.m_PixelClock);
  m_Thread = std::thread([this] { Run(); });
}

CVideoSource::~CVideoSource() {
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    m_Quit = true;
  }
  m_Wake.notify_all();
  m_Thread.join();
}

const std::string& CVideoSource::CableName() const {
  return m_Writer->Name();
}

void CVideoSource::Start() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (!m_Running) {
    m_Running = true;
    m_FramesThisStart = 0;
    m_Triggers = 0;
    m_NextFrame = std::chrono::steady_clock::now();
  }
  m_Wake.notify_all();
}

void CVideoSource::Stop() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Running = false;
  m_Wake.notify_all();
}

void CVideoSource::Trigger() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  if (m_Running && m_Settings.m_SoftwareTrigger) {
    ++m_Triggers;
    m_Wake.notify_all();
  }
}

void CVideoSource::Update(const SVideoSettings& settings) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Settings = settings;
  m_Writer->SetPixelClock(settings.m_PixelClock);
  m_Wake.notify_all();
}

bool CVideoSource::Running() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Running;
}

std::uint64_t CVideoSource::FramesSent() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_FrameNumber;
}

void CVideoSource::Run() {
  using Clock = std::chrono::steady_clock;
  std::unique_lock<std::mutex> lock(m_Mutex);
  while (!m_Quit) {
    if (!m_Running) {
      m_Wake.wait(lock);
      continue;
    }
    if (m_Settings.m_SoftwareTrigger) {
      if (m_Triggers == 0) {
        m_Wake.wait(lock);
        continue;
      }
      --m_Triggers;
    } else if (Clock::now() < m_NextFrame) {
      m_Wake.wait_until(lock, m_NextFrame);
      continue;
    }
    // A frame takes the longer of the frame period and the exposure.
    const double periodUs =
        std::max(1e6 / std::max(m_Settings.m_FrameRate, 1e-3), m_Settings.m_ExposureUs);
    const auto period = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double, std::micro>(periodUs));
    const CTestPattern::SGeometry geometry = m_Settings.m_Geometry;
    const std::uint64_t number = ++m_FrameNumber;
    lock.unlock();
    VideoCable::SFrameInfo info;
    info.m_FrameNumber = number;
    info.m_TimestampNs = static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
            .count());
    info.m_Width = geometry.m_Width;
    info.m_Height = geometry.m_Height;
    info.m_OffsetX = geometry.m_OffsetX;
    info.m_OffsetY = geometry.m_OffsetY;
    info.m_PixelFormat = geometry.m_PixelFormat;
    info.m_LineLength = geometry.m_Width * CTestPattern::BytesPerPixel(geometry.m_PixelFormat);
    info.m_Size = CTestPattern::FrameSize(geometry);
    m_Writer->Send(info, [&](std::uint8_t* data) { CTestPattern::Render(data, geometry, number); });
    lock.lock();
    ++m_FramesThisStart;
    if ((m_Settings.m_Mode == 1 && m_FramesThisStart >= 1) ||
        (m_Settings.m_Mode == 2 && m_FramesThisStart >= m_Settings.m_FrameCount))
      m_Running = false;
    // The frame clock keeps its rate through short delays of this thread; after a long one it
    // starts afresh rather than sending a burst.
    m_NextFrame += period;
    if (Clock::now() - m_NextFrame > period * 4)
      m_NextFrame = Clock::now();
  }
}

} // namespace camsim
