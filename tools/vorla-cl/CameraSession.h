#pragma once
// One selected camera for the length of a command: its transport layer, record and device.
#include "CameraSelector.h"
#include "TransportLayerSet.h"

namespace VorlaCl {

//! Resolves a selection and creates, opens, closes and destroys its device. Bound to the thread
//! that made it.
class CCameraSession {
public:
  //! Enumerates for a FirstFound or Named selection; a Record selection waits for Device().
  //! Throws a CToolError when no camera matches, with the transport layer's explanation when
  //! none was found at all.
  explicit CCameraSession(const CCameraSelector& selector);
  ~CCameraSession();
  CCameraSession(const CCameraSession&) = delete;
  CCameraSession& operator=(const CCameraSession&) = delete;

  Vorla::ITransportLayer& TransportLayer() { return *m_Tl; }
  //! The enumerated record of the camera; a Record selection creates the device to learn it.
  const Vorla::CDeviceInfo& Record();
  //! The camera's name for messages.
  std::string Name();

  //! The device, created on the first call.
  Vorla::IVorlaDevice& Device();
  //! The device, opened on the first call.
  Vorla::IVorlaDevice& OpenDevice();

private:
  const CCameraSelector& m_Selector;
  CTransportLayerSet m_Layers;
  Vorla::ITransportLayer* m_Tl = nullptr;
  Vorla::CDeviceInfo m_Record;
  bool m_HasRecord = false;
  Vorla::IVorlaDevice* m_Device = nullptr;
};

} // namespace VorlaCl
