#include "DownloadProgressLine.h"

#include <unistd.h>

namespace VorlaCl {
namespace {

const auto kRedrawInterval = std::chrono::milliseconds(100);

std::string KiB(double bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f KiB", bytes / 1024.0);
  return text;
}

} // namespace

CDownloadProgressLine::CDownloadProgressLine(std::FILE* out)
    : m_Out(out), m_Terminal(isatty(fileno(out)) != 0),
      m_Previous(CLProtocol::SetXMLDownloadObserver(this)) {}

CDownloadProgressLine::~CDownloadProgressLine() {
  CLProtocol::SetXMLDownloadObserver(m_Previous);
}

double CDownloadProgressLine::Elapsed() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_Start).count();
}

std::string CDownloadProgressLine::FormatProgress(uint64_t lineBytes, double seconds) {
  char rate[48];
  std::snprintf(rate, sizeof rate, "%s/s, %.1f s",
                KiB(seconds > 0 ? static_cast<double>(lineBytes) / seconds : 0).c_str(), seconds);
  return KiB(static_cast<double>(lineBytes)) + " received, " + rate;
}

void CDownloadProgressLine::OnXMLDownloadProgress(uint64_t lineBytes) {
  const auto now = std::chrono::steady_clock::now();
  if (!m_Started) {
    m_Started = true;
    m_Start = now;
    m_LastDraw = now - kRedrawInterval;
  }
  if (!m_Terminal || now - m_LastDraw < kRedrawInterval)
    return;
  m_LastDraw = now;
  std::fprintf(m_Out, "\rdownloading the description: %s\033[K",
               FormatProgress(lineBytes, Elapsed()).c_str());
  std::fflush(m_Out);
}

void CDownloadProgressLine::OnXMLDownloadEnd(uint64_t lineBytes, uint64_t descriptionSize) {
  if (!m_Terminal || !m_Started)
    return;
  m_Started = false;
  if (descriptionSize == 0)
    std::fprintf(m_Out, "\rdownload of the description stopped: %s\033[K\n",
                 FormatProgress(lineBytes, Elapsed()).c_str());
  else
    std::fprintf(m_Out, "\rdescription of %llu bytes downloaded: %s\033[K\n",
                 static_cast<unsigned long long>(descriptionSize),
                 FormatProgress(lineBytes, Elapsed()).c_str());
  std::fflush(m_Out);
}

} // namespace VorlaCl
