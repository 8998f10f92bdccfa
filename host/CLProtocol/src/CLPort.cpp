#include <CLProtocol/CLPort.h>
#include <CLProtocol/IXMLDownloadObserver.h>

#include "ErrorText.h"
#include "ModuleRegistry.h"
#include "ProtocolDriver.h"
#include "SerialLibrary.h"
#include "SerialPort.h"

#include <algorithm>
#include <cstdlib>

// Throws the Camera Link failure `status` with the best text the driver and library offer.
#define THROW_CL_ERROR(status, driver, cookie, library)                                            \
  throw CLERR_EXCEPTION("%s", ::CLProtocol::ErrorText(status, driver, cookie, library).c_str())    \
      .SetCLErrorCode(status)

namespace CLProtocol {
namespace {

// A driver that keeps answering PENDING_WRITE is cut off after this many continuations; the
// driver itself should bound the total time long before.
const int kMaxPendingContinuations = 1000;

struct SXmlID {
  std::string text;
  int schemaMajor = -1, schemaMinor = -1;
  std::string shortTemplate;
  size_t templateTokens = 0;
  int version[3] = {-1, -1, -1};
};

// "SchemaVersion.<maj>.<min>@<short template>@XMLVersion.<a>.<b>.<c>[.xml]"; numbers that do
// not parse stay -1 and sort last.
SXmlID ParseXmlID(const std::string& text) {
  SXmlID id;
  id.text = text;
  const size_t at1 = text.find('@');
  const size_t at2 = at1 == std::string::npos ? at1 : text.find('@', at1 + 1);
  if (at2 == std::string::npos)
    return id;
  std::sscanf(text.substr(0, at1).c_str(), "SchemaVersion.%d.%d", &id.schemaMajor, &id.schemaMinor);
  id.shortTemplate = text.substr(at1 + 1, at2 - at1 - 1);
  id.templateTokens =
      static_cast<size_t>(std::count(id.shortTemplate.begin(), id.shortTemplate.end(), '#') + 1);
  std::sscanf(text.substr(at2 + 1).c_str(), "XMLVersion.%d.%d.%d", &id.version[0], &id.version[1],
              &id.version[2]);
  return id;
}

// A template matches when its tokens equal the leading tokens of the DeviceID.
bool TemplateMatches(const std::string& shortTemplate, const std::string& shortDeviceID) {
  if (shortTemplate.empty())
    return true;
  if (shortDeviceID.compare(0, shortTemplate.size(), shortTemplate) != 0)
    return false;
  return shortDeviceID.size() == shortTemplate.size() || shortDeviceID[shortTemplate.size()] == '#';
}

bool BetterXmlID(const SXmlID& a, const SXmlID& b) {
  if (a.schemaMajor != b.schemaMajor)
    return a.schemaMajor > b.schemaMajor;
  if (a.schemaMinor != b.schemaMinor)
    return a.schemaMinor > b.schemaMinor;
  if (a.templateTokens != b.templateTokens)
    return a.templateTokens > b.templateTokens;
  return std::lexicographical_compare(b.version, b.version + 3, a.version, a.version + 3);
}

CLUINT32 HighestBit(CLUINT32 mask) {
  CLUINT32 bit = 0;
  for (CLUINT32 b = 1; b && b <= CL_BAUDRATE_921600; b <<= 1)
    if (mask & b)
      bit = b;
  return bit;
}

// The full DeviceID for a driver's answer to a probe with `query`. Drivers handed the full
// template answer the full DeviceID, older ones the short form; directory and file always come
// from the query, never from the driver or camera, and the result must parse.
bool ComposeDeviceID(const CDeviceID& query, const std::string& answer, std::string& full) {
  const std::string head = query.GetDriverDirectory(false) + "#" + query.GetDriverFileName() + "#";
  const std::string shortID = answer.compare(0, head.size(), head) == 0
                                  ? answer.substr(head.size())
                                  : (answer.empty() ? query.GetShortDeviceID() : answer);
  CDeviceID parsed;
  if (!parsed.FromString(head + shortID))
    return false;
  full = parsed.ToString();
  return true;
}

// Resolves port and driver of a probe or connection; throws when either is unknown.
void Resolve(const GenICam::gcstring& portID, const GenICam::gcstring& deviceID,
             CModuleRegistry::SPort& port, CDeviceID& parsed, CProtocolDriver*& driver) {
  if (!parsed.FromString(deviceID))
    throw CLERR_EXCEPTION("Invalid DeviceID '%s'", deviceID.c_str())
        .SetCLErrorCode(CL_ERR_INVALID_DEVICEID);
  driver = CModuleRegistry::Instance().FindDriver(parsed);
  if (!driver)
    throw CLERR_EXCEPTION("No CLProtocol driver '%s' found for DeviceID '%s'",
                          parsed.GetDriverFileName().c_str(), deviceID.c_str())
        .SetCLErrorCode(CL_ERR_INVALID_DEVICEID);
  if (!CModuleRegistry::Instance().FindPort(portID, port))
    throw CLERR_EXCEPTION("Unknown serial port '%s'", portID.c_str())
        .SetCLErrorCode(CL_ERR_INVALID_INDEX);
}

// The download observer of each thread; see SetXMLDownloadObserver.
thread_local IXMLDownloadObserver* t_xmlDownloadObserver = nullptr;

// Runs `download` telling the thread's observer, if any, of every read and of the end.
template <class Download>
void ObserveDownload(CSerialPort& serial, const GenICam::gcstring& xml, Download&& download) {
  IXMLDownloadObserver* observer = t_xmlDownloadObserver;
  if (!observer)
    return download();
  uint64_t lineBytes = 0;
  serial.SetReadListener([&](CLUINT32 bytes) {
    lineBytes += bytes;
    observer->OnXMLDownloadProgress(lineBytes);
  });
  const auto end = [&](uint64_t size) {
    serial.SetReadListener({});
    try {
      observer->OnXMLDownloadEnd(lineBytes, size);
    } catch (...) {
    }
  };
  try {
    download();
  } catch (...) {
    end(0);
    throw;
  }
  end(xml.size());
}

} // namespace

CCLPort::CCLPort() = default;

CCLPort::~CCLPort() {
  Disconnect();
}

void CCLPort::GetPortIDs(GenICam::gcstring_vector& portIDs) {
  portIDs.clear();
  for (const auto& port : CModuleRegistry::Instance().Ports())
    portIDs.push_back(port.id);
}

void CCLPort::GetDeviceIDTemplates(GenICam::gcstring_vector& templates) {
  templates.clear();
  for (const auto& entry : CModuleRegistry::Instance().Drivers())
    for (const auto& shortTemplate : entry.driver->ShortTemplates()) {
      const std::string full = entry.directory + "#" + entry.fileName + "#" + shortTemplate;
      CDeviceID check;
      if (check.FromString(full))
        templates.push_back(full);
    }
}

GenICam::gcstring CCLPort::ProbeDevice(const GenICam::gcstring& portID,
                                       const GenICam::gcstring& deviceIDTemplate,
                                       CLUINT32 timeoutMs) {
  CModuleRegistry::SPort port{};
  CDeviceID query;
  CProtocolDriver* driver = nullptr;
  Resolve(portID, deviceIDTemplate, port, query, driver);

  CSerialPort serial(*port.library, port.index);
  if (serial.Status() != CL_ERR_NO_ERR)
    THROW_CL_ERROR(serial.Status(), nullptr, 0, port.library);
  serial.clSetBaudRate(CL_BAUDRATE_9600); // probes start at the wake-up rate

  std::string answer;
  CLUINT32 cookie = 0;
  const CLINT32 status = driver->ProbeDevice(&serial, deviceIDTemplate, answer, cookie, timeoutMs);
  if (status == CL_ERR_NO_DEVICE_FOUND)
    return GenICam::gcstring();
  if (status != CL_ERR_NO_ERR)
    THROW_CL_ERROR(status, driver, 0, port.library);
  driver->Disconnect(cookie);

  std::string full;
  if (!ComposeDeviceID(query, answer, full))
    throw CLERR_EXCEPTION("The camera on '%s' answered an invalid DeviceID", portID.c_str())
        .SetCLErrorCode(CL_ERR_INVALID_DEVICEID);
  return full;
}

void CCLPort::Connect(const GenICam::gcstring& portID, const GenICam::gcstring& deviceID) {
  Disconnect();
  CModuleRegistry::SPort port{};
  CDeviceID query;
  CProtocolDriver* driver = nullptr;
  Resolve(portID, deviceID, port, query, driver);

  auto serial = std::make_unique<CSerialPort>(*port.library, port.index);
  if (serial->Status() != CL_ERR_NO_ERR)
    THROW_CL_ERROR(serial->Status(), nullptr, 0, port.library);

  std::string answer;
  CLUINT32 cookie = 0;
  const CLINT32 status = driver->ProbeDevice(serial.get(), deviceID, answer, cookie, m_timeoutMs);
  if (status != CL_ERR_NO_ERR)
    THROW_CL_ERROR(status, driver, 0, port.library);
  std::string full;
  if (!ComposeDeviceID(query, answer, full)) {
    driver->Disconnect(cookie);
    throw CLERR_EXCEPTION("The camera on '%s' answered an invalid DeviceID", portID.c_str())
        .SetCLErrorCode(CL_ERR_INVALID_DEVICEID);
  }
  m_serial = std::move(serial);
  m_driver = driver;
  m_cookie = cookie;
  m_portID = portID;
  m_deviceID = full;
}

void CCLPort::Disconnect() {
  if (m_driver)
    m_driver->Disconnect(m_cookie);
  m_driver = nullptr;
  m_cookie = 0;
  m_serial.reset();
  m_portID.clear();
  m_deviceID.clear();
}

bool CCLPort::IsConnected() const {
  return m_driver != nullptr;
}

void CCLPort::CheckConnected() const {
  if (!m_driver)
    throw ACCESS_EXCEPTION("CLPort is not connected");
}

void CCLPort::Read(void* pBuffer, int64_t Address, int64_t Length) {
  CheckConnected();
  if (Length < 0 || (!pBuffer && Length > 0))
    throw INVALID_ARGUMENT_EXCEPTION("Invalid buffer for reading %lld bytes at 0x%llx",
                                     static_cast<long long>(Length),
                                     static_cast<unsigned long long>(Address));
  const CLINT32 status = m_driver->ReadRegister(m_serial.get(), m_cookie, Address,
                                                static_cast<CLINT8*>(pBuffer), Length, m_timeoutMs);
  if (status < 0)
    THROW_CL_ERROR(status, m_driver, m_cookie, &m_serial->Library());
}

void CCLPort::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  CheckConnected();
  if (Length < 0 || (!pBuffer && Length > 0))
    throw INVALID_ARGUMENT_EXCEPTION("Invalid buffer for writing %lld bytes at 0x%llx",
                                     static_cast<long long>(Length),
                                     static_cast<unsigned long long>(Address));
  CLINT32 status = m_driver->WriteRegister(
      m_serial.get(), m_cookie, Address, static_cast<const CLINT8*>(pBuffer), Length, m_timeoutMs);
  for (int i = 0; status == CL_ERR_PENDING_WRITE; ++i) {
    if (i == kMaxPendingContinuations) {
      m_driver->ContinueWriteRegister(m_serial.get(), m_cookie, false, m_timeoutMs);
      status = CL_ERR_TIMEOUT;
      break;
    }
    status = m_driver->ContinueWriteRegister(m_serial.get(), m_cookie, true, m_timeoutMs);
  }
  if (status < 0)
    THROW_CL_ERROR(status, m_driver, m_cookie, &m_serial->Library());
}

