#pragma once
#include <VorlaBase/ITransportLayer.h>

#include <memory>
#include <mutex>

namespace Vorla {

//! Finds the transport-layer plug-ins of the installation, creates their transport layers and
//! keeps their reference counts. One per process.
class VORLABASE_API CTlFactory {
public:
  static CTlFactory& GetInstance();

  //! The transport layers available (restricted to one device class by VORLA_USE_TL).
  int EnumerateTls(TlInfoList& list);
  //! Creates (or hands out again) the transport layer of a device class; null if unknown.
  ITransportLayer* CreateTl(const gcstring& deviceClass);
  ITransportLayer* CreateTl(const CTlInfo& info) { return CreateTl(info.GetDeviceClass()); }
  //! Returns one reference; the last one destroys the transport layer.
  void ReleaseTl(const ITransportLayer* tl);
  //! Devices of every transport layer.
  int EnumerateDevices(DeviceInfoList& list, bool addToList = false);

  //! Where plug-ins are looked for (the installed transport-layer folder).
  gcstring GetPluginFolder() const;

  CTlFactory(const CTlFactory&) = delete;
  CTlFactory& operator=(const CTlFactory&) = delete;

private:
  CTlFactory();
  ~CTlFactory();
  struct Impl;
  std::unique_ptr<Impl> m_impl;
  std::recursive_mutex m_lock; // guards m_impl's tables; owned by the factory
};

} // namespace Vorla
