// A CLProtocol driver with scripted answers. Probes go over the ISerial it is given (a "P" that
// must come back), so the host's serial plumbing is exercised; registers live in memory.
#include "FakeState.h"

#include <CLProtocol/CLProtocol.h>
#include <platform/Visibility.h>

extern "C" {
VORLA_DLL_EXPORT SFakeDriverState fakeDriverState;
}

namespace {

const CLUINT32 kCookie = 7;
const std::string kTemplates = "Fake\tFake#Cam";
SFakeDriverState& g_State = fakeDriverState;
unsigned char g_registers[256];

} // namespace

extern "C" {

VORLA_DLL_EXPORT CLINT32 clpInitLib(clp_logger_t, CLP_LOG_LEVEL_VALUE) {
  ++g_State.m_InitCalls;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetCLProtocolVersion(CLUINT32* major, CLUINT32* minor) {
  *major = 1;
  *minor = 2;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetShortDeviceIDTemplates(CLINT8* buffer, CLUINT32* size) {
  return FakeCopy(kTemplates, buffer, size);
}
VORLA_DLL_EXPORT CLINT32 clpProbeDevice(ISerial* serial, const CLINT8* query, CLINT8* deviceID,
                                        CLUINT32* size, CLUINT32* cookie, const CLUINT32 timeout) {
  g_State.m_LastProbeQuery = query;
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
  if (g_State.m_ProbeStatus != CL_ERR_NO_ERR)
    return g_State.m_ProbeStatus;
  status = FakeCopy(g_State.m_Answer, deviceID, size);
  if (status == CL_ERR_NO_ERR) {
    *cookie = kCookie;
    ++g_State.m_Connections;
  }
  return status;
}
VORLA_DLL_EXPORT CLINT32 clpDisconnect(const CLUINT32 cookie) {
  if (cookie != kCookie)
    return CL_ERR_INVALID_COOKIE;
  --g_State.m_Connections;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetXMLIDs(ISerial*, const CLUINT32, CLINT8* buffer, CLUINT32* size,
                                      const CLUINT32) {
  return FakeCopy(g_State.m_XMLIDs, buffer, size);
}
VORLA_DLL_EXPORT CLINT32 clpGetXMLDescription(ISerial*, const CLUINT32, const CLINT8* id,
                                              CLINT8* buffer, CLUINT32* size, const CLUINT32) {
  return FakeCopy("<xml id='" + std::string(id) + "' baud='" + std::to_string(g_State.m_Baud) +
                      "'/>",
                  buffer, size);
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
  return g_State.m_PendingWrites > 0 ? CL_ERR_PENDING_WRITE : CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpContinueWriteRegister(ISerial*, const CLUINT32, const BOOL8 wait,
                                                  const CLUINT32) {
  if (!wait) {
    g_State.m_Cancelled = true;
    return CL_ERR_NO_ERR;
  }
  ++g_State.m_Continuations;
  return --g_State.m_PendingWrites > 0 ? CL_ERR_PENDING_WRITE : CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clpGetErrorText(CLINT32 code, CLINT8* text, CLUINT32* size,
                                         const CLUINT32) {
  if (code == -30209)
    return FakeCopy("Fake camera went away", text, size);
  return CL_ERR_ERROR_NOT_FOUND;
}
VORLA_DLL_EXPORT CLINT32 clpGetParam(ISerial*, const CLP_PARAMS param, const CLUINT32,
                                     CLINT8* buffer, const CLINT64 size, const CLUINT32) {
  if (size < 4)
    return CL_ERR_PARAM_DATA_SIZE;
  CLUINT32 value = 0;
  if (param == CLP_DEVICE_BAUDERATE)
    value = g_State.m_Baud;
  else if (param == CLP_DEVICE_SUPPORTED_BAUDERATES)
    value = g_State.m_CameraBauds;
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
  if (!(bit & g_State.m_CameraBauds))
    return CL_ERR_PARAM_DATA_VALUE;
  const CLINT32 status = serial->clSetBaudRate(bit);
  if (status == CL_ERR_NO_ERR)
    g_State.m_Baud = bit;
  return status;
}

} // extern "C"
