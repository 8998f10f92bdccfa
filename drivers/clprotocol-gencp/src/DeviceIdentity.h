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

  //! A probe request taken apart: "<driver directory>#<driver file>#" when the host put them in
  //! front (the answer then carries them too), and the camera tokens behind.
  struct SRequest {
    std::string m_Head;
    std::string m_Short;
    bool m_Complete = false; //!< all five camera tokens: a DeviceID, not a template
  };

  //! Text from the camera as one token: '#' (DeviceIDs), '@' (XML IDs) and control characters
  //! (lists, logs) become '_', an empty text is "_"; anything else stays ("1.0", "SN-0001").
  static std::string Token(const std::string& text);

  std::string ShortDeviceID() const;
  //! "<manufacturer>#<family>#<model>", the template part of the camera's XML IDs.
  std::string ModelTemplate() const;
  //! True when the camera's DeviceID is the request's or starts with its tokens.
  bool Matches(const SRequest& request) const;

  //! Splits a template or DeviceID, short or with driver directory and file in front; the two
  //! are told apart by the second token, which names a library only in the long form. False for
  //! more than five or empty camera tokens.
  static bool ParseRequest(const std::string& request, SRequest& parsed);
};

} // namespace GenCPDriver
