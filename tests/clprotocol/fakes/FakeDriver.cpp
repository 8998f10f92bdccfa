// A CLProtocol driver with scripted answers. Probes go over the ISerial it is given (a "P" that
// must come back), so the host's serial plumbing is exercised; registers live in memory.
#include <CLProtocol/CLProtocol.h>
#include <platform/Visibility.h>

#include <cstring>
#include <string>

namespace {

const CLUINT32 kCookie = 7;
std::string g_templates = "Fake\tFake#Cam";
// Reset by fakeDriverReset before each test.
std::string g_answer, g_xmlIDs;
CLINT32 g_probeStatus;
int g_pendingWrites, g_continuations;
bool g_cancelled;
CLUINT32 g_cameraBauds, g_baud;
int g_initCalls = 0;
int g_connections = 0;
std::string g_lastProbeQuery;
unsigned char g_registers[256];

CLINT32 Copy(const std::string& text, CLINT8* buffer, CLUINT32* size) {
  const CLUINT32 needed = static_cast<CLUINT32>(text.size() + 1);
  if (!buffer || *size < needed) {
    *size = needed;
    return CL_ERR_BUFFER_TOO_SMALL;
  }
  std::memcpy(buffer, text.c_str(), needed);
  *size = needed;
  return CL_ERR_NO_ERR;
}

} // namespace

