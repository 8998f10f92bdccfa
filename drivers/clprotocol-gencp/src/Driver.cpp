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
  if (m_Initialised)
    return CL_ERR_IN_USE;
  m_Initialised = true;
  m_Logger.Set(logger);
  m_Logger.SetLevel(level);
  return CL_ERR_NO_ERR;
}

void CDriver::CloseLib() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Initialised = false;
  m_Connections.clear();
  m_LineBaud.clear();
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
  std::string shortRequest;
  bool complete = false;
  if (!CDeviceIdentity::ShortForm(request, shortRequest, complete))
    return CL_ERR_INVALID_DEVICEID;
  CLINT32 rc = CL_ERR_NO_DEVICE_FOUND;
  for (std::uint32_t baudBit : BaudCandidates(serial, shortRequest, complete)) {
    auto connection = std::make_shared<CConnection>(m_Logger, &m_StopProbe);
    rc = connection->Probe(serial, shortRequest, complete, baudBit, timeoutMs);
    if (rc == CL_ERR_NO_ERR) {
      deviceId = connection->Identity().ShortDeviceID();
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

std::shared_ptr<CConnection> CDriver::Find(CLUINT32 cookie) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const auto it = m_Connections.find(cookie);
  return it == m_Connections.end() ? nullptr : it->second.m_Connection;
}

bool CDriver::Disconnect(CLUINT32 cookie) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const auto it = m_Connections.find(cookie);
  if (it == m_Connections.end())
    return false;
  // The line object may be destroyed after this; its address must not steer a later probe.
  m_LineBaud.erase(it->second.m_Line);
  m_Connections.erase(it);
  return true;
}

void CDriver::RememberBaudRate(CLUINT32 cookie, CLProtocol::ISerial* serial,
                               const CConnection& connection) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  // Only rates other than the power-up one are worth a first try later.
  const std::uint32_t bit = connection.BaudBit();
  const std::string id = connection.Identity().ShortDeviceID();
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
