#include "DeviceIdentity.h"

#include <algorithm>
#include <cctype>
#include <vector>

namespace GenCPDriver {
namespace {

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

bool EndsWithNoCase(const std::string& text, const std::string& tail) {
  return text.size() > tail.size() &&
         std::equal(tail.rbegin(), tail.rend(), text.rbegin(), [](char lower, char c) {
           return std::tolower(static_cast<unsigned char>(c)) == lower;
         });
}

bool IsLibraryName(const std::string& name) {
  return EndsWithNoCase(name, ".so") || EndsWithNoCase(name, ".dll");
}

} // namespace

std::string CDeviceIdentity::Token(const std::string& text) {
  std::string out = text.empty() ? "_" : text;
  for (char& c : out)
    if (c == '#' || c == '@' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
      c = '_';
  return out;
}

std::string CDeviceIdentity::ShortDeviceID() const {
  return ModelTemplate() + "#" + Token(m_Version) + "#" + Token(m_Serial);
}

std::string CDeviceIdentity::ModelTemplate() const {
  return Token(m_Manufacturer) + "#" + Token(m_Family) + "#" + Token(m_Model);
}

bool CDeviceIdentity::Matches(const SRequest& request) const {
  const std::string id = ShortDeviceID();
  const std::string& wanted = request.m_Short;
  if (request.m_Complete || wanted.size() >= id.size())
    return id == wanted;
  // Whole tokens only: "Hex" is no template of "Hexmar#...".
  return wanted.empty() || (id.compare(0, wanted.size(), wanted) == 0 && id[wanted.size()] == '#');
}

bool CDeviceIdentity::ParseRequest(const std::string& request, SRequest& parsed) {
  parsed = SRequest();
  if (request.empty())
    return true;
  std::vector<std::string> tokens = Split(request, '#');
  if (tokens.size() >= 2 && IsLibraryName(tokens[1])) {
    parsed.m_Head = tokens[0] + "#" + tokens[1] + "#";
    tokens.erase(tokens.begin(), tokens.begin() + 2);
  }
  if (tokens.size() > 5)
    return false;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i].empty())
      return false;
    parsed.m_Short += (i ? "#" : "") + tokens[i];
  }
  parsed.m_Complete = tokens.size() == 5;
  return true;
}

} // namespace GenCPDriver
