#include "Driver.h"

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
      RememberBaudRate(serial, *connection);
      std::lock_guard<std::mutex> lock(m_Mutex);
      cookie = m_NextCookie;
      m_NextCookie = m_NextCookie == 0xFFFFFFFFu ? 1 : m_NextCookie + 1;
      m_Connections[cookie] = std::move(connection);
      return CL_ERR_NO_ERR;
    }
    // Only silence at this rate is worth trying the next one.
    if (rc != CL_ERR_TIMEOUT)
      break;
  }
  return rc;
}

std::shared_ptr<CConnection> CDriver::Find(CLUINT32 cookie) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const auto it = m_Connections.find(cookie);
  return it == m_Connections.end() ? nullptr : it->second;
}

bool CDriver::Disconnect(CLUINT32 cookie) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Connections.erase(cookie) != 0;
}

void CDriver::RememberBaudRate(CLProtocol::ISerial* serial, const CConnection& connection) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_LineBaud[serial] = connection.BaudBit();
  m_CameraBaud[connection.Identity().ShortDeviceID()] = connection.BaudBit();
}

} // namespace GenCPDriver
