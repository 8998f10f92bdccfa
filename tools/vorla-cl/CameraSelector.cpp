#include "CameraSelector.h"

#include "ToolError.h"

#include <CLProtocol/DeviceID.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <algorithm>
#include <cctype>

namespace VorlaCl {

CCameraSelector::CCameraSelector(const std::string& text, bool first)
    : m_Text(text), m_First(first), m_Kind(FirstFound) {
  if (text.empty()) {
    // --first alone asks the transport layer for its first camera of any kind.
    m_Kind = first ? Record : FirstFound;
    return;
  }
  if (text.find('=') == std::string::npos) {
    if (first)
      throw CToolError(ExitUsage, "--first goes with a Key=Value record, not with '" + text + "'");
    m_Kind = Named;
    return;
  }
  m_Kind = Record;
  std::vector<std::string> items;
  boost::split(items, text, boost::is_any_of(","));
  for (const std::string& item : items) {
    const size_t equals = item.find('=');
    std::string key = item.substr(0, equals);
    boost::trim(key);
    if (equals == std::string::npos || key.empty())
      throw CToolError(ExitUsage, "'" + item + "' in the camera record is not Key=Value");
    m_Properties.emplace_back(key, item.substr(equals + 1));
  }
}

std::string CCameraSelector::DeviceClass() const {
  for (const auto& property : m_Properties)
    if (property.first == Vorla::Key::DeviceClass)
      return property.second;
  return "";
}

std::string CCameraSelector::SerialNumberOf(const Vorla::CDeviceInfo& record) {
  Vorla::gcstring serial;
  if (record.GetPropertyValue(Vorla::Key::SerialNumber, serial) && !serial.empty())
    return serial;
  Vorla::gcstring deviceId;
  if (!record.GetPropertyValue("DeviceID", deviceId))
    return "";
  CLProtocol::CDeviceID id;
  return id.FromString(deviceId) ? std::string(id.GetCameraSerialNumber()) : std::string();
}

size_t CCameraSelector::Pick(const std::vector<Vorla::CDeviceInfo>& records) const {
  if (m_Kind == FirstFound)
    return 0;
  const bool digits = std::all_of(m_Text.begin(), m_Text.end(),
                                  [](unsigned char c) { return std::isdigit(c) != 0; });
  // An index wins over a serial number of digits only while it is in range.
  if (digits && m_Text.size() < 10 && std::stoul(m_Text) < records.size())
    return std::stoul(m_Text);
  std::vector<size_t> matches;
  for (size_t i = 0; i < records.size(); ++i) {
    const Vorla::CDeviceInfo& r = records[i];
    if (SerialNumberOf(r) == m_Text || r.GetFullName() == m_Text || r.GetFriendlyName() == m_Text)
      matches.push_back(i);
  }
  if (matches.size() == 1)
    return matches.front();
  if (matches.empty())
    throw CToolError(ExitFailure, "No camera is named '" + m_Text + "' (by index 0 to " +
                                      std::to_string(records.size() - 1) +
                                      ", serial number, full name or friendly name); see "
                                      "'vorla-cl list'.");
  throw CToolError(ExitFailure, "'" + m_Text + "' names " + std::to_string(matches.size()) +
                                    " cameras; select one by its index or full name.");
}

} // namespace VorlaCl
