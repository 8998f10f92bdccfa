#include "Connection.h"

#include "DescriptionCache.h"
#include "ErrorCodes.h"

#include <gencp/ByteOrder.h>
#include <gencp/MemoryZip.h>
#include <gencp/Protocol.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>

namespace GenCPDriver {
namespace {

namespace Abrm = GenCP::Abrm;

// A manifest lists a handful of files; more means a damaged table.
constexpr std::uint64_t MaxManifestEntries = 64;
constexpr std::uint64_t MaxXmlFileSize = 16u << 20;
// The camera falls back after 250 ms without confirmation; the host waits this long before
// talking at the old rate again.
constexpr std::chrono::milliseconds BaudFallbackWait{500};

std::string BootstrapString(const std::uint8_t* p) {
  const auto* end = std::find(p, p + Abrm::StringSize, 0);
  return std::string(p, end);
}

bool IsSingleBit(std::uint32_t v) {
  return v && !(v & (v - 1));
}

std::uint32_t HighestBit(std::uint32_t v) {
  std::uint32_t bit = 0;
  for (std::uint32_t b = 1; b && b <= v; b <<= 1)
    if (v & b)
      bit = b;
  return bit;
}

} // namespace

CConnection::CConnection(const CLogger& logger, const std::atomic<bool>* stopProbe)
    : m_Logger(logger), m_Channel(logger) {
  m_Channel.SetStopFlag(stopProbe);
}

void CConnection::SetLineBaudBit(CLProtocol::ISerial* serial, std::uint32_t baudBit) {
  if (serial->clSetBaudRate(baudBit) != CL_ERR_NO_ERR)
    m_Logger.Log(CLP_LOG_WARN, "GenCP: the line refused baud bit 0x%X", unsigned(baudBit));
  m_Channel.SetBaudBit(baudBit);
}

CLINT32 CConnection::Probe(CLProtocol::ISerial* serial, const CDeviceIdentity::SRequest& request,
                           std::uint32_t baudBit, std::uint32_t timeoutMs) {
  SetLineBaudBit(serial, baudBit);

  CCommandChannel::SOptions options;
  options.m_SilenceEndsAtOnce = true;
  options.m_GarbageCode = ErrNoGenCPDevice;
  std::uint8_t version[4];
  CLINT32 rc = m_Channel.ReadMem(serial, Abrm::GenCPVersion, version, 4, timeoutMs, options);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  // Major version 1; the pre-1.0 layout puts every register elsewhere.
  if (GenCP::GetBE16(version) != 1) {
    m_Logger.Log(CLP_LOG_NOTICE, "GenCP: unsupported protocol version 0x%08X",
                 unsigned(GenCP::GetBE32(version)));
    return CL_ERR_NO_DEVICE_FOUND;
  }
  options.m_SilenceEndsAtOnce = false;
  std::uint8_t tail[Abrm::DeviceConfiguration - Abrm::SerialNumber];
  rc = m_Channel.ReadMem(serial, Abrm::SerialNumber, tail, sizeof tail, timeoutMs, options);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  std::uint8_t names[Abrm::ManufacturerInfo - Abrm::ManufacturerName];
  rc = m_Channel.ReadMem(serial, Abrm::ManufacturerName, names, sizeof names, timeoutMs, options);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  const auto at = [](std::uint8_t* block, std::uint64_t blockBase, std::uint64_t address) {
    return block + (address - blockBase);
  };
  SBootstrap& b = m_Bootstrap;
  b.m_Capability = GenCP::GetBE64(at(tail, Abrm::SerialNumber, Abrm::DeviceCapability));
  b.m_ManifestAddress = GenCP::GetBE64(at(tail, Abrm::SerialNumber, Abrm::ManifestTableAddress));
  b.m_SbrmAddress = (b.m_Capability & GenCP::CapSbrm)
                        ? GenCP::GetBE64(at(tail, Abrm::SerialNumber, Abrm::SbrmAddress))
                        : 0;
  CDeviceIdentity& identity = b.m_Identity;
  identity.m_Manufacturer =
      BootstrapString(at(names, Abrm::ManufacturerName, Abrm::ManufacturerName));
  identity.m_Model = BootstrapString(at(names, Abrm::ManufacturerName, Abrm::ModelName));
  identity.m_Family = (b.m_Capability & GenCP::CapFamilyName)
                          ? BootstrapString(at(names, Abrm::ManufacturerName, Abrm::FamilyName))
                          : std::string();
  identity.m_Version = BootstrapString(at(names, Abrm::ManufacturerName, Abrm::DeviceVersion));
  identity.m_Serial = BootstrapString(tail);

  const std::string id = identity.ShortDeviceID();
  if (!identity.Matches(request)) {
    m_Logger.Log(CLP_LOG_INFO, "GenCP: camera '%s' does not match '%s'", id.c_str(),
                 request.m_Short.c_str());
    return CL_ERR_NO_DEVICE_FOUND;
  }

  b.m_CameraBaudRates = GenCP::Baud9600;
  if (b.m_SbrmAddress) {
    std::uint8_t sbrm[GenCP::Sbrm::Size];
    rc = m_Channel.ReadMem(serial, b.m_SbrmAddress, sbrm, sizeof sbrm, timeoutMs, options);
    if (rc != CL_ERR_NO_ERR)
      return rc;
    b.m_CameraBaudRates = GenCP::GetBE32(sbrm) | GenCP::Baud9600;
  }
  m_Logger.Log(CLP_LOG_INFO, "GenCP: found camera '%s'", id.c_str());
  return CL_ERR_NO_ERR;
}

CLINT32 CConnection::Confirm(CLProtocol::ISerial* serial, const SBootstrap& known,
                             std::uint32_t baudBit, std::uint32_t timeoutMs) {
  SetLineBaudBit(serial, baudBit);
  CCommandChannel::SOptions options;
  options.m_SilenceEndsAtOnce = true;
  options.m_GarbageCode = ErrNoGenCPDevice;
  // The serial number and its terminator, in whole 32-bit words as cameras like to be read.
  const std::string& expected = known.m_Identity.m_Serial;
  std::uint8_t bytes[Abrm::StringSize] = {};
  const std::size_t size =
      std::min<std::size_t>((expected.size() + 4) & ~std::size_t(3), sizeof bytes);
  const CLINT32 rc = m_Channel.ReadMem(serial, Abrm::SerialNumber, bytes, size, timeoutMs, options);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  if (BootstrapString(bytes) != expected)
    return CL_ERR_NO_DEVICE_FOUND;
  m_Bootstrap = known;
  m_Logger.Log(CLP_LOG_INFO, "GenCP: found camera '%s'", Identity().ShortDeviceID().c_str());
  return CL_ERR_NO_ERR;
}

CLINT32 CConnection::LoadManifest(CLProtocol::ISerial* serial, std::uint32_t timeoutMs) {
  if (m_ManifestLoaded)
    return CL_ERR_NO_ERR;
  std::uint8_t countBytes[8];
  CLINT32 rc =
      m_Channel.ReadMem(serial, m_Bootstrap.m_ManifestAddress, countBytes, 8, timeoutMs, Options());
  if (rc != CL_ERR_NO_ERR)
    return rc;
  const std::uint64_t count = GenCP::GetBE64(countBytes);
  if (count > MaxManifestEntries)
    return ErrBadManifest;
  std::vector<std::uint8_t> table(static_cast<std::size_t>(count) * GenCP::ManifestEntrySize);
  if (!table.empty()) {
    rc = m_Channel.ReadMem(serial, m_Bootstrap.m_ManifestAddress + 8, table.data(), table.size(),
                           timeoutMs, Options());
    if (rc != CL_ERR_NO_ERR)
      return rc;
  }
  m_Manifest.clear();
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* e = table.data() + i * GenCP::ManifestEntrySize;
    const std::uint32_t fileVersion = GenCP::GetBE32(e);
    const std::uint32_t kind = GenCP::GetBE32(e + 4);
    if ((kind & 0x7) != 0)
      continue; // not a device description
    SManifestEntry entry;
    entry.m_Format = (kind >> 10) & 0x3F;
    entry.m_Address = GenCP::GetBE64(e + 8);
    entry.m_Size = GenCP::GetBE64(e + 16);
    std::copy(e + 24, e + 44, entry.m_Sha1.begin());
    entry.m_HasSha1 = std::any_of(entry.m_Sha1.begin(), entry.m_Sha1.end(),
                                  [](std::uint8_t b) { return b != 0; });
    if (entry.m_Format > GenCP::FileFormatZip || entry.m_Size == 0 || entry.m_Size > MaxXmlFileSize)
      continue;
    entry.m_XmlId = "SchemaVersion." + std::to_string(kind >> 24) + "." +
                    std::to_string((kind >> 16) & 0xFF) + "@" + Identity().ModelTemplate() +
                    "@XMLVersion." + std::to_string(fileVersion >> 24) + "." +
                    std::to_string((fileVersion >> 16) & 0xFF) + "." +
                    std::to_string(fileVersion & 0xFFFF);
    const bool known =
        std::any_of(m_Manifest.begin(), m_Manifest.end(),
                    [&](const SManifestEntry& m) { return m.m_XmlId == entry.m_XmlId; });
    if (!known)
      m_Manifest.push_back(entry);
  }
  m_ManifestLoaded = true;
  return CL_ERR_NO_ERR;
}

