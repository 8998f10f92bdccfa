#pragma once
// A camera's identity on a Camera Link serial port, as '#'-separated tokens:
//   <driver directory>#<driver file>#<manufacturer>#<family>#<model>#<version>#<serial number>
// The driver directory is the folder that holds the driver library, e.g.
// "/opt/vendor/Linux64_x64" ("Win64_x64" on Windows), as GenICam's reference CLProtocol module
// writes it, so that DeviceIDs travel between the two. A template is the same cut off after any
// token from the manufacturer on.
#include <Base/GCString.h>
#include <CLProtocol/CLProtocolDef.h>

namespace CLProtocol {

class CLPROTOCOL_API CDeviceID {
public:
  enum ETokens {
    DriverDirectory,
    DriverFileName,
    CameraManufacturer,
    CameraFamily,
    CameraModel,
    CameraVersion,
    CameraSerialNumber,
    NumTokens
  };

  CDeviceID() = default;

  //! Parses a DeviceID or template. Returns false, and leaves every token empty, when the text
  //! has fewer than 3 or more than 7 tokens, no manufacturer, a driver file name that is not a
  //! plain file name, or a control character. Camera tokens take any other character.
  bool FromString(const GenICam::gcstring& deviceID);
  //! The tokens joined again, as many as were parsed.
  GenICam::gcstring ToString() const;

  //! Token 0; "$(VAR)" references are expanded when asked to.
  GenICam::gcstring GetDriverDirectory(bool replaceEnvironmentVariables = true) const;
  GenICam::gcstring GetDriverFileName() const;
  //! <directory>/<file>: the driver library.
  GenICam::gcstring GetDriverPath(bool replaceEnvironmentVariables = true) const;
  GenICam::gcstring GetCameraManufacturer() const;
  GenICam::gcstring GetCameraFamily() const;
  GenICam::gcstring GetCameraModel() const;
  GenICam::gcstring GetCameraVersion() const;
  GenICam::gcstring GetCameraSerialNumber() const;
  //! The camera tokens only: "<manufacturer>#<family>#...".
  GenICam::gcstring GetShortDeviceID() const;
  //! Number of tokens parsed, 0 when unparsed.
  size_t GetNumTokens() const { return m_numTokens; }

  static GenICam::gcstring GetTokenSeparator();
  //! The old spelling, kept for code written against it.
  static GenICam::gcstring GetTokenSeperator() { return GetTokenSeparator(); }
  //! The sub-folder of a GENICAM_CLPROTOCOL entry holding this platform's driver libraries.
  static GenICam::gcstring GetPlatformFolder();

private:
  GenICam::gcstring m_tokens[NumTokens];
  size_t m_numTokens = 0;
};

} // namespace CLProtocol
