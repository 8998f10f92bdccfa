#pragma once
// In-process cameras for the plug-in's tests: camera models on the ports of the loopback serial
// library, a port configuration in a temporary folder, and the log capture.
#include "TestSupport.h"

#include <camsim/CameraModel.h>
#include <camsim/LoopbackBus.h>

#include <VorlaBase/Logging.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace rig {

//! Points the host at the loopback serial library before any test touches a serial port; the
//! host reads the serial library folders once per process.
inline void UseLoopbackSerialLibrary() {
  static const bool done = [] {
    const std::string folder = testsupport::BuildDir() + "/lib/vorla-test/clserial";
    ::setenv("CLSERIALPATH", folder.c_str(), 1);
    ::unsetenv("CLSERTTY_PORTS");      // the host's own serial libraries offer no tty
    ::setenv("CLSERCOM_PORTS", "", 1); // nor COM port
    return true;
  }();
  (void)done;
}

//! "Loopback#Loop<i>"
inline std::string PortId(size_t i) {
  return "Loopback#" + camsim::CLoopbackBus::PortName(i);
}

inline std::shared_ptr<camsim::CCameraModel> Attach(size_t port, const std::string& serial,
                                                    const std::string& model = "HX1300") {
  camsim::SCameraOptions options;
  options.m_Serial = serial;
  options.m_Model = model;
  auto camera = std::make_shared<camsim::CCameraModel>(options);
  camsim::CLoopbackBus::Instance().Attach(port, camera);
  return camera;
}

//! Waits (bounded) until `condition` holds; for events of other threads, never as a delay.
inline bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

//! A temporary folder holding PortConfiguration_x64.xml, named by VORLA_CL_BINDINGS.
class CBindingsFolder {
public:
  std::string File() const { return m_folder.File("PortConfiguration_x64.xml"); }
  void Write(const std::string& ports) {
    std::ofstream(File()) << "<CLBindings>" << ports << "</CLBindings>\n";
  }
  //! Gives the file a new modification time without waiting for the clock.
  void Touch(int secondsLater) {
    const auto t = std::filesystem::last_write_time(File());
    std::filesystem::last_write_time(File(), t + std::chrono::seconds(secondsLater));
  }
  static std::string Port(const std::string& id, const std::string& more = "",
                          const char* enabled = "yes") {
    return "<Port><ID>" + id + "</ID><Enabled>" + enabled + "</Enabled>" + more + "</Port>";
  }

private:
  testsupport::CTempFolder m_folder{"VORLA_CL_BINDINGS"};
};

//! Common set-up: loopback library, three empty ports, a clean bus afterwards.
class CLoopbackTest : public ::testing::Test {
protected:
  void SetUp() override {
    UseLoopbackSerialLibrary();
    camsim::CLoopbackBus::Instance().DetachAll();
    camsim::CLoopbackBus::Instance().SetPortCount(3);
  }
  void TearDown() override { camsim::CLoopbackBus::Instance().DetachAll(); }

  vxlog::CLogCapture m_log;
};

} // namespace rig
