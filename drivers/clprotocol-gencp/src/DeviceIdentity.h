#pragma once
#include <string>

namespace GenCPDriver {

//! Who a camera says it is, as the tokens of a short DeviceID
//! "<manufacturer>#<family>#<model>#<version>#<serial>".
class CDeviceIdentity {
public:
  std::string m_Manufacturer;
  std::string m_Family;
  std::string m_Model;
  std::string m_Version;
  std::string m_Serial;

  //! Text from the camera as a C identifier: other characters become '_', a leading digit gets
  //! a '_' in front, an empty text is "_". Camera strings can so never add separators, paths or
  //! variables to a DeviceID.
  static std::string SafeToken(const std::string& text);
  static bool IsCIdentifier(const std::string& text);

  std::string ShortDeviceID() const;
  //! "<manufacturer>#<family>#<model>", the template part of the camera's XML IDs.
  std::string ModelTemplate() const;

  //! Brings a template or DeviceID, short or with driver directory and file in front, to its
  //! short form. `complete` tells a full DeviceID (all five tokens) from a template. False when
  //! a token is not a C identifier.
  static bool ShortForm(const std::string& request, std::string& shortForm, bool& complete);
};

} // namespace GenCPDriver