extern "C" {

// Test controls.
VORLA_DLL_EXPORT void fakeDriverReset() {
  g_answer = "Fake#Cam#Model1#V1#SN42";
  g_xmlIDs = "SchemaVersion.1.0@Fake@XMLVersion.1.0.0\t"
             "SchemaVersion.1.1@Fake#Cam@XMLVersion.1.5.0\t"
             "SchemaVersion.1.1@Fake#Cam@XMLVersion.2.0.0\t"
             "SchemaVersion.1.1@Other@XMLVersion.9.0.0";
  g_probeStatus = CL_ERR_NO_ERR;
  g_pendingWrites = 0;
  g_continuations = 0;
  g_cancelled = false;
  g_cameraBauds = 0x1F;
  g_baud = CL_BAUDRATE_9600;
}
VORLA_DLL_EXPORT void fakeDriverSetAnswer(const char* answer) {
  g_answer = answer;
}
VORLA_DLL_EXPORT void fakeDriverSetXMLIDs(const char* ids) {
  g_xmlIDs = ids;
}
VORLA_DLL_EXPORT void fakeDriverSetProbeStatus(CLINT32 status) {
  g_probeStatus = status;
}
VORLA_DLL_EXPORT void fakeDriverSetPendingWrites(int n) {
  g_pendingWrites = n;
}
VORLA_DLL_EXPORT int fakeDriverContinuations() {
  return g_continuations;
}
VORLA_DLL_EXPORT bool fakeDriverCancelled() {
  return g_cancelled;
}
VORLA_DLL_EXPORT void fakeDriverSetCameraBauds(CLUINT32 mask) {
  g_cameraBauds = mask;
}
VORLA_DLL_EXPORT CLUINT32 fakeDriverBaud() {
  return g_baud;
}
VORLA_DLL_EXPORT int fakeDriverInitCalls() {
  return g_initCalls;
}
VORLA_DLL_EXPORT int fakeDriverConnections() {
  return g_connections;
}
VORLA_DLL_EXPORT const char* fakeDriverLastProbeQuery() {
  return g_lastProbeQuery.c_str();
}

VORLA_DLL_EXPORT CLINT32 clpInitLib(clp_logger_t, CLP_LOG_LEVEL_VALUE) {
  ++g_initCalls;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetCLProtocolVersion(CLUINT32* major, CLUINT32* minor) {
  *major = 1;
  *minor = 2;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetShortDeviceIDTemplates(CLINT8* buffer, CLUINT32* size) {
  return Copy(g_templates, buffer, size);
}
VORLA_DLL_EXPORT CLINT32 clpProbeDevice(ISerial* serial, const CLINT8* query, CLINT8* deviceID,
                                        CLUINT32* size, CLUINT32* cookie, const CLUINT32 timeout) {
  g_lastProbeQuery = query;
  CLINT8 ping = 'P';
  CLUINT32 n = 1;
  CLINT32 status = serial->clSerialWrite(&ping, &n, timeout);
  if (status != CL_ERR_NO_ERR)
    return status;
  CLINT8 pong = 0;
  n = 1;
  status = serial->clSerialRead(&pong, &n, timeout);
  if (status != CL_ERR_NO_ERR)
    return status;
  if (g_probeStatus != CL_ERR_NO_ERR)
    return g_probeStatus;
  status = Copy(g_answer, deviceID, size);
  if (status == CL_ERR_NO_ERR) {
    *cookie = kCookie;
    ++g_connections;
  }
  return status;
}
VORLA_DLL_EXPORT CLINT32 clpDisconnect(const CLUINT32 cookie) {
  if (cookie != kCookie)
    return CL_ERR_INVALID_COOKIE;
  --g_connections;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetXMLIDs(ISerial*, const CLUINT32, CLINT8* buffer, CLUINT32* size,
                                      const CLUINT32) {
  return Copy(g_xmlIDs, buffer, size);
}
VORLA_DLL_EXPORT CLINT32 clpGetXMLDescription(ISerial*, const CLUINT32, const CLINT8* id,
                                              CLINT8* buffer, CLUINT32* size, const CLUINT32) {
  return Copy("<xml id='" + std::string(id) + "' baud='" + std::to_string(g_baud) + "'/>", buffer,
              size);
}
VORLA_DLL_EXPORT CLINT32 clpReadRegister(ISerial*, const CLUINT32 cookie, const CLINT64 address,
                                         CLINT8* buffer, const CLINT64 length, const CLUINT32) {
  if (cookie != kCookie)
    return CL_ERR_INVALID_COOKIE;
  if (address == 0xBEEF)
    return CL_ERR_TIMEOUT;
  if (address < 0 || address + length > 256)
    return -30001;
  std::memcpy(buffer, g_registers + address, static_cast<size_t>(length));
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpWriteRegister(ISerial*, const CLUINT32 cookie, const CLINT64 address,
                                          const CLINT8* buffer, const CLINT64 length,
                                          const CLUINT32) {
  if (cookie != kCookie)
    return CL_ERR_INVALID_COOKIE;
  if (address == 0xDEAD)
    return -30209;
  if (address < 0 || address + length > 256)
    return -30001;
  std::memcpy(g_registers + address, buffer, static_cast<size_t>(length));
  return g_pendingWrites > 0 ? CL_ERR_PENDING_WRITE : CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpContinueWriteRegister(ISerial*, const CLUINT32, const BOOL8 wait,
                                                  const CLUINT32) {
  if (!wait) {
    g_cancelled = true;
    return CL_ERR_NO_ERR;
  }
  ++g_continuations;
  return --g_pendingWrites > 0 ? CL_ERR_PENDING_WRITE : CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetErrorText(CLINT32 code, CLINT8* text, CLUINT32* size,
                                         const CLUINT32) {
  if (code == -30209)
    return Copy("Fake camera went away", text, size);
  return CL_ERR_ERROR_NOT_FOUND;
}
VORLA_DLL_EXPORT CLINT32 clpGetParam(ISerial*, const CLP_PARAMS param, const CLUINT32,
                                     CLINT8* buffer, const CLINT64 size, const CLUINT32) {
  if (size < 4)
    return CL_ERR_PARAM_DATA_SIZE;
  CLUINT32 value = 0;
  if (param == CLP_DEVICE_BAUDERATE)
    value = g_baud;
  else if (param == CLP_DEVICE_SUPPORTED_BAUDERATES)
    value = g_cameraBauds;
  else
    return CL_ERR_PARAM_NOT_SUPPORTED;
  std::memcpy(buffer, &value, 4);
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpSetParam(ISerial* serial, const CLP_PARAMS param, const CLUINT32,
                                     const CLINT8* buffer, const CLINT64 size, const CLUINT32) {
  if (param != CLP_DEVICE_BAUDERATE)
    return CL_ERR_PARAM_NOT_SUPPORTED;
  if (size != 4)
    return CL_ERR_PARAM_DATA_SIZE;
  CLUINT32 bit = 0;
  std::memcpy(&bit, buffer, 4);
  if (!(bit & g_cameraBauds))
    return CL_ERR_PARAM_DATA_VALUE;
  const CLINT32 status = serial->clSetBaudRate(bit);
  if (status == CL_ERR_NO_ERR)
    g_baud = bit;
  return status;
}

} // extern "C"
