#pragma once
#include "CommandChannel.h"
#include "DeviceIdentity.h"
#include "Logger.h"

#include <gencp/Sha1.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace GenCPDriver {

//! One probed camera behind a cookie: its identity, bootstrap addresses, manifest and the XML
//! downloaded from it, and the baud rate both ends use.
class CConnection {
public:
  //! What a full probe learns of a camera.
  struct SBootstrap {
    CDeviceIdentity m_Identity;
    std::uint64_t m_Capability = 0;
    std::uint64_t m_ManifestAddress = 0;
    std::uint64_t m_SbrmAddress = 0;
    std::uint32_t m_CameraBaudRates = 0x01;
  };

  CConnection(const CLogger& logger, const std::atomic<bool>* stopProbe);

  //! Talks to the camera at `baudBit` and checks that it fits the short template or DeviceID.
  CLINT32 Probe(CLProtocol::ISerial* serial, const CDeviceIdentity::SRequest& request,
                std::uint32_t baudBit, std::uint32_t timeoutMs);
  //! Takes over what a full probe learnt of `known` moments ago once the camera at `baudBit`
  //! reads back its serial number: one short read instead of the probe's four.
  //! CL_ERR_NO_DEVICE_FOUND when another camera answers.
  CLINT32 Confirm(CLProtocol::ISerial* serial, const SBootstrap& known, std::uint32_t baudBit,
                  std::uint32_t timeoutMs);
  const SBootstrap& Bootstrap() const { return m_Bootstrap; }
  const CDeviceIdentity& Identity() const { return m_Bootstrap.m_Identity; }

  CLINT32 GetXMLIDs(CLProtocol::ISerial* serial, std::string& ids, std::uint32_t timeoutMs);
  CLINT32 GetXML(CLProtocol::ISerial* serial, const std::string& xmlId, std::string& xml,
                 std::uint32_t timeoutMs);
  CLINT32 Read(CLProtocol::ISerial* serial, std::uint64_t address, std::uint8_t* data,
               std::size_t size, std::uint32_t timeoutMs);
  CLINT32 Write(CLProtocol::ISerial* serial, std::uint64_t address, const std::uint8_t* data,
                std::size_t size, std::uint32_t timeoutMs);
  CLINT32 ContinueWrite(CLProtocol::ISerial* serial, bool continueWaiting, std::uint32_t timeoutMs);

  //! Switches camera and line together (AutoMax picks the fastest common rate).
  CLINT32 SetBaudRate(CLProtocol::ISerial* serial, std::uint32_t baudBit, std::uint32_t timeoutMs);
  //! The rates both the camera and the line support.
  std::uint32_t SupportedBaudRates(CLProtocol::ISerial* serial) const;
  std::uint32_t BaudBit() const { return m_Channel.BaudBit(); }

  void SetLastError(std::string text) { m_LastError = std::move(text); }
  const std::string& LastError() const { return m_LastError; }

  //! Serialises the calls on this connection; taken by the C entry points for a whole call.
  std::mutex& Mutex() { return m_Mutex; }

private:
  struct SManifestEntry {
    std::string m_XmlId;
    std::uint32_t m_Format = 0;
    std::uint64_t m_Address = 0;
    std::uint64_t m_Size = 0;
    GenCP::Sha1Digest m_Sha1{};
    bool m_HasSha1 = false;
  };

  //! The file of `entry` as the camera stores it: from the description cache when it holds it,
  //! else downloaded, checked and cached.
  CLINT32 FetchFile(CLProtocol::ISerial* serial, const SManifestEntry& entry,
                    std::vector<std::uint8_t>& file, std::uint32_t timeoutMs);
  CLINT32 LoadManifest(CLProtocol::ISerial* serial, std::uint32_t timeoutMs);
  CLINT32 SwitchBaudRate(CLProtocol::ISerial* serial, std::uint32_t baudBit,
                         std::uint32_t timeoutMs);
  void SetLineBaudBit(CLProtocol::ISerial* serial, std::uint32_t baudBit);
  CCommandChannel::SOptions Options() const { return {}; }

  std::mutex m_Mutex;
  const CLogger& m_Logger;
  CCommandChannel m_Channel;
  SBootstrap m_Bootstrap;
  bool m_ManifestLoaded = false;
  std::vector<SManifestEntry> m_Manifest;
  std::map<std::string, std::string> m_XmlCache;
  std::string m_LastError;
};

} // namespace GenCPDriver
