#pragma once
#include "IVorlaCLSerRemovalSink.h"

#include <GenApi/NodeMapRef.h>
#include <GenApi/Synch.h>
#include <GenApi/Types.h>
#include <VorlaBase/IVorlaDevice.h>
#include <platform/Mutex.h>
#include <vorla/VorlaCLSerDeviceInfo.h>

#include <atomic>
#include <memory>
#include <utility>
#include <vector>

namespace GenApi {
struct INode;
}

namespace Vorla {

class CVorlaCLSerPort;
class CVorlaCLSerStreamGrabber;

//! One Camera Link camera: opens on its serial register port, sets the serial baud rate, holds
//! the camera node map ("Device", the third base) and a transport-layer node map with
//! AutoCloseTimeout, and relays the camera's removal to the application's callbacks.
//!
//! Open, Close and the creation interface are called by one thread at a time (the host's
//! contract); removal callbacks and their registration are thread-safe (device lock).
class CVorlaCLSerDevice : public IVorlaDevice,
                          public IVorlaDevicePrivate,
                          public GenApi::CNodeMapRef,
                          private IVorlaCLSerRemovalSink {
public:
  //! The device does not own `port`; the transport layer's port cache does.
  CVorlaCLSerDevice(const CDeviceInfo& info, CVorlaCLSerPort& port);
  ~CVorlaCLSerDevice() override;
  CVorlaCLSerDevice(const CVorlaCLSerDevice&) = delete;
  CVorlaCLSerDevice& operator=(const CVorlaCLSerDevice&) = delete;

  // IVorlaDevice
  void Open(AccessModeSet mode) override;
  void Close() override;
  bool IsOpen() const override;
  AccessModeSet GetAccessMode() const override;
  const CDeviceInfo& GetDeviceInfo() const override;
  uint32_t GetNumStreamGrabberChannels() override;
  IStreamGrabber* GetStreamGrabber(uint32_t index) override;
  void* GetEventGrabber() override;
  GenApi::INodeMap* GetNodeMap() override;
  GenApi::INodeMap* GetTLNodeMap() override;
  void* CreateChunkParser() override;
  void DestroyChunkParser(void* parser) override;
  void* CreateEventAdapter() override;
  void DestroyEventAdapter(void* adapter) override;
  DeviceCallbackHandle RegisterRemovalCallback(DeviceCallback& callback) override;
  bool DeregisterRemovalCallback(DeviceCallbackHandle handle) override;

  // IVorlaDevicePrivate
  void LoadXMLFromFile(const gcstring& path) override;
  void LoadXMLFromString(const gcstring& xml, const gcstring_vector& injectedXml) override;
  void DestroySelf() override;

private:
  // IVorlaCLSerRemovalSink: the port reports the camera's removal here.
  void NotifyRemoval() override;
  bool IsDeviceOpen() const override { return IsOpen(); }
  GenApi::INodeMap* GetCameraNodeMap() override { return _Ptr; }

  void RestrictBaudRates();
  void OnAutoCloseTimeoutChanged(GenApi::INode* node);
  void ConnectCameraNodeMap();

  using CallbackList = std::vector<std::pair<DeviceCallbackHandle, DeviceCallback*>>;
  static void DestroyAll(CallbackList& callbacks);

  const CVorlaCLSerDeviceInfo m_DeviceInfo;
  const AccessModeSet m_AccessMode;
  GenApi::CNodeMapRef m_TlNodeMap{"Device"};
  bool m_TlNodeMapLoaded = false;
  CVorlaCLSerPort* const m_pPort;
  std::unique_ptr<CVorlaCLSerStreamGrabber> m_pStreamGrabber;
  // Guards the removal link and the callback list; callbacks run without it. Owned by the device.
  mutable GenApi::CLock m_Lock;
  IVorlaDevice* m_pRemovalLink VORLA_GUARDED_BY(m_Lock) = nullptr;
  CallbackList m_RemovalCallbacks VORLA_GUARDED_BY(m_Lock); // owned clones, in registration order
  gcstring m_Name;
  GenApi::CallbackHandleType m_hAutoCloseTimeoutCallback = 0;
  std::atomic<bool> m_IsOpen{false}; // also asked by a probe on a discovery thread
  int32_t m_NumStreamGrabberChannels = -1;
};

} // namespace Vorla
