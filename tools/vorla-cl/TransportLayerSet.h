#pragma once
// The transport layers the host offers, held for the life of one vorla-cl command.
#include <VorlaBase/VorlaBase.h>

#include <string>
#include <vector>

namespace VorlaCl {

//! One reference on every transport layer that CTlFactory finds, released in the destructor.
//! Bound to the thread that made it.
class CTransportLayerSet {
public:
  //! A camera record and the transport layer that found it.
  struct SCamera {
    Vorla::ITransportLayer* TransportLayer;
    Vorla::CDeviceInfo Record;
  };

  CTransportLayerSet();
  ~CTransportLayerSet();
  CTransportLayerSet(const CTransportLayerSet&) = delete;
  CTransportLayerSet& operator=(const CTransportLayerSet&) = delete;

  const Vorla::TlInfoList& Infos() const { return m_Infos; }
  bool Empty() const { return m_Layers.empty(); }
  //! Throws a CToolError when the host finds no transport layer.
  void RequireAny() const;

  //! The cameras of all transport layers, in transport-layer then enumeration order.
  std::vector<SCamera> Enumerate();
  //! Why the last Enumerate found nothing, in the words of each transport layer's report.
  std::string ExplainNothingFound() const;

  //! The transport layer of a device class; with an empty class the only one there is.
  //! Throws a CToolError when that is not unique.
  Vorla::ITransportLayer& ForClass(const std::string& deviceClass) const;

private:
  Vorla::TlInfoList m_Infos;
  std::vector<Vorla::ITransportLayer*> m_Layers; // one reference each, parallel to m_Infos
};

} // namespace VorlaCl
