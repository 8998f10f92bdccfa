#include "Driver.h"

#include "ErrorCodes.h"

#include <gencp/Protocol.h>

#include <algorithm>

namespace GenCPDriver {

CDriver& CDriver::Instance() {
  static CDriver driver;
  return driver;
}

CLINT32 CDriver::InitLib(clp_logger_t logger, CLINT32 level) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  // Hosts start the library once per port and per call, all on this one instance: the first
  // start sets it up, the others only count.
  if (m_Starts++ == 0) {
    m_Logger.Set(logger);
    m_Logger.SetLevel(level);
  }
  return CL_ERR_NO_ERR;
}

void CDriver::CloseLib() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  // Only the last close ends the connections: the other starts may still use theirs.
  if (m_Starts > 1) {
    --m_Starts;
    return;
  }
  m_Starts = 0;
  m_Connections.clear();
  m_LineBaud.clear();
  m_RestoreBaud.clear();
  m_Logger.Set(nullptr);
}

std::vector<std::uint32_t> CDriver::BaudCandidates(CLProtocol::ISerial* serial,
                                                   const std::string& deviceId, bool complete) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  std::vector<std::uint32_t> candidates;
  const auto camera = m_CameraBaud.find(deviceId);
  if (complete && camera != m_CameraBaud.end())
    candidates.push_back(camera->second);
  const auto line = m_LineBaud.find(serial);
  if (line != m_LineBaud.end())
    candidates.push_back(line->second);
  candidates.push_back(GenCP::Baud9600);
  // Every rate once, in this order.
  std::vector<std::uint32_t> unique;
  for (std::uint32_t c : candidates)
    if (std::find(unique.begin(), unique.end(), c) == unique.end())
      unique.push_back(c);
  return unique;
}

CLINT32 CDriver::Probe(CLProtocol::ISerial* serial, const std::string& request,
                       std::string& deviceId, CLUINT32& cookie, std::uint32_t timeoutMs) {
  CDeviceIdentity::SRequest parsed;
  if (!CDeviceIdentity::ParseRequest(request, parsed))
    return CL_ERR_INVALID_DEVICEID;
  // Templates always get the full probe; a DeviceID may name a camera identified just now.
  CConnection::SBootstrap known;
  const bool isKnown = parsed.m_Complete && RecentlyIdentified(parsed.m_Short, known);
  CLINT32 rc = CL_ERR_NO_DEVICE_FOUND;
  for (std::uint32_t baudBit : BaudCandidates(serial, parsed.m_Short, parsed.m_Complete)) {
    auto connection = std::make_shared<CConnection>(m_Logger, &m_StopProbe);
    rc = isKnown ? connection->Confirm(serial, known, baudBit, timeoutMs) : CL_ERR_NO_DEVICE_FOUND;
    // Nothing known, or another camera answered: the full probe decides.
    if (rc == CL_ERR_NO_DEVICE_FOUND) {
      rc = connection->Probe(serial, parsed, baudBit, timeoutMs);
      if (rc == CL_ERR_NO_ERR)
        NoteIdentified(*connection);
    }
    if (rc == CL_ERR_NO_ERR) {
      // A request with driver directory and file gets them back: the answer is the DeviceID.
      deviceId = parsed.m_Head + connection->Identity().ShortDeviceID();
      if (parsed.m_Complete)
        RestoreBaudRate(serial, *connection, timeoutMs);
      {
        std::lock_guard<std::mutex> lock(m_Mutex);
        cookie = m_NextCookie;
        m_NextCookie = m_NextCookie == 0xFFFFFFFFu ? 1 : m_NextCookie + 1;
        m_Connections[cookie] = SEntry{connection, serial};
      }
      RememberBaudRate(cookie, serial, *connection);
      return CL_ERR_NO_ERR;
    }
    // Silence or noise at this rate: the camera may still run at the next one.
    if (rc != CL_ERR_TIMEOUT && rc != ErrNoGenCPDevice)
      break;
  }
  return rc;
}

