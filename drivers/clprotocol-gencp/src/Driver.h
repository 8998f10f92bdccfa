#pragma once
#include "Connection.h"
#include "Logger.h"

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace GenCPDriver {

//! The driver's process-wide state: the connections behind cookies, the logger, the stop flag
//! of running probes, and the last baud rate seen per line and camera so that a re-connect
//! finds a camera that still runs faster than 9600. A camera is released to 9600 at disconnect
//! and brought back to its rate by a re-connect with its full DeviceID. A re-connect moments
//! after a full probe identified the camera (a host's enumeration, then its connect) takes over
//! what that probe read and only confirms the camera's serial number on the line.
class CDriver {
public:
  static CDriver& Instance();

  //! Counted: every start needs its close, and the last close ends every connection.
  CLINT32 InitLib(clp_logger_t logger, CLINT32 level);
  void CloseLib();
  CLogger& Logger() { return m_Logger; }
  std::atomic<bool>& StopProbe() { return m_StopProbe; }

  //! Probes and, on success, registers the connection under a new cookie. `deviceId` is the
  //! short DeviceID, or the full one when `request` names driver directory and file.
  CLINT32 Probe(CLProtocol::ISerial* serial, const std::string& request, std::string& deviceId,
                CLUINT32& cookie, std::uint32_t timeoutMs);
  std::shared_ptr<CConnection> Find(CLUINT32 cookie);
  bool Disconnect(CLUINT32 cookie);
  //! Notes the rate the camera behind `cookie` runs at now, and the line it was reached on.
  void RememberBaudRate(CLUINT32 cookie, CLProtocol::ISerial* serial,
                        const CConnection& connection);

private:
  //! A connection and the line it was last used on.
  struct SEntry {
    std::shared_ptr<CConnection> m_Connection;
    CLProtocol::ISerial* m_Line = nullptr;
  };

  //! A camera identified by a probe, and when.
  struct SIdentified {
    CConnection::SBootstrap m_Bootstrap;
    std::chrono::steady_clock::time_point m_At;
  };

  //! How long a camera may take to return to 9600 when the driver lets go of it.
  static constexpr std::uint32_t ReleaseTimeoutMs = 500;
  //! How long a full probe's findings stand in for the next one of the same camera.
  static constexpr std::chrono::seconds IdentifiedFor{10};
  static constexpr std::size_t MaxIdentified = 64;

  CDriver() = default;
  void Release(const SEntry& entry);
  void RestoreBaudRate(CLProtocol::ISerial* serial, CConnection& connection,
                       std::uint32_t timeoutMs);
  std::vector<std::uint32_t> BaudCandidates(CLProtocol::ISerial* serial,
                                            const std::string& deviceId, bool complete);
  //! The findings of a full probe of `deviceId` made less than IdentifiedFor ago, if any.
  bool RecentlyIdentified(const std::string& deviceId, CConnection::SBootstrap& bootstrap);
  void NoteIdentified(const CConnection& connection);

  CLogger m_Logger;
  std::atomic<bool> m_StopProbe{false};
  // Guards the members below; owned by the driver, held only for map look-ups and updates.
  std::mutex m_Mutex;
  unsigned m_Starts = 0; // clpInitLib calls not yet closed
  CLUINT32 m_NextCookie = 1;
  std::map<CLUINT32, SEntry> m_Connections;
  std::map<CLProtocol::ISerial*, std::uint32_t> m_LineBaud;
  std::map<std::string, std::uint32_t> m_CameraBaud;
  std::map<std::string, std::uint32_t> m_RestoreBaud; // cameras released to 9600, by DeviceID
  std::map<std::string, SIdentified> m_Identified;    // by DeviceID, bounded in age and number
};

} // namespace GenCPDriver
