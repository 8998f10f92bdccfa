#pragma once
// A camera device that does nothing and has nothing; doubles override what their test needs.
#include <VorlaBase/IVorlaDevice.h>

namespace testsupport {

class CNullDevice : public Vorla::IVorlaDevice {
public:
  void Open(Vorla::AccessModeSet) override {}
  void Close() override {}
  bool IsOpen() const override { return false; }
  Vorla::AccessModeSet GetAccessMode() const override { return {}; }
  const Vorla::CDeviceInfo& GetDeviceInfo() const override { return m_Info; }
  uint32_t GetNumStreamGrabberChannels() override { return 0; }
  Vorla::IStreamGrabber* GetStreamGrabber(uint32_t) override { return nullptr; }
  void* GetEventGrabber() override { return nullptr; }
  GenApi::INodeMap* GetNodeMap() override { return nullptr; }
  GenApi::INodeMap* GetTLNodeMap() override { return nullptr; }
  void* CreateChunkParser() override { return nullptr; }
  void DestroyChunkParser(void*) override {}
  void* CreateEventAdapter() override { return nullptr; }
  void DestroyEventAdapter(void*) override {}
  Vorla::DeviceCallbackHandle RegisterRemovalCallback(Vorla::DeviceCallback&) override { return 0; }
  bool DeregisterRemovalCallback(Vorla::DeviceCallbackHandle) override { return false; }

  Vorla::CDeviceInfo m_Info;
};

} // namespace testsupport
