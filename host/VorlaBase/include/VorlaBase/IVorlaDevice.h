#pragma once
#include <VorlaBase/AccessModeSet.h>
#include <VorlaBase/DeviceInfo.h>

#include <cstdint>

namespace GenApi {
struct INodeMap;
}

namespace Vorla {

class IVorlaDevice;
class IStreamGrabber;

using DeviceCallbackHandle = unsigned long;

//! An application's removal callback. The device keeps its own clones.
class VORLA_INTERFACE DeviceCallback {
public:
  virtual ~DeviceCallback() = default;
  virtual void operator()(IVorlaDevice* device) const = 0;
  virtual DeviceCallback* Clone() const = 0;
  virtual void Destroy() { delete this; }
};

//! A removal callback calling a plain function.
class VORLA_INTERFACE FunctionDeviceCallback : public DeviceCallback {
public:
  using Function = void (*)(IVorlaDevice*);
  explicit FunctionDeviceCallback(Function f) : m_function(f) {}
  void operator()(IVorlaDevice* device) const override { m_function(device); }
  DeviceCallback* Clone() const override { return new FunctionDeviceCallback(m_function); }

private:
  Function m_function;
};

//! A camera device as the host sees it.
class VORLA_INTERFACE IVorlaDevice {
public:
  virtual ~IVorlaDevice() = default;
  virtual void Open(AccessModeSet mode) = 0;
  virtual void Close() = 0;
  virtual bool IsOpen() const = 0;
  virtual AccessModeSet GetAccessMode() const = 0;
  virtual const CDeviceInfo& GetDeviceInfo() const = 0;
  virtual uint32_t GetNumStreamGrabberChannels() = 0;
  virtual IStreamGrabber* GetStreamGrabber(uint32_t index) = 0;
  virtual void* GetEventGrabber() = 0;
  virtual GenApi::INodeMap* GetNodeMap() = 0;
  virtual GenApi::INodeMap* GetTLNodeMap() = 0;
  virtual void* CreateChunkParser() = 0;
  virtual void DestroyChunkParser(void* parser) = 0;
  virtual void* CreateEventAdapter() = 0;
  virtual void DestroyEventAdapter(void* adapter) = 0;
  virtual DeviceCallbackHandle RegisterRemovalCallback(DeviceCallback& callback) = 0;
  virtual bool DeregisterRemovalCallback(DeviceCallbackHandle handle) = 0;
};

//! How a transport layer finishes and ends the devices it created.
class VORLA_INTERFACE IVorlaDevicePrivate {
public:
  virtual void LoadXMLFromFile(const gcstring& path) = 0;
  virtual void LoadXMLFromString(const gcstring& xml, const gcstring_vector& injectedXml) = 0;
  virtual void DestroySelf() = 0;

protected:
  virtual ~IVorlaDevicePrivate() = default;
};

} // namespace Vorla