bool CDriver::RecentlyIdentified(const std::string& deviceId, CConnection::SBootstrap& bootstrap) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const auto it = m_Identified.find(deviceId);
  if (it == m_Identified.end() ||
      std::chrono::steady_clock::now() - it->second.m_At >= IdentifiedFor)
    return false;
  bootstrap = it->second.m_Bootstrap;
  return true;
}

void CDriver::NoteIdentified(const CConnection& connection) {
  const auto now = std::chrono::steady_clock::now();
  std::lock_guard<std::mutex> lock(m_Mutex);
  // Stale findings go, and the oldest when cameras keep changing their names faster than that.
  for (auto it = m_Identified.begin(); it != m_Identified.end();)
    it = now - it->second.m_At >= IdentifiedFor ? m_Identified.erase(it) : std::next(it);
  if (m_Identified.size() >= MaxIdentified)
    m_Identified.erase(std::min_element(
        m_Identified.begin(), m_Identified.end(),
        [](const auto& a, const auto& b) { return a.second.m_At < b.second.m_At; }));
  m_Identified[connection.Identity().ShortDeviceID()] = SIdentified{connection.Bootstrap(), now};
}

void CDriver::RestoreBaudRate(CLProtocol::ISerial* serial, CConnection& connection,
                              std::uint32_t timeoutMs) {
  std::uint32_t bit = 0;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto it = m_RestoreBaud.find(connection.Identity().ShortDeviceID());
    if (it == m_RestoreBaud.end())
      return;
    bit = it->second;
    m_RestoreBaud.erase(it);
  }
  if (bit != connection.BaudBit())
    connection.SetBaudRate(serial, bit, timeoutMs); // on failure the camera stays at 9600
}

std::shared_ptr<CConnection> CDriver::Find(CLUINT32 cookie) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const auto it = m_Connections.find(cookie);
  return it == m_Connections.end() ? nullptr : it->second.m_Connection;
}

bool CDriver::Disconnect(CLUINT32 cookie) {
  SEntry entry;
  {
    std::lock_guard<std::mutex> lock(m_Mutex);
    const auto it = m_Connections.find(cookie);
    if (it == m_Connections.end())
      return false;
    entry = it->second;
    // The line object may be destroyed after this; its address must not steer a later probe.
    m_LineBaud.erase(it->second.m_Line);
    m_Connections.erase(it);
  }
  Release(entry);
  return true;
}

// Probes run at the wake-up rate, so a camera left at a faster one would not be found again:
// the driver brings it back to 9600 when it lets go of it (the host disconnects before it closes
// the line), and a re-connect with the full DeviceID restores the rate it had.
void CDriver::Release(const SEntry& entry) {
  const std::uint32_t bit = entry.m_Connection->BaudBit();
  if (bit == GenCP::Baud9600 || !entry.m_Line)
    return;
  CLINT32 rc;
  {
    std::lock_guard<std::mutex> guard(entry.m_Connection->Mutex());
    rc = entry.m_Connection->SetBaudRate(entry.m_Line, GenCP::Baud9600, ReleaseTimeoutMs);
  }
  if (rc != CL_ERR_NO_ERR)
    return; // the remembered rate still points the next probe at the camera
  const std::string id = entry.m_Connection->Identity().ShortDeviceID();
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_CameraBaud.erase(id);
  m_RestoreBaud[id] = bit;
}

void CDriver::RememberBaudRate(CLUINT32 cookie, CLProtocol::ISerial* serial,
                               const CConnection& connection) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  // Only rates other than the power-up one are worth a first try later.
  const std::uint32_t bit = connection.BaudBit();
  const std::string id = connection.Identity().ShortDeviceID();
  m_RestoreBaud.erase(id); // a live connection knows the camera's rate better
  if (bit == GenCP::Baud9600) {
    m_LineBaud.erase(serial);
    m_CameraBaud.erase(id);
  } else {
    m_LineBaud[serial] = bit;
    m_CameraBaud[id] = bit;
  }
  const auto it = m_Connections.find(cookie);
  if (it != m_Connections.end())
    it->second.m_Line = serial;
}

} // namespace GenCPDriver
