#include <Base/GCUtilities.h>
#include <CLProtocol/DeviceID.h>

#include <vector>

namespace CLProtocol {
namespace {

const char kSeparator = '#';

bool IsPlainFileName(const GenICam::gcstring& name) {
  if (name.empty() || name == "." || name == "..")
    return false;
  for (const char c : name)
    if (c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20)
      return false;
  return true;
}

bool HasControlCharacters(const GenICam::gcstring& text) {
  for (const char c : text)
    if (static_cast<unsigned char>(c) < 0x20)
      return true;
  return false;
}

} // namespace

bool CDeviceID::FromString(const GenICam::gcstring& deviceID) {
  for (auto& token : m_tokens)
    token.clear();
  m_numTokens = 0;

  std::vector<GenICam::gcstring> tokens;
  size_t pos = 0;
  for (;;) {
    const size_t end = deviceID.find(kSeparator, pos);
    tokens.push_back(deviceID.substr(pos, end == GenICam::gcstring::npos ? end : end - pos));
    if (end == GenICam::gcstring::npos)
      break;
    pos = end + 1;
  }
  if (tokens.size() <= CameraManufacturer || tokens.size() > NumTokens)
    return false;
  if (HasControlCharacters(tokens[DriverDirectory]) || !IsPlainFileName(tokens[DriverFileName]))
    return false;
  if (tokens[CameraManufacturer].empty())
    return false;
  // Camera tokens may hold anything but the separator ("Version.1.0.0", "SN-0001"); control
  // characters would forge log lines and lists.
  for (size_t i = CameraManufacturer; i < tokens.size(); ++i)
    if (HasControlCharacters(tokens[i]))
      return false;

  for (size_t i = 0; i < tokens.size(); ++i)
    m_tokens[i] = tokens[i];
  m_numTokens = tokens.size();
  return true;
}

GenICam::gcstring CDeviceID::ToString() const {
  GenICam::gcstring out;
  for (size_t i = 0; i < m_numTokens; ++i) {
    if (i)
      out += kSeparator;
    out += m_tokens[i];
  }
  return out;
}

GenICam::gcstring CDeviceID::GetDriverDirectory(bool replaceEnvironmentVariables) const {
  GenICam::gcstring dir = m_tokens[DriverDirectory];
  if (replaceEnvironmentVariables)
    GenICam::ReplaceEnvironmentVariables(dir);
  return dir;
}

GenICam::gcstring CDeviceID::GetDriverFileName() const {
  return m_tokens[DriverFileName];
}

GenICam::gcstring CDeviceID::GetDriverPath(bool replaceEnvironmentVariables) const {
  if (m_numTokens == 0)
    return GenICam::gcstring();
  return GetDriverDirectory(replaceEnvironmentVariables) + "/" + GetDriverFileName();
}

GenICam::gcstring CDeviceID::GetCameraManufacturer() const {
  return m_tokens[CameraManufacturer];
}
GenICam::gcstring CDeviceID::GetCameraFamily() const {
  return m_tokens[CameraFamily];
}
GenICam::gcstring CDeviceID::GetCameraModel() const {
  return m_tokens[CameraModel];
}
GenICam::gcstring CDeviceID::GetCameraVersion() const {
  return m_tokens[CameraVersion];
}
GenICam::gcstring CDeviceID::GetCameraSerialNumber() const {
  return m_tokens[CameraSerialNumber];
}

GenICam::gcstring CDeviceID::GetShortDeviceID() const {
  GenICam::gcstring out;
  for (size_t i = CameraManufacturer; i < m_numTokens; ++i) {
    if (i > CameraManufacturer)
      out += kSeparator;
    out += m_tokens[i];
  }
  return out;
}

GenICam::gcstring CDeviceID::GetTokenSeparator() {
  return GenICam::gcstring(1, kSeparator);
}

GenICam::gcstring CDeviceID::GetPlatformFolder() {
#if defined(_WIN32)
  return "Win64_x64";
#else
  return "Linux64_x64";
#endif
}

} // namespace CLProtocol
