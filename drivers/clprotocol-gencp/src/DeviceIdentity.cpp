#include "DeviceIdentity.h"

#include <vector>

namespace GenCPDriver {
namespace {

bool IsAlpha(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> out;
  std::string::size_type start = 0;
  for (;;) {
    const auto end = text.find(separator, start);
    out.push_back(text.substr(start, end - start));
    if (end == std::string::npos)
      return out;
    start = end + 1;
  }
}

} // namespace

std::string CDeviceIdentity::SafeToken(const std::string& text) {
  std::string out;
  out.reserve(text.size() + 1);
  for (char c : text)
    out.push_back(IsAlpha(c) || IsDigit(c) ? c : '_');
  if (out.empty() || IsDigit(out.front()))
    out.insert(out.begin(), '_');
  return out;
}

bool CDeviceIdentity::IsCIdentifier(const std::string& text) {
  if (text.empty() || !IsAlpha(text.front()))
    return false;
  for (char c : text)
    if (!IsAlpha(c) && !IsDigit(c))
      return false;
  return true;
}

std::string CDeviceIdentity::ShortDeviceID() const {
  return ModelTemplate() + "#" + SafeToken(m_Version) + "#" + SafeToken(m_Serial);
}

std::string CDeviceIdentity::ModelTemplate() const {
  return SafeToken(m_Manufacturer) + "#" + SafeToken(m_Family) + "#" + SafeToken(m_Model);
}

bool CDeviceIdentity::ShortForm(const std::string& request, std::string& shortForm,
                                bool& complete) {
  complete = false;
  shortForm.clear();
  if (request.empty())
    return true;
  std::vector<std::string> tokens = Split(request, '#');
  // Driver directory and file name are never C identifiers (separators, a dot), the
  // manufacturer always is.
  if (!IsCIdentifier(tokens.front())) {
    if (tokens.size() < 3)
      return false;
    tokens.erase(tokens.begin(), tokens.begin() + 2);
  }
  if (tokens.size() > 5)
    return false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (!IsCIdentifier(tokens[i]))
      return false;
    shortForm += (i ? "#" : "") + tokens[i];
  }
  complete = tokens.size() == 5;
  return true;
}

} // namespace GenCPDriver
