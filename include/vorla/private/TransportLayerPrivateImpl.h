#pragma once
// The generic half of a transport layer: enumeration with a filter, device lookup and creation,
// the book of created devices, the reference count and the environment restriction. A transport
// layer derives from CTransportLayerBase<ITransportLayer> and supplies the Internal* operations,
// the device class and the match rule.
#include <Base/GCException.h>
#include <VorlaBase/ConfigFileRegistry.h>
#include <VorlaBase/ITransportLayer.h>
#include <VorlaBase/Logging.h>
#include <VorlaBase/TextFile.h>
#include <VorlaBase/TlFactory.h>
#include <platform/Environment.h>

#include <cstdarg>
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

  // slot 2: answers null rather than throwing when nothing is found.
  IVorlaDevice* CreateDevice(const gcstring& fullName) override {
    if (!IsAllowedByEnvironment())
      return nullptr;
    DeviceInfoList all;
    if (this->InternalEnumerateDevices(all) == 0)
      return nullptr;
    for (const CDeviceInfo& record : all)
      if (record.GetFullName() == fullName)
        return CreateDevice(record);
    return nullptr;
  }

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

  // slot 13: the device with its description, entered in the book of created devices.
  IVorlaDevice* CreateDeviceWithDescription(const CDeviceInfo& info,
                                            const gcstring_vector& injectedXml) override {
    if (!IsAllowedByEnvironment())
      throw RUNTIME_EXCEPTION(
          "Device creation failed. Transport layer is restricted by the environment");
    IVorlaDevice* device = this->InternalCreateDevice(info);
    if (!device)
      return nullptr;
    auto* priv = dynamic_cast<IVorlaDevicePrivate*>(device);
    if (!priv)
      throw LoggedError(
          __FILE__, __LINE__,
          "Device creation failed. Device doesn't implement IVorlaDevicePrivate interface");
    // A device that fails to get its description is not handed out; its memory is released
    // (it was never opened, so that changes nothing else).
    struct SDiscardOnFailure {
      IVorlaDevicePrivate* m_pDevice;
      ~SDiscardOnFailure() {
        if (m_pDevice)
          m_pDevice->DestroySelf();
      }
    } discard{priv};

    const CDeviceInfo& deviceInfo = device->GetDeviceInfo();
    const CXmlFileBinding binding =
        CConfigFileRegistry::GetInstance().GetXmlFileBinding(deviceInfo);
    gcstring xmlPath;
    gcstring mergePath;
    if (binding.IsXmlFileNamed())
      xmlPath = binding.GetXmlFilePath();
    if (binding.IsMergeFileNamed())
      mergePath = binding.GetMergeFilePath();
    gcstring_vector injected = injectedXml;
    if (!mergePath.empty()) {
      const gcstring merge = textFileToString(mergePath);
      vxlog::LogTrace(BaseCategory(), vxlog::Progress, "About to merge file '%s' into xml.",
                      mergePath.c_str());
      injected.push_back(merge);
    }

    if (binding.IsDownloadRequested() && DownloadDescription(*device, *priv, injected)) {
      discard.m_pDevice = nullptr;
      AddCreatedDevice(device);
      return device;
    }
    const gcstring fullName = deviceInfo.GetFullName();
    if (xmlPath.empty())
      throw LoggedError(__FILE__, __LINE__,
                        "Device creation failed. Don't know what XML configuration file to use for "
                        "the device %s",
                        fullName.c_str());
    vxlog::LogTrace(BaseCategory(), vxlog::Progress, "Using XML from path '%s' for device '%s'",
                    xmlPath.c_str(), fullName.c_str());
    if (injected.empty())
      priv->LoadXMLFromFile(xmlPath);
    else
      priv->LoadXMLFromString(textFileToString(xmlPath), injected);
    discard.m_pDevice = nullptr;
    AddCreatedDevice(device);
    return device;
  }

  // slot 14: the one device that matches a partial record (or the first of several).
  IVorlaDevice* FindAndCreateDevice(const CDeviceInfo& info, const gcstring_vector& injectedXml,
                                    bool first) override {
    if (!IsAllowedByEnvironment())
      throw RUNTIME_EXCEPTION(
          "Device creation failed. Transport layer is restricted by the environment");
    const gcstring deviceClass = this->GetDeviceClass();
    if (info.IsDeviceClassAvailable() && info.GetDeviceClass() != deviceClass)
      throw LoggedError(__FILE__, __LINE__, "%s",
                        ("The device class " + info.GetDeviceClass() +
                         " is not supported by this transport layer. This transport layer "
                         "supports " +
                         deviceClass + ".")
                            .c_str());
    DeviceInfoList all;
    if (this->InternalEnumerateDevices(all) == 0)
      throw LoggedError(__FILE__, __LINE__, "Cannot find device, no devices of %s available.",
                        deviceClass.c_str());
    DeviceInfoList filter;
    filter.push_back(info);
    DeviceInfoList found;
    FilterDevices(all, filter, found);
    if (found.empty())
      throw LoggedError(__FILE__, __LINE__,
                        "No device contains the provided device info properties. The number of "
                        "possible devices is %d.",
                        static_cast<int>(all.size()));
    if (found.size() == 1 || first)
      return this->CreateDeviceWithDescription(found[0], injectedXml);
    throw LoggedError(__FILE__, __LINE__,
                      "Ambiguous device info properties. %d out of %d devices contain the provided "
                      "device info properties.",
                      static_cast<int>(found.size()), static_cast<int>(all.size()));
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

protected:
  //! The current reference count.
  int GetRefCount() const { return m_refCount; }

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
  // Logs a creation failure at error level and makes it a RuntimeException with the same text
  // and the place of the throw.
  static GenICam::RuntimeException LoggedError(const char* file, unsigned line, const char* format,
                                               ...) {
    va_list args;
    va_start(args, format);
    const gcstring text = GenICam::FormatMessage256V(format, args);
    va_end(args);
    vxlog::LogTrace(BaseCategory(), vxlog::Error, "%s", text.c_str());
    return GenICam::RuntimeException(text.c_str(), file, line);
  }

  // Loads the description that the device itself carries. False when there is none to load;
  // an error while downloading or loading is logged and passed on unchanged.
  bool DownloadDescription(IVorlaDevice& device, IVorlaDevicePrivate& priv,
                           const gcstring_vector& injected) {
    IXmlFileProvider* provider = GetXmlFileProvider();
    const CDeviceInfo& info = device.GetDeviceInfo();
    if (!provider || !provider->IsXMLFileAvailable(info))
      return false;
    const gcstring fullName = info.GetFullName();
    try {
      gcstring fileName;
      gcstring xml;
      provider->ProvideXMLFile(info, fileName, xml);
      vxlog::LogTrace(BaseCategory(), vxlog::Progress, "Downloaded XML from device '%s' length %d",
                      fullName.c_str(), static_cast<int>(xml.size()));
      priv.LoadXMLFromString(xml, injected);
    } catch (const std::exception& e) {
      const auto* g = dynamic_cast<const GenICam::GenericException*>(&e);
      vxlog::LogTrace(BaseCategory(), vxlog::Progress, "Error downloading XML from device '%s': %s",
                      fullName.c_str(), g ? g->GetDescription() : e.what());
      throw;
    } catch (...) {
      vxlog::LogTrace(BaseCategory(), vxlog::Progress, "Error downloading XML from device '%s'",
                      fullName.c_str());
      throw;
    }
    return true;
  }

  std::unique_ptr<std::set<IVorlaDevice*>> m_pDevices;
  gcstring m_environmentRestriction;
};

} // namespace Vorla
