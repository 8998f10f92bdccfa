#include "GrabProgress.h"

namespace VorlaCl {

CGrabProgress::CGrabProgress(std::uint64_t total, std::FILE* terminal)
    : m_Total(total), m_Terminal(terminal) {}

void CGrabProgress::Grabbed(std::uint64_t bytes, std::int32_t frameValue) {
  ++m_Grabbed;
  m_Bytes += bytes;
  // Frame values count up by one per camera frame (and may wrap): a jump is frames the grabber
  // had no buffer for.
  const std::uint32_t step =
      static_cast<std::uint32_t>(frameValue) - static_cast<std::uint32_t>(m_LastFrameValue);
  if (m_HaveFrameValue && step > 1 && step < 0x80000000u)
    m_Dropped += step - 1;
  m_HaveFrameValue = true;
  m_LastFrameValue = frameValue;
  Show(false);
}

void CGrabProgress::Failed() {
  ++m_Failed;
  Show(false);
}

void CGrabProgress::Finish() {
  if (m_Terminal && m_LastShown != Clock::time_point()) {
    std::fputs("\r\033[K", m_Terminal);
    std::fflush(m_Terminal);
  }
}

double CGrabProgress::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - m_Start).count();
}

std::string CGrabProgress::Summary() const {
  const double seconds = Seconds();
  char text[200];
  std::snprintf(text, sizeof text,
                "%llu frames grabbed in %.2f s: %.1f fps, %.1f MB/s, %llu failed, %llu dropped",
                static_cast<unsigned long long>(m_Grabbed), seconds,
                seconds > 0 ? static_cast<double>(m_Grabbed) / seconds : 0.0,
                seconds > 0 ? static_cast<double>(m_Bytes) / 1e6 / seconds : 0.0,
                static_cast<unsigned long long>(m_Failed),
                static_cast<unsigned long long>(m_Dropped));
  return text;
}

void CGrabProgress::Show(bool force) {
  if (!m_Terminal)
    return;
  const Clock::time_point now = Clock::now();
  if (!force && now - m_LastShown < std::chrono::milliseconds(250) && Done() < m_Total)
    return;
  m_LastShown = now;
  std::fprintf(m_Terminal, "\r%llu/%llu  %s\033[K", static_cast<unsigned long long>(Done()),
               static_cast<unsigned long long>(m_Total), Summary().c_str());
  std::fflush(m_Terminal);
}

} // namespace VorlaCl