GenApi::EAccessMode CCLPort::GetAccessMode() const {
  return m_driver ? GenApi::RW : GenApi::NA;
}

CLINT32 CCLPort::SupportedBaudrates(CLUINT32& mask) {
  mask = 0;
  if (!m_driver)
    return CL_ERR_INVALID_COOKIE;
  CLUINT32 portBits = 0;
  CLINT32 status = m_serial->clGetSupportedBaudRates(&portBits);
  if (status != CL_ERR_NO_ERR)
    return status;
  CLUINT32 cameraBits = 0;
  status = m_driver->GetParam(m_serial.get(), CLP_DEVICE_SUPPORTED_BAUDERATES, m_cookie, cameraBits,
                              m_timeoutMs);
  if (status == CL_ERR_PARAM_NOT_SUPPORTED)
    cameraBits = CL_BAUDRATE_9600; // the one rate every camera has
  else if (status != CL_ERR_NO_ERR)
    return status;
  mask = portBits & cameraBits & ~static_cast<CLUINT32>(CL_BAUDRATE_AUTOMAX);
  return CL_ERR_NO_ERR;
}

void CCLPort::SetDeviceBauderate(CLUINT32 baudRateBit) {
  CheckConnected();
  const CLINT32 status =
      m_driver->SetParam(m_serial.get(), CLP_DEVICE_BAUDERATE, m_cookie, baudRateBit, m_timeoutMs);
  if (status != CL_ERR_NO_ERR)
    THROW_CL_ERROR(status, m_driver, m_cookie, &m_serial->Library());
}

