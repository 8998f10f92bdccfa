#pragma once
// A progress line on a terminal while a camera description downloads.
#include <CLProtocol/IXMLDownloadObserver.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace VorlaCl {

//! Installed as the calling thread's description-download observer for its lifetime; redraws
//! one line on `out` (bytes received, rate, elapsed time; the description's size at the end) at
//! most ten times a second. Draws nothing when `out` is not a terminal. Bound to its thread.
class CDownloadProgressLine : public CLProtocol::IXMLDownloadObserver {
public:
  explicit CDownloadProgressLine(std::FILE* out);
  ~CDownloadProgressLine() override;
  CDownloadProgressLine(const CDownloadProgressLine&) = delete;
  CDownloadProgressLine& operator=(const CDownloadProgressLine&) = delete;

  void OnXMLDownloadProgress(uint64_t lineBytes) override;
  void OnXMLDownloadEnd(uint64_t lineBytes, uint64_t descriptionSize) override;

  //! "12.3 KiB received, 4.1 KiB/s, 3.0 s"
  static std::string FormatProgress(uint64_t lineBytes, double seconds);

private:
  double Elapsed() const;

  std::FILE* m_Out;
  bool m_Terminal;
  CLProtocol::IXMLDownloadObserver* m_Previous;
  std::chrono::steady_clock::time_point m_Start;
  std::chrono::steady_clock::time_point m_LastDraw;
  bool m_Started = false;
};

} // namespace VorlaCl
