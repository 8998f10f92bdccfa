// A frame-grabber plug-in for the stream grabber's tests, built against the installed contract
// only. Frames come from its own thread, on command; operations fail on command.
#include "TestFrameGrabberControl.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace {

class CTestFrameGrabber final : public Vorla::IFrameGrabber, public testfg::IControl {
public:
  CTestFrameGrabber() : m_Thread([this] { Run(); }) {}
  ~CTestFrameGrabber() {
    {
      std::lock_guard<std::mutex> guard(m_Mutex);
      m_Quit = true;
    }
    m_Changed.notify_all();
    m_Thread.join();
  }

  bool Open(const char* parameters, Vorla::FgCallee* callee) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    if (Failing("Open"))
      return false;
    m_pCallee = callee;
    return true;
  }
  void Close() override {
    std::unique_lock<std::mutex> guard(m_Mutex);
    ++m_Calls["Close"];
    StopLocked(guard);
    m_pCallee = nullptr;
  }
  bool StartGrab() override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    if (Failing("StartGrab"))
      return false;
    m_Grabbing = true;
    m_Changed.notify_all();
    return true;
  }
  // Stops even when told to fail, so that no frame follows a stop.
  bool StopGrab() override {
    std::unique_lock<std::mutex> guard(m_Mutex);
    const bool failed = Failing("StopGrab");
    StopLocked(guard);
    return !failed;
  }
  size_t GetLastErrorText(char* buffer, size_t bufferSize) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    if (buffer && bufferSize) {
      const size_t n = std::min(bufferSize - 1, m_LastError.size());
      std::memcpy(buffer, m_LastError.data(), n);
      buffer[n] = '\0';
      return n;
    }
    return m_LastError.size();
  }
  int64_t QueryValue(uint32_t valueNumber) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_LastQuery = valueNumber;
    return m_QueryAnswer;
  }

  void FailNext(const char* operation, const char* text) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Failures[operation] = text;
  }
  void SetFrame(const Vorla::FrameDescriptor& frame) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Frame = frame;
  }
  void Deliver(uint64_t count) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_Pending += count;
    m_Changed.notify_all();
  }
  bool WaitDelivered() override {
    std::unique_lock<std::mutex> guard(m_Mutex);
    return m_Changed.wait_for(guard, std::chrono::seconds(10),
                              [this] { return (m_Pending == 0 || !m_Grabbing) && !m_InFrame; });
  }
  uint64_t Delivered() override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Delivered;
  }
  int Calls(const char* operation) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    return m_Calls[operation];
  }
  void SetQueryAnswer(int64_t value) override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    m_QueryAnswer = value;
  }
  uint32_t LastQueryNumber() override {
    std::lock_guard<std::mutex> guard(m_Mutex);
    return m_LastQuery;
  }

private:
  bool Failing(const char* operation) {
    ++m_Calls[operation];
    const auto it = m_Failures.find(operation);
    if (it == m_Failures.end())
      return false;
    m_LastError = it->second;
    m_Failures.erase(it);
    return true;
  }
  // The contract: once stopped, no FrameReady is under way or follows.
  void StopLocked(std::unique_lock<std::mutex>& guard) {
    m_Grabbing = false;
    m_Changed.notify_all();
    m_Changed.wait(guard, [this] { return !m_InFrame; });
  }
  void Run() {
    std::unique_lock<std::mutex> guard(m_Mutex);
    for (;;) {
      m_Changed.wait(guard, [this] { return m_Quit || (m_Grabbing && m_Pending && m_pCallee); });
      if (m_Quit)
        return;
      --m_Pending;
      Vorla::FrameDescriptor frame = m_Frame;
      frame.m_FrameValue = ++m_FrameValue;
      Vorla::FgCallee* callee = m_pCallee;
      m_InFrame = true;
      guard.unlock();
      callee->FrameReady(frame);
      std::this_thread::yield(); // lets the application's threads keep up, as a camera's pace would
      guard.lock();
      m_InFrame = false;
      ++m_Delivered;
      m_Changed.notify_all();
    }
  }

  // Guards every member below; the delivery thread releases it during FrameReady.
  std::mutex m_Mutex;
  std::condition_variable m_Changed;
  bool m_Quit = false, m_Grabbing = false, m_InFrame = false;
  uint64_t m_Pending = 0, m_Delivered = 0;
  int32_t m_FrameValue = 0;
  Vorla::FgCallee* m_pCallee = nullptr;
  Vorla::FrameDescriptor m_Frame{};
  std::map<std::string, int> m_Calls;
  std::map<std::string, std::string> m_Failures;
  std::string m_LastError;
  int64_t m_QueryAnswer = 0;
  uint32_t m_LastQuery = 0;
  std::thread m_Thread; // last: starts after everything it reads
};

std::atomic<CTestFrameGrabber*> s_Current{nullptr};

} // namespace

VORLA_FG_PLUGIN_EXPORT Vorla::IFrameGrabber* CreateFrameGrabberObject(const char* parameters) {
  if (std::strstr(parameters, "CreateFails"))
    return nullptr;
  auto* grabber = new CTestFrameGrabber();
  s_Current = grabber;
  return grabber;
}

VORLA_FG_PLUGIN_EXPORT void DestroyFrameGrabberObject(Vorla::IFrameGrabber* frameGrabber) {
  auto* grabber = static_cast<CTestFrameGrabber*>(frameGrabber);
  CTestFrameGrabber* expected = grabber;
  s_Current.compare_exchange_strong(expected, nullptr);
  delete grabber;
}

VORLA_FG_PLUGIN_EXPORT testfg::IControl* TestFrameGrabberControl() {
  return s_Current;
}