CLINT32 CConnection::GetXMLIDs(CLProtocol::ISerial* serial, std::string& ids,
                               std::uint32_t timeoutMs) {
  const CLINT32 rc = LoadManifest(serial, timeoutMs);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  ids.clear();
  for (const SManifestEntry& entry : m_Manifest)
    ids += (ids.empty() ? "" : "\t") + entry.m_XmlId;
  return CL_ERR_NO_ERR;
}

CLINT32 CConnection::GetXML(CLProtocol::ISerial* serial, const std::string& xmlId, std::string& xml,
                            std::uint32_t timeoutMs) {
  const auto cached = m_XmlCache.find(xmlId);
  if (cached != m_XmlCache.end()) {
    xml = cached->second;
    return CL_ERR_NO_ERR;
  }
  CLINT32 rc = LoadManifest(serial, timeoutMs);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  const auto entry = std::find_if(m_Manifest.begin(), m_Manifest.end(),
                                  [&](const SManifestEntry& e) { return e.m_XmlId == xmlId; });
  if (entry == m_Manifest.end())
    return CL_ERR_NO_XMLDESCRIPTION_FOUND;
  std::vector<std::uint8_t> file;
  rc = FetchFile(serial, *entry, file, timeoutMs);
  if (rc != CL_ERR_NO_ERR)
    return rc;
  if (entry->m_Format == GenCP::FileFormatZip) {
    std::vector<std::uint8_t> plain;
    if (!GenCP::CMemoryZip::UnzipFirst(file, plain))
      return ErrUnzipFailed;
    file.swap(plain);
  }
  xml.assign(file.begin(), file.end());
  m_XmlCache[xmlId] = xml;
  return CL_ERR_NO_ERR;
}

