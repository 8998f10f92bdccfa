// A minimal frame-grabber plug-in, built against the SDK's installed contract header only.
//
// It stands in for a real grabber: once started it hands a synthetic 8-bit frame (a gradient
// that moves by one grey level per frame) to the stream grabber every 10 ms from a thread of its
// own. "FrameBytes=<n>" in the parameter string sets the frame size (default 640 x 480).
#include <vorla/IFrameGrabber.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

class CExampleFrameGrabber final : public Vorla::IFrameGrabber {
public:
  explicit CExampleFrameGrabber(const char* parameters) {
    const char* size = std::strstr(parameters, "FrameBytes=");
    const unsigned long bytes = size ? std::strtoul(size + 11, nullptr, 10) : 640ul * 480ul;
    m_Frame.resize(std::min<unsigned long>(std::max<unsigned long>(bytes, 1), 64ul << 20));
  }
  ~CExampleFrameGrabber() { Close(); }

  bool Open(const char*, Vorla::FgCallee* callee) override {
    if (!callee) {
      m_LastError = "no callee";
      return false;
    }
    m_pCallee = callee;
    return true;
  }
  void Close() override {
    StopGrab();
    m_pCallee = nullptr;
  }
  bool StartGrab() override {
    if (m_Thread.joinable())
      return true;
    m_Stop = false;
    m_Thread = std::thread([this] { Deliver(); });
    return true;
  }
  // Returns only when no FrameReady call is under way, as the contract asks.
  bool StopGrab() override {
    {
      std::lock_guard<std::mutex> guard(m_Mutex);
      m_Stop = true;
    }
    m_Wake.notify_all();
    if (m_Thread.joinable())
      m_Thread.join();
    return true;
  }
  size_t GetLastErrorText(char* buffer, size_t bufferSize) override {
    if (buffer && bufferSize) {
      const size_t n = std::min(bufferSize - 1, m_LastError.size());
      std::memcpy(buffer, m_LastError.data(), n);
      buffer[n] = '\0';
      return n;
    }
    return m_LastError.size();
  }
  int64_t QueryValue(uint32_t valueNumber) override {
    return valueNumber == Vorla::FgValuePixelClock ? 40000000 : 0; // a 40 MHz pixel clock
  }

private:
  void Deliver() {
    std::unique_lock<std::mutex> guard(m_Mutex);
    for (int32_t frame = 1; !m_Stop; ++frame) {
      for (size_t i = 0; i < m_Frame.size(); ++i)
        m_Frame[i] = static_cast<uint8_t>(i + static_cast<size_t>(frame));
      Vorla::FrameDescriptor descriptor{};
      descriptor.m_LineCount = 1;
      descriptor.m_LineLength = descriptor.m_LinePitch = descriptor.m_TotalSize = m_Frame.size();
      descriptor.m_pData = m_Frame.data();
      descriptor.m_FrameValue = frame;
      m_pCallee->FrameReady(descriptor);
      m_Wake.wait_for(guard, std::chrono::milliseconds(10), [this] { return m_Stop; });
    }
  }

  Vorla::FgCallee* m_pCallee = nullptr;
  std::string m_LastError;
  std::vector<uint8_t> m_Frame; // written by the delivery thread only
  std::thread m_Thread;         // the delivery thread, between StartGrab and StopGrab
  std::mutex m_Mutex;           // guards m_Stop; held by the delivery thread except while waiting
  std::condition_variable m_Wake;
  bool m_Stop = false;
};

} // namespace

VORLA_FG_PLUGIN_EXPORT Vorla::IFrameGrabber* CreateFrameGrabberObject(const char* parameters) {
  try {
    return new CExampleFrameGrabber(parameters ? parameters : "");
  } catch (...) {
    return nullptr; // nothing may cross the C boundary
  }
}

VORLA_FG_PLUGIN_EXPORT void DestroyFrameGrabberObject(Vorla::IFrameGrabber* frameGrabber) {
  delete static_cast<CExampleFrameGrabber*>(frameGrabber);
}
