#pragma once
// vorla-cl grab: frames from an open camera's stream grabber into memory and, when asked, into
// PNG files.
#include <cstdint>
#include <string>

namespace Vorla {
class IVorlaDevice;
}

struct SGrabOptions {
  uint64_t m_Count = 10;
  std::string m_Pattern; /* empty: measure only */
  uint32_t m_Buffers = 8;
  uint32_t m_TimeoutMs = 5000;
  bool m_Verbose = false; /* a line per frame: number, time stamp, status */
  bool m_Json = false;    /* the summary as one JSON document */
};

//! Grabs options.m_Count frames from the device's first stream into options.m_Buffers buffers
//! of the camera's PayloadSize, waiting at most options.m_TimeoutMs for each, and writes each
//! to the file that options.m_Pattern names for its index (CFramePathPattern). Shows progress
//! on a terminal and prints a summary (frames, fps, MB/s, failed, dropped). SIGINT or SIGTERM
//! ends the grab early (the summary still comes) and returns 128 + the signal. Returns 0, or 1
//! after one line on standard error saying why. The device must be open; on return the stream
//! is closed and the camera stopped and unlocked, whatever happened.
int RunGrab(Vorla::IVorlaDevice& device, const SGrabOptions& options);