CLINT32 CConnection::FetchFile(CLProtocol::ISerial* serial, const SManifestEntry& entry,
                               std::vector<std::uint8_t>& file, std::uint32_t timeoutMs) {
  // Only a published SHA-1 says which cached file is this camera's.
  CDescriptionCache cache =
      entry.m_HasSha1 ? CDescriptionCache::FromEnvironment() : CDescriptionCache({}, 0, 0);
  std::string warning;
  if (cache.Find(entry.m_Sha1, file, warning)) {
    m_Logger.Log(CLP_LOG_NOTICE, "GenCP: '%s' taken from the description cache '%s'",
                 entry.m_XmlId.c_str(), cache.Directory().c_str());
    return CL_ERR_NO_ERR;
  }
  file.assign(static_cast<std::size_t>(entry.m_Size), 0);
  const CLINT32 rc =
      m_Channel.ReadMem(serial, entry.m_Address, file.data(), file.size(), timeoutMs, Options());
  if (rc != CL_ERR_NO_ERR)
    return rc;
  // The checksum covers the file as stored, zipped or not.
  if (entry.m_HasSha1 && GenCP::Sha1(file.data(), file.size()) != entry.m_Sha1) {
    m_Logger.Log(CLP_LOG_ERROR, "GenCP: '%s' does not match its SHA-1", entry.m_XmlId.c_str());
    return ErrXmlChecksum;
  }
  // A damaged entry is replaced now; it and a failing store cost one warning.
  std::string storeWarning;
  cache.Store(entry.m_Sha1, file, storeWarning);
  if (warning.empty())
    warning = storeWarning;
  if (!warning.empty())
    m_Logger.Log(CLP_LOG_WARN, "GenCP: %s", warning.c_str());
  return CL_ERR_NO_ERR;
}

CLINT32 CConnection::Read(CLProtocol::ISerial* serial, std::uint64_t address, std::uint8_t* data,
                          std::size_t size, std::uint32_t timeoutMs) {
  return m_Channel.ReadMem(serial, address, data, size, timeoutMs, Options());
}

