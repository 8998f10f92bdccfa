#include "ProtocolDriver.h"

#include "FetchText.h"

#include <platform/SystemPaths.h>

#include <CLProtocol/DriverLog.h>

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace CLProtocol {
namespace {

// Lists and texts from a driver are bounded: a broken driver must not make the host allocate
// without limit.
const CLUINT32 kMaxText = 64u << 20;

std::atomic<DriverLogFunction> g_DriverLogFunction{nullptr};

void CLPROTOCOL DriverLog(CLINT32 level, const char* format, va_list args) {
  const DriverLogFunction function = g_DriverLogFunction.load();
  if (!format || (!function && level > CLP_LOG_WARN))
    return;
  char line[512];
  std::vsnprintf(line, sizeof line, format, args);
  if (function)
    function(level, line);
  else
    Vorla::Platform::DebugOutput(line);
}

std::vector<std::string> SplitTabs(const std::string& list) {
  std::vector<std::string> items;
  size_t pos = 0;
  while (pos <= list.size()) {
    size_t end = list.find('\t', pos);
    if (end == std::string::npos)
      end = list.size();
    if (end > pos)
      items.push_back(list.substr(pos, end - pos));
    pos = end + 1;
  }
  return items;
}

template <class F> CLINT32 FetchText(F&& call, std::string& text) {
  return CLProtocol::FetchText(call, text, 1024, kMaxText);
}

} // namespace

std::unique_ptr<CProtocolDriver> CProtocolDriver::Load(const std::string& path) {
  std::unique_ptr<CProtocolDriver> drv(new CProtocolDriver);
  if (!drv->m_library.Load(Vorla::Platform::CDynamicLibrary::NativePath(path)))
    return nullptr;
  drv->m_path = path;
  auto sym = [&drv](const char* name) { return drv->m_library.Symbol(name); };
  auto getVersion = reinterpret_cast<clpGetCLProtocolVersion_t>(sym("clpGetCLProtocolVersion"));
  auto initLib = reinterpret_cast<clpInitLib_t>(sym("clpInitLib"));
  drv->m_getShortDeviceIDTemplates =
      reinterpret_cast<clpGetShortDeviceIDTemplates_t>(sym("clpGetShortDeviceIDTemplates"));
  drv->m_probeDevice = reinterpret_cast<clpProbeDevice_t>(sym("clpProbeDevice"));
  drv->m_getXMLIDs = reinterpret_cast<clpGetXMLIDs_t>(sym("clpGetXMLIDs"));
  drv->m_getXMLDescription = reinterpret_cast<clpGetXMLDescription_t>(sym("clpGetXMLDescription"));
  drv->m_readRegister = reinterpret_cast<clpReadRegister_t>(sym("clpReadRegister"));
  drv->m_writeRegister = reinterpret_cast<clpWriteRegister_t>(sym("clpWriteRegister"));
  drv->m_continueWriteRegister =
      reinterpret_cast<clpContinueWriteRegister_t>(sym("clpContinueWriteRegister"));
  drv->m_getErrorText = reinterpret_cast<clpGetErrorText_t>(sym("clpGetErrorText"));
  drv->m_disconnect = reinterpret_cast<clpDisconnect_t>(sym("clpDisconnect"));
  drv->m_getParam = reinterpret_cast<clpGetParam_t>(sym("clpGetParam"));
  drv->m_setParam = reinterpret_cast<clpSetParam_t>(sym("clpSetParam"));
  if (!getVersion || !drv->m_getShortDeviceIDTemplates || !drv->m_probeDevice ||
      !drv->m_getXMLIDs || !drv->m_getXMLDescription || !drv->m_readRegister ||
      !drv->m_writeRegister || !drv->m_getErrorText || !drv->m_disconnect)
    return nullptr;
  CLUINT32 major = 0, minor = 0;
  if (getVersion(&major, &minor) != CL_ERR_NO_ERR || major != CLPROTOCOL_VERSION_MAJOR)
    return nullptr;
  if (initLib) {
    // Notices too: the host's receiver decides what to show.
    const CLINT32 status = initLib(DriverLog, CLP_LOG_NOTICE);
    if (status != CL_ERR_NO_ERR && status != CL_ERR_IN_USE)
      return nullptr;
  }
  return drv;
}

std::vector<std::string> CProtocolDriver::ShortTemplates() const {
  std::string list;
  if (FetchText([this](CLINT8* b, CLUINT32* s) { return m_getShortDeviceIDTemplates(b, s); },
                list) != CL_ERR_NO_ERR)
    return {};
  return SplitTabs(list);
}

CLINT32 CProtocolDriver::ProbeDevice(ISerial* serial, const std::string& deviceID,
                                     std::string& answer, CLUINT32& cookie,
                                     CLUINT32 timeoutMs) const {
  std::vector<CLINT8> buffer(1024);
  CLUINT32 size = static_cast<CLUINT32>(buffer.size());
  cookie = 0;
  CLINT32 status =
      m_probeDevice(serial, deviceID.c_str(), buffer.data(), &size, &cookie, timeoutMs);
  if (status == CL_ERR_BUFFER_TOO_SMALL && size > buffer.size() && size <= kMaxText) {
    // The driver found the camera but our buffer was short: asking again re-connects with
    // the same DeviceID, which the driver tells apart from a template.
    if (cookie != 0)
      m_disconnect(cookie);
    buffer.resize(size);
    size = static_cast<CLUINT32>(buffer.size());
    cookie = 0;
    status = m_probeDevice(serial, deviceID.c_str(), buffer.data(), &size, &cookie, timeoutMs);
  }
  if (status != CL_ERR_NO_ERR)
    return status;
  buffer.back() = 0;
  answer = buffer.data();
  return status;
}

CLINT32 CProtocolDriver::GetXMLIDs(ISerial* serial, CLUINT32 cookie, std::vector<std::string>& ids,
                                   CLUINT32 timeoutMs) const {
  std::string list;
  const CLINT32 status = FetchText(
      [&](CLINT8* b, CLUINT32* s) { return m_getXMLIDs(serial, cookie, b, s, timeoutMs); }, list);
  if (status == CL_ERR_NO_ERR)
    ids = SplitTabs(list);
  return status;
}

CLINT32 CProtocolDriver::GetXMLDescription(ISerial* serial, CLUINT32 cookie,
                                           const std::string& xmlID, std::string& xml,
                                           CLUINT32 timeoutMs) const {
  CLUINT32 size = 0;
  CLINT32 status = m_getXMLDescription(serial, cookie, xmlID.c_str(), nullptr, &size, timeoutMs);
  if (status != CL_ERR_NO_ERR && status != CL_ERR_BUFFER_TOO_SMALL)
    return status;
  if (size == 0 || size > kMaxText)
    return CL_ERR_NO_XMLDESCRIPTION_FOUND;
  std::vector<CLINT8> buffer(size);
  status = m_getXMLDescription(serial, cookie, xmlID.c_str(), buffer.data(), &size, timeoutMs);
  if (status != CL_ERR_NO_ERR)
    return status;
  size = std::min<CLUINT32>(size, static_cast<CLUINT32>(buffer.size()));
  // The size counts a terminating NUL for text; a zipped description has none.
  xml.assign(buffer.data(), size);
  while (!xml.empty() && xml.back() == '\0')
    xml.pop_back();
  return status;
}

CLINT32 CProtocolDriver::ContinueWriteRegister(ISerial* serial, CLUINT32 cookie,
                                               bool continueWaiting, CLUINT32 timeoutMs) const {
  if (!m_continueWriteRegister)
    return CL_ERR_FUNCTION_NOT_FOUND;
  return m_continueWriteRegister(serial, cookie, continueWaiting ? 1 : 0, timeoutMs);
}

CLINT32 CProtocolDriver::GetParam(ISerial* serial, CLP_PARAMS param, CLUINT32 cookie,
                                  CLUINT32& value, CLUINT32 timeoutMs) const {
  if (!m_getParam)
    return CL_ERR_PARAM_NOT_SUPPORTED;
  CLUINT32 v = 0;
  const CLINT32 status =
      m_getParam(serial, param, cookie, reinterpret_cast<CLINT8*>(&v), sizeof v, timeoutMs);
  if (status == CL_ERR_NO_ERR)
    value = v;
  return status;
}

CLINT32 CProtocolDriver::SetParam(ISerial* serial, CLP_PARAMS param, CLUINT32 cookie,
                                  CLUINT32 value, CLUINT32 timeoutMs) const {
  if (!m_setParam)
    return CL_ERR_PARAM_NOT_SUPPORTED;
  return m_setParam(serial, param, cookie, reinterpret_cast<const CLINT8*>(&value), sizeof value,
                    timeoutMs);
}

bool CProtocolDriver::ErrorText(CLINT32 code, CLUINT32 cookie, std::string& text) const {
  return FetchText([&](CLINT8* b, CLUINT32* s) { return m_getErrorText(code, b, s, cookie); },
                   text) == CL_ERR_NO_ERR &&
         !text.empty();
}

DriverLogFunction SetDriverLogFunction(DriverLogFunction function) {
  return g_DriverLogFunction.exchange(function);
}

} // namespace CLProtocol