CLUINT32 CCLPort::GetDeviceBauderate() {
  CheckConnected();
  CLUINT32 bit = 0;
  const CLINT32 status =
      m_driver->GetParam(m_serial.get(), CLP_DEVICE_BAUDERATE, m_cookie, bit, m_timeoutMs);
  if (status == CL_ERR_PARAM_NOT_SUPPORTED)
    return CL_BAUDRATE_9600;
  if (status != CL_ERR_NO_ERR)
    THROW_CL_ERROR(status, m_driver, m_cookie, &m_serial->Library());
  return bit;
}

IXMLDownloadObserver* SetXMLDownloadObserver(IXMLDownloadObserver* observer) {
  IXMLDownloadObserver* previous = t_xmlDownloadObserver;
  t_xmlDownloadObserver = observer;
  return previous;
}

void CCLPort::GetXML(GenICam::gcstring& xml, bool useMaxBaudrate) {
  CheckConnected();
  ObserveDownload(*m_serial, xml, [&] { DownloadXML(xml, useMaxBaudrate); });
}

void CCLPort::DownloadXML(GenICam::gcstring& xml, bool useMaxBaudrate) {
  xml.clear();
  // Raise the line before the XML IDs are read, so that the manifest behind them crosses it fast
  // too: a description the driver has stored locally leaves little else on the line. A camera
  // that cannot switch is read at its current rate.
  CLUINT32 restoreBit = 0;
  if (useMaxBaudrate) {
    CLUINT32 mask = 0;
    if (SupportedBaudrates(mask) == CL_ERR_NO_ERR) {
      try {
        const CLUINT32 current = GetDeviceBauderate();
        const CLUINT32 fastest = HighestBit(mask);
        if (fastest && fastest != current) {
          SetDeviceBauderate(fastest);
          restoreBit = current;
        }
      } catch (const CLErrException&) {
      }
    }
  }
  std::string text;
  const CLINT32 status = [&] {
    std::vector<std::string> ids;
    const CLINT32 rc = m_driver->GetXMLIDs(m_serial.get(), m_cookie, ids, m_timeoutMs);
    if (rc != CL_ERR_NO_ERR)
      return rc;
    CDeviceID device;
    device.FromString(m_deviceID);
    std::vector<SXmlID> candidates;
    for (const auto& id : ids) {
      SXmlID parsed = ParseXmlID(id);
      if (TemplateMatches(parsed.shortTemplate, device.GetShortDeviceID()))
        candidates.push_back(parsed);
    }
    if (candidates.empty())
      return static_cast<CLINT32>(CL_ERR_NO_XMLDESCRIPTION_FOUND);
    std::stable_sort(candidates.begin(), candidates.end(), BetterXmlID);
    return m_driver->GetXMLDescription(m_serial.get(), m_cookie, candidates.front().text, text,
                                       m_timeoutMs);
  }();
  if (restoreBit) {
    try {
      SetDeviceBauderate(restoreBit);
    } catch (const CLErrException&) {
      if (status == CL_ERR_NO_ERR || status == CL_ERR_NO_XMLDESCRIPTION_FOUND)
        throw;
      // the download's own failure is the one to report
    }
  }
  if (status == CL_ERR_NO_XMLDESCRIPTION_FOUND)
    return;
  if (status != CL_ERR_NO_ERR)
    THROW_CL_ERROR(status, m_driver, m_cookie, &m_serial->Library());
  xml = text;
}

} // namespace CLProtocol