CLINT32 CConnection::Write(CLProtocol::ISerial* serial, std::uint64_t address,
                           const std::uint8_t* data, std::size_t size, std::uint32_t timeoutMs) {
  // Writes that change the baud rate run the switch procedure so that the line follows.
  if (size == 4 && m_Bootstrap.m_SbrmAddress &&
      address == m_Bootstrap.m_SbrmAddress + GenCP::Sbrm::CurrentBaudrate)
    return SetBaudRate(serial, GenCP::GetBE32(data), timeoutMs);
  if (size == 4 && address == GenCP::Hexmar::BaudRateFeatureRegister) {
    const std::uint32_t bit = GenCP::Hexmar::BaudBitOfFeatureValue(GenCP::GetBE32(data));
    return bit ? SetBaudRate(serial, bit, timeoutMs) : CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  }
  CCommandChannel::SOptions options;
  options.m_AllowPendingWrite = true;
  return m_Channel.WriteMem(serial, address, data, size, timeoutMs, options);
}

CLINT32 CConnection::ContinueWrite(CLProtocol::ISerial* serial, bool continueWaiting,
                                   std::uint32_t timeoutMs) {
  return m_Channel.ContinueWrite(serial, continueWaiting, timeoutMs);
}

std::uint32_t CConnection::SupportedBaudRates(CLProtocol::ISerial* serial) const {
  CLUINT32 line = 0;
  if (serial->clGetSupportedBaudRates(&line) != CL_ERR_NO_ERR)
    line = GenCP::Baud9600;
  return (line | GenCP::Baud9600) & m_Bootstrap.m_CameraBaudRates & GenCP::BaudAllRates;
}

CLINT32 CConnection::SetBaudRate(CLProtocol::ISerial* serial, std::uint32_t baudBit,
                                 std::uint32_t timeoutMs) {
  const std::uint32_t supported = SupportedBaudRates(serial);
  if (baudBit == CL_BAUDRATE_AUTOMAX)
    baudBit = HighestBit(supported);
  if (!IsSingleBit(baudBit) || !(baudBit & supported))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  if (baudBit == m_Channel.BaudBit())
    return CL_ERR_NO_ERR;
  if (!m_Bootstrap.m_SbrmAddress)
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  return SwitchBaudRate(serial, baudBit, timeoutMs);
}

CLINT32 CConnection::SwitchBaudRate(CLProtocol::ISerial* serial, std::uint32_t baudBit,
                                    std::uint32_t timeoutMs) {
  const std::uint32_t oldBit = m_Channel.BaudBit();
  const std::uint64_t reg = m_Bootstrap.m_SbrmAddress + GenCP::Sbrm::CurrentBaudrate;
  std::uint8_t value[4];
  GenCP::PutBE(value, baudBit, 4);
  // 1. Request at the old rate; the camera acknowledges at the old rate, then switches.
  CLINT32 rc = m_Channel.WriteMem(serial, reg, value, 4, timeoutMs, Options());
  if (rc != CL_ERR_NO_ERR)
    return rc;
  // 2. Follow with the line and confirm at the new rate within the camera's window.
  if (serial->clSetBaudRate(baudBit) == CL_ERR_NO_ERR) {
    m_Channel.SetBaudBit(baudBit);
    CCommandChannel::SOptions confirm;
    confirm.m_Resends = 1;
    rc = m_Channel.WriteMem(serial, reg, value, 4, timeoutMs, confirm);
    if (rc == CL_ERR_NO_ERR) {
      m_Logger.Log(CLP_LOG_INFO, "GenCP: switched to %u baud",
                   unsigned(GenCP::BaudRateOf(baudBit)));
      return CL_ERR_NO_ERR;
    }
  }
  // 3. No confirmation: the camera returns to the old rate on its own; so does the line.
  m_Logger.Log(CLP_LOG_ERROR, "GenCP: switching to %u baud failed (%d), staying at %u",
               unsigned(GenCP::BaudRateOf(baudBit)), int(rc), unsigned(GenCP::BaudRateOf(oldBit)));
  serial->clSetBaudRate(oldBit);
  m_Channel.SetBaudBit(oldBit);
  std::this_thread::sleep_for(BaudFallbackWait);
  return ErrBaudSwitchFailed;
}

} // namespace GenCPDriver
