#pragma once
// vorla-cl tls and list.
namespace VorlaCl {

//! Lists transport layers and cameras.
class CListCommand {
public:
  //! One line per transport layer: device class, full name.
  static int ListTransportLayers();
  //! One line per camera: index, friendly name, port, model, serial number; with `verbose`
  //! the whole record below each; with `json` one JSON array of them, records included.
  //! Explains an empty result and fails.
  static int ListCameras(bool verbose, bool json);
};

} // namespace VorlaCl
