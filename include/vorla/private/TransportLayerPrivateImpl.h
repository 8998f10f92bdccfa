#pragma once
// The generic half of a transport layer: enumeration with a filter, device lookup and creation,
// the book of created devices, the reference count and the environment restriction. A transport
// layer derives from CTransportLayerBase<ITransportLayer> and supplies the Internal* operations,
// the device class and the match rule.
#include <Base/GCException.h>
#include <VorlaBase/ITransportLayer.h>
#include <VorlaBase/Logging.h>
#include <VorlaBase/TlFactory.h>
#include <platform/Environment.h>

#include <memory>
#include <set>

namespace Vorla {

template <class Interface>
class CTransportLayerBase : public Interface, public ITransportLayerPrivate, private CRefCounted {
public:
  CTransportLayerBase() : m_pDevices(new std::set<IVorlaDevice*>) {
    ++m_refCount;
    gcstring value;
    if (Platform::GetEnv("VORLA_USE_TL", value))
      m_environmentRestriction = value.substr(0, 255);
  }

  ~CTransportLayerBase() override {
    // Count down to zero (never below: an over-released count must not spin for ever).
    ++m_refCount;
    while (--m_refCount > 0) {
    }
    OnLastReference();
    DestroyAllDevices();
  }

  CTransportLayerBase(const CTransportLayerBase&) = delete;
  CTransportLayerBase& operator=(const CTransportLayerBase&) = delete;

  // slot 0
  int EnumerateDevices(DeviceInfoList& list, const DeviceInfoList& filter,
                       bool addToList = false) override {
    if (!addToList)
      list.clear();
    if (!IsAllowedByEnvironment())
      return 0;
    if (filter.empty())
      return this->InternalEnumerateDevices(list);
    bool forThisClass = false;
    for (const CDeviceInfo& entry : filter)
      if (!entry.IsDeviceClassAvailable() || entry.GetDeviceClass() == this->GetDeviceClass()) {
        forThisClass = true;
        break;
      }
    if (!forThisClass)
      return 0;
    DeviceInfoList all;
    this->InternalEnumerateDevices(all);
    return FilterDevices(all, filter, list);
  }

  // slot 1
  int EnumerateDevices(DeviceInfoList& list, bool addToList = false) override {
    return EnumerateDevices(list, DeviceInfoList(), addToList);
  }

  // slot 2
  IVorlaDevice* CreateDevice(const gcstring& fullName) override { CreationNotAvailable(); }

  // slot 3
  IVorlaDevice* CreateDevice(const CDeviceInfo& info, const gcstring_vector& injectedXml) override {
    if (info.IsUserProvided() && !CanCreateWithoutLookup(info))
      return this->FindAndCreateDevice(info, injectedXml, false);
    return this->CreateDeviceWithDescription(info, injectedXml);
  }

  // slot 4
  IVorlaDevice* CreateDevice(const CDeviceInfo& info) override {
    return CreateDevice(info, gcstring_vector());
  }

  // slot 5
  IVorlaDevice* CreateFirstDevice(const CDeviceInfo& info,
                                  const gcstring_vector& injectedXml) override {
    if (info.IsUserProvided() && !CanCreateWithoutLookup(info))
      return this->FindAndCreateDevice(info, injectedXml, true);
    return this->CreateDeviceWithDescription(info, injectedXml);
  }

  // slot 6
  IVorlaDevice* CreateFirstDevice(const CDeviceInfo& info) override {
    return CreateFirstDevice(info, gcstring_vector());
  }

  // slot 7
  void DestroyDevice(IVorlaDevice* device) override {
    const auto it = m_pDevices->find(device);
    if (it == m_pDevices->end())
      throw LOGICAL_ERROR_EXCEPTION("Trying to destroy device which hasn't been created by me");
    if (auto* priv = dynamic_cast<IVorlaDevicePrivate*>(device))
      priv->DestroySelf();
    m_pDevices->erase(device);
    CTlFactory::GetInstance().ReleaseTl(this);
  }

  // slot 9
  CDeviceInfo CreateDeviceInfo() override { return this->InternalCreateDeviceInfo(); }

  // slot 10
  IXmlFileProvider* GetXmlFileProvider() override { return dynamic_cast<IXmlFileProvider*>(this); }

  // slot 11
  bool IsAllowedByEnvironment() override {
    return m_environmentRestriction.empty() ||
           m_environmentRestriction == this->GetTlInfo().GetDeviceClass();
  }

  // slot 13
  IVorlaDevice* CreateDeviceWithDescription(const CDeviceInfo& info,
                                            const gcstring_vector& injectedXml) override {
    CreationNotAvailable();
  }

  // slot 14
  IVorlaDevice* FindAndCreateDevice(const CDeviceInfo& info, const gcstring_vector& injectedXml,
                                    bool first) override {
    CreationNotAvailable();
  }

  // slot 19: a record a client built is always looked up first.
  bool CanCreateWithoutLookup(const CDeviceInfo&) override { return false; }

  // slot 20
  void DestroyAllDevices() override {
    while (!m_pDevices->empty()) {
      IVorlaDevice* device = *m_pDevices->begin();
      if (auto* priv = dynamic_cast<IVorlaDevicePrivate*>(device))
        priv->DestroySelf();
      m_pDevices->erase(device);
    }
  }

  //! The filter step: every device that matches at least one entry, once.
  int FilterDevices(const DeviceInfoList& all, const DeviceInfoList& filter, DeviceInfoList& out) {
    int count = 0;
    for (const CDeviceInfo& device : all)
      for (const CDeviceInfo& entry : filter)
        if (this->IsDeviceMatch(device, entry)) {
          out.push_back(device);
          ++count;
          break;
        }
    if (all.empty())
      return count;
    vxlog::LogTrace(BaseCategory(), vxlog::Progress,
                    "Filter applied to device list, count of devices before filter step = %d, "
                    "after filter step = %d.",
                    static_cast<int>(all.size()), count);
    return count;
  }

  // ITransportLayerPrivate
  int Release() override {
    const int count = --m_refCount;
    if (count == 0)
      OnLastReference();
    return count;
  }

  //! The current reference count (for diagnostics and tests).
  int GetRefCount() const { return m_refCount; }

protected:
  // The object is deleted only through the plug-in's Destroy.
  void OnLastReference() override {}

  static vxlog::CategoryID BaseCategory() {
    static const vxlog::CategoryID id = vxlog::LogGetCatID("vorla.base.TL");
    return id;
  }

  //! Enters a created device in the book and counts its reference.
  void AddCreatedDevice(IVorlaDevice* device) {
    m_pDevices->insert(device);
    ++m_refCount;
  }

  const std::set<IVorlaDevice*>& CreatedDevices() const { return *m_pDevices; }

private:
  [[noreturn]] static void CreationNotAvailable() {
    throw RUNTIME_EXCEPTION("Device creation is not available in this version of the transport "
                            "layer");
  }

  std::unique_ptr<std::set<IVorlaDevice*>> m_pDevices;
  gcstring m_environmentRestriction;
};

} // namespace Vorla
