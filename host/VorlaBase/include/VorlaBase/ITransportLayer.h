#pragma once
#include <VorlaBase/DeviceInfo.h>
#include <VorlaBase/IVorlaDevice.h>
#include <VorlaBase/TlInfo.h>

#include <atomic>
#include <cstdint>

namespace Vorla {

//! Hands out the camera description that a device carries.
class VORLA_INTERFACE IXmlFileProvider {
public:
  virtual bool IsXMLFileAvailable(const CDeviceInfo& info) = 0;
  virtual void ProvideXMLFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) = 0;

protected:
  virtual ~IXmlFileProvider() = default;
};

//! Enumerates and creates devices (slots 0 to 7 of a transport layer).
class VORLA_INTERFACE IDeviceFactory {
public:
  virtual int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter,
                               bool addToList = false) = 0;
  virtual int EnumerateDevices(DeviceInfoList& list, bool addToList = false) = 0;
  virtual IVorlaDevice* CreateDevice(const gcstring& fullName) = 0;
  virtual IVorlaDevice* CreateDevice(const CDeviceInfo& info,
                                     const gcstring_vector& injectedXml) = 0;
  virtual IVorlaDevice* CreateDevice(const CDeviceInfo& info) = 0;
  virtual IVorlaDevice* CreateFirstDevice(const CDeviceInfo& info,
                                          const gcstring_vector& injectedXml) = 0;
  virtual IVorlaDevice* CreateFirstDevice(const CDeviceInfo& info) = 0;
  virtual void DestroyDevice(IVorlaDevice* device) = 0;

protected:
  virtual ~IDeviceFactory() = default;
};

//! A transport layer. Slots 8 to 11 are public, 12 to 20 the generic base's internals.
class VORLA_INTERFACE ITransportLayer : public IDeviceFactory {
public:
  virtual CTlInfo GetTlInfo() const = 0;
  virtual CDeviceInfo CreateDeviceInfo() = 0;
  virtual IXmlFileProvider* GetXmlFileProvider() = 0;
  virtual bool IsAllowedByEnvironment() = 0;

  virtual int InternalEnumerateDevices(DeviceInfoList& list) = 0;
  virtual IVorlaDevice* CreateDeviceWithDescription(const CDeviceInfo& info,
                                                    const gcstring_vector& injectedXml) = 0;
  virtual IVorlaDevice* FindAndCreateDevice(const CDeviceInfo& info,
                                            const gcstring_vector& injectedXml, bool first) = 0;
  virtual IVorlaDevice* InternalCreateDevice(const CDeviceInfo& info) = 0;
  virtual CDeviceInfo InternalCreateDeviceInfo() = 0;
  virtual bool IsDeviceMatch(const CDeviceInfo& device, const CDeviceInfo& filterEntry) = 0;
  virtual gcstring GetDeviceClass() const = 0;
  virtual bool CanCreateWithoutLookup(const CDeviceInfo& info) = 0;
  virtual void DestroyAllDevices() = 0;
};

//! The host factory's handle on a transport layer's reference count.
class VORLA_INTERFACE ITransportLayerPrivate {
public:
  //! Drops one reference and answers the new count.
  virtual int Release() = 0;

protected:
  virtual ~ITransportLayerPrivate() = default;
};

//! An atomic reference count with a hook for the last reference.
class VORLA_INTERFACE CRefCounted {
public:
  virtual ~CRefCounted() = default;
  virtual void OnLastReference() = 0;

protected:
  std::atomic<int32_t> m_refCount{0};
};

} // namespace Vorla
