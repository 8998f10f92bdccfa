// A serial library with three in-memory ports: "echo" answers every write with the same bytes,
// "dead" never answers, "busy" cannot be opened.
#include "FakeState.h"

#include <CLProtocol/ClSerial.h>
#include <platform/Visibility.h>

#include <deque>

extern "C" {
VORLA_DLL_EXPORT SFakeSerialState fakeSerialState;
}

namespace {

const char* const kPorts[] = {"echo", "dead", "busy"};

struct SPort {
  int index;
  std::deque<char> rx;
};

SPort g_ports[2] = {{0, {}}, {1, {}}};
SFakeSerialState& g_State = fakeSerialState;

} // namespace

extern "C" {

VORLA_DLL_EXPORT CLINT32 clGetManufacturerInfo(CLINT8* name, CLUINT32* size, CLUINT32* version) {
  *version = CL_DLL_VERSION_1_1;
  return FakeCopy("Fake", name, size);
}
VORLA_DLL_EXPORT CLINT32 clGetNumSerialPorts(CLUINT32* n) {
  *n = 3;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clGetSerialPortIdentifier(CLUINT32 index, CLINT8* id, CLUINT32* size) {
  if (index >= 3)
    return CL_ERR_INVALID_INDEX;
  return FakeCopy(kPorts[index], id, size);
}
VORLA_DLL_EXPORT CLINT32 clSerialInit(CLUINT32 index, hSerRef* ref) {
  if (index == 2)
    return CL_ERR_PORT_IN_USE;
  if (index > 2)
    return CL_ERR_INVALID_INDEX;
  g_ports[index].rx.clear();
  g_State.m_Baud = CL_BAUDRATE_9600;
  ++g_State.m_Open;
  *ref = &g_ports[index];
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clSerialRead(hSerRef ref, CLINT8* buffer, CLUINT32* size,
                                      CLUINT32 timeout) {
  SPort* port = static_cast<SPort*>(ref);
  g_State.m_LastReadTimeout = timeout;
  if (port->rx.size() < *size)
    return CL_ERR_TIMEOUT; // no sleeping: the tests stay fast
  for (CLUINT32 i = 0; i < *size; ++i) {
    buffer[i] = port->rx.front();
    port->rx.pop_front();
  }
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clSerialWrite(hSerRef ref, CLINT8* buffer, CLUINT32* size, CLUINT32) {
  SPort* port = static_cast<SPort*>(ref);
  if (port->index == 0)
    port->rx.insert(port->rx.end(), buffer, buffer + *size);
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT void clSerialClose(hSerRef) {
  --g_State.m_Open;
}
VORLA_DLL_EXPORT CLINT32 clFlushPort(hSerRef ref) {
  static_cast<SPort*>(ref)->rx.clear();
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clGetSupportedBaudRates(hSerRef, CLUINT32* bits) {
  *bits = g_State.m_Supported;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clSetBaudRate(hSerRef, CLUINT32 bit) {
  if (!(bit & g_State.m_Supported))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  g_State.m_Baud = bit;
  return CL_ERR_NO_ERR;
}
VORLA_DLL_EXPORT CLINT32 clGetErrorText(CLINT32 code, CLINT8* text, CLUINT32* size) {
  if (code == CL_ERR_PORT_IN_USE)
    return FakeCopy("Fake port is busy", text, size);
  return CL_ERR_ERROR_NOT_FOUND;
}

} // extern "C"
