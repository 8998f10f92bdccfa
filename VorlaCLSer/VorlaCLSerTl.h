#pragma once
#include "PortConfiguration.h"
#include "VorlaCLSerDiscovery.h"
#include "VorlaCLSerTlDeviceInfoImpl.h"

#include <VorlaBase/IEnumerationReporter.h>
#include <vorla/VorlaCLSerDeviceInfo.h>
#include <vorla/private/TransportLayerPrivateImpl.h>

#include <platform/Mutex.h>

#include <map>
#include <memory>

namespace Vorla {

class CVorlaCLSerPort;

//! The transport-layer information of this plug-in, built on first use and kept until unload.
CTlInfo& GetCLSerTlInfo();

//! The one transport layer of the Camera Link serial plug-in.
class CVorlaCLSerTl : public CTransportLayerBase<ITransportLayer>,
                      public IXmlFileProvider,
                      public IEnumerationReporter {
public:
  CVorlaCLSerTl();
  ~CVorlaCLSerTl() override;

  // slot 8
  CTlInfo GetTlInfo() const override;
  // slot 12
  int InternalEnumerateDevices(DeviceInfoList& list) override;
  // slot 15
  IVorlaDevice* InternalCreateDevice(const CDeviceInfo& info) override;
  // slot 16
  CDeviceInfo InternalCreateDeviceInfo() override;
  // slot 17
  bool IsDeviceMatch(const CDeviceInfo& device, const CDeviceInfo& filterEntry) override;
  // slot 18
  gcstring GetDeviceClass() const override;

  // IXmlFileProvider
  bool IsXMLFileAvailable(const CDeviceInfo& info) override;
  void ProvideXMLFile(const CDeviceInfo& info, gcstring& fileName, gcstring& xml) override;

  // IEnumerationReporter
  SEnumerationReport GetLastEnumerationReport() const override;

private:
  //! The cached port of a port id, made on first need (under the transport-layer lock).
  CVorlaCLSerPort& GetPort(const gcstring& portId) VORLA_EXCLUDES(m_lock);

  // The transport-layer lock, first in the product's lock order: guards the port cache and the
  // port configuration state. Owned by the transport layer; probing and parsing run outside it.
  // Mutable: the report getter is const.
  mutable Platform::CRecursiveMutex m_lock;
  std::map<gcstring, std::unique_ptr<CVorlaCLSerPort>> m_ports VORLA_GUARDED_BY(m_lock);
  CPortConfiguration m_portConfiguration{m_lock};
  CVorlaCLSerDiscovery m_discovery;
};

} // namespace Vorla
