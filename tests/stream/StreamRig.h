#pragma once
// The stream grabber's test rig: a camera device double whose node map sits on a counting memory
// port, the test frame-grabber plug-ins in their own root, and the log capture.
#include "../genapi/MemoryPort.h"
#include "../support/NullDevice.h"
#include "../support/TestSupport.h"
#include "fgplugin/TestFrameGrabberControl.h"

#include <GenApi/GenApi.h>
#include <GenApi/NodeMapRef.h>
#include <VorlaBase/Logging.h>

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>

namespace rig {

//! <build>/lib/vorla-test/<name>: fgroot holds the test plug-ins, emptyroot nothing.
inline std::string TestRoot(const std::string& name) {
  return testsupport::BuildDir() + "/lib/vorla-test/" + name;
}

//! Points the host's folder of frame-grabber plug-ins at a test root for the life of the object;
//! an empty name is the build tree itself, with the real Dravik and Melsor plug-ins.
class CPluginRoot {
public:
  explicit CPluginRoot(const std::string& name = "fgroot")
      : m_root("VORLA_ROOT", (name.empty() ? testsupport::BuildDir() : TestRoot(name)).c_str()) {}
  static std::string Plugin(const char* family, const char* root = "fgroot") {
    return testsupport::ModulePath(TestRoot(root), "fg", family + std::string("_MD_VC80"));
  }

private:
  testsupport::CEnvGuard m_root;
};

//! The control of the test plug-in's live object, found in the library the grabber loaded.
inline testfg::IControl* Control() {
  void* library = ::dlopen(CPluginRoot::Plugin("Dravik").c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (!library)
    return nullptr;
  auto control =
      reinterpret_cast<testfg::ControlFunction>(::dlsym(library, testfg::ControlFunctionName));
  testfg::IControl* result = control ? control() : nullptr;
  ::dlclose(library);
  return result;
}

struct SCameraOptions {
  bool m_TLParamsLocked = true;
  bool m_Binning = true; // BinningHorizontal, BinningVertical, ClTapGeometry
};

inline std::string Register(const char* name, int address) {
  return "<IntReg Name=\"" + std::string(name) + "\"><Address>" + std::to_string(address) +
         "</Address><Length>8</Length><AccessMode>RW</AccessMode><pPort>Device</pPort>"
         "<Sign>Signed</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
}

//! A camera description with the nodes a stream grabber reads, each on its own cached register.
inline std::string CameraXml(const SCameraOptions& options = {}) {
  std::string nodes = Register("Width", 0x00) + Register("Height", 0x08) +
                      Register("OffsetX", 0x10) + Register("OffsetY", 0x18) +
                      Register("PayloadSize", 0x20) + Register("PixelFormatReg", 0x28) +
                      "<Enumeration Name=\"PixelFormat\">"
                      "<EnumEntry Name=\"Mono8\"><Value>1</Value></EnumEntry>"
                      "<EnumEntry Name=\"RGB8\"><Value>2</Value></EnumEntry>"
                      "<EnumEntry Name=\"Mono7Fancy\"><Value>3</Value></EnumEntry>"
                      "<pValue>PixelFormatReg</pValue></Enumeration>\n"
                      "<Boolean Name=\"Flag\"><Value>0</Value></Boolean>\n" +
                      Register("ClPixelClock", 0x48);
  if (options.m_TLParamsLocked)
    nodes +=
        "<Integer Name=\"TLParamsLocked\"><Value>0</Value><Min>0</Min><Max>1</Max></Integer>\n";
  if (options.m_Binning)
    nodes += Register("BinningHorizontal", 0x30) + Register("BinningVertical", 0x38) +
             Register("ClTapGeometryReg", 0x40) +
             "<Enumeration Name=\"ClTapGeometry\">"
             "<EnumEntry Name=\"Geometry_1X\"><Value>0</Value></EnumEntry>"
             "<pValue>ClTapGeometryReg</pValue></Enumeration>\n";
  return Describe(nodes);
}

//! Holds the next frame inside its delivery (where it asks for the camera's node map) until the
//! test opens the gate: the buffer is then being filled. Armed while no frame is delivered.
class CGate {
public:
  void Arm() {
    m_Reached = {};
    m_Opened = {};
    m_Armed = true;
  }
  void Pass() {
    if (!m_Armed.exchange(false))
      return;
    std::future<void> opened = m_Opened.get_future();
    m_Reached.set_value();
    opened.wait();
  }
  bool WaitReached() {
    return m_Reached.get_future().wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  }
  void Open() { m_Opened.set_value(); }

private:
  std::promise<void> m_Reached, m_Opened;
  std::atomic<bool> m_Armed{false};
};

//! A camera device as the stream grabber sees it: open or not, and its node map (which can
//! vanish).
class CTestDevice : public testsupport::CNullDevice {
public:
  explicit CTestDevice(const SCameraOptions& options = {}) {
    for (int64_t address = 0; address < 0x50; ++address)
      m_Port.m_Bytes[address] = 0;
    m_NodeMap._LoadXMLFromString(CameraXml(options));
    m_NodeMap._Connect(&m_Port, "Device");
    SetGeometry(64, 4, 8, 2, 256, 1);
  }
  void SetGeometry(int64_t width, int64_t height, int64_t offsetX, int64_t offsetY,
                   int64_t payloadSize, int64_t pixelFormat) {
    Int("Width")->SetValue(width);
    Int("Height")->SetValue(height);
    Int("OffsetX")->SetValue(offsetX);
    Int("OffsetY")->SetValue(offsetY);
    Int("PayloadSize")->SetValue(payloadSize);
    Int("PixelFormatReg")->SetValue(pixelFormat);
  }
  GenApi::CIntegerPtr Int(const char* name) { return m_NodeMap._GetNode(name); }
  GenApi::INode* Node(const char* name) { return m_NodeMap._GetNode(name); }

  bool IsOpen() const override { return m_IsOpen; }
  GenApi::INodeMap* GetNodeMap() override {
    m_Gate.Pass();
    return m_Vanished ? nullptr : m_NodeMap._Ptr;
  }

  CMemoryPort m_Port; // counts register transactions
  GenApi::CNodeMapRef m_NodeMap{"Device"};
  std::atomic<bool> m_IsOpen{true};
  std::atomic<bool> m_Vanished{false};
  CGate m_Gate;
};

//! How many stream log lines of `level` read exactly `text`.
inline size_t Logged(const vxlog::CLogCapture& log, unsigned level, const std::string& text) {
  size_t count = 0;
  for (const vxlog::LogEntry& entry : log.Entries())
    count += entry.category == "Vorla.CLSer.Stream" && entry.level == level && entry.text == text;
  return count;
}

//! The text a GenICam exception message shows for a buffer handle ("%p").
inline std::string HandleText(uint64_t handle) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", reinterpret_cast<void*>(static_cast<uintptr_t>(handle)));
  return text;
}

} // namespace rig
