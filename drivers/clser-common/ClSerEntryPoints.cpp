// The Camera Link serial C functions (version 1.1 set), written once for every serial library:
// each library's ClSerLibrary.h names its port class (`ClSerLibrary::CPort`, which lists its
// ports with `Devices()`, names one with `Identifier()` and reports `SupportedBaudRates()`) and
// its manufacturer name. Nothing may leave these functions as an exception: every failure
// becomes a status code.
#include "ClSerLibrary.h"
#include "ClSerText.h"
#include "PortTable.h"

#include <CLProtocol/ClErrorText.h>
#include <CLProtocol/ClSerial.h>
#include <platform/Visibility.h>

#include <cstring>
#include <new>

using ClSerCommon::CopyText;
using ClSerLibrary::CPort;
using CPortTable = ClSerCommon::CPortTable<CPort>;

namespace {

template <class F> CLINT32 Guard(F&& f) {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return CL_ERR_OUT_OF_MEMORY;
  } catch (...) {
    return CL_ERR_INVALID_REFERENCE;
  }
}

template <class F> CLINT32 WithPort(hSerRef ref, F&& f) {
  return Guard([&]() -> CLINT32 {
    const auto port = CPortTable::Instance().Find(ref);
    if (!port)
      return CL_ERR_INVALID_REFERENCE;
    return f(*port);
  });
}

} // namespace

extern "C" {

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clGetManufacturerInfo(CLINT8* manufacturerName,
                                                          CLUINT32* bufferSize, CLUINT32* version) {
  return Guard([&]() -> CLINT32 {
    if (version)
      *version = CL_DLL_VERSION_1_1;
    return CopyText(ClSerLibrary::kManufacturer, manufacturerName, bufferSize);
  });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clGetNumSerialPorts(CLUINT32* numSerialPorts) {
  return Guard([&]() -> CLINT32 {
    if (!numSerialPorts)
      return CL_ERR_INVALID_PTR;
    *numSerialPorts = static_cast<CLUINT32>(CPort::Devices().size());
    return CL_ERR_NO_ERR;
  });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clGetSerialPortIdentifier(CLUINT32 serialIndex, CLINT8* portID,
                                                              CLUINT32* bufferSize) {
  return Guard([&]() -> CLINT32 {
    const auto devices = CPort::Devices();
    if (serialIndex >= devices.size())
      return CL_ERR_INVALID_INDEX;
    return CopyText(CPort::Identifier(devices[serialIndex]), portID, bufferSize);
  });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clSerialInit(CLUINT32 serialIndex, hSerRef* serialRefPtr) {
  return Guard([&] { return CPortTable::Instance().Open(serialIndex, serialRefPtr); });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clSerialRead(hSerRef serialRef, CLINT8* buffer,
                                                 CLUINT32* bufferSize, CLUINT32 serialTimeout) {
  return WithPort(serialRef,
                  [&](CPort& port) { return port.Read(buffer, bufferSize, serialTimeout); });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clSerialWrite(hSerRef serialRef, CLINT8* buffer,
                                                  CLUINT32* bufferSize, CLUINT32 serialTimeout) {
  return WithPort(serialRef,
                  [&](CPort& port) { return port.Write(buffer, bufferSize, serialTimeout); });
}

VORLA_DLL_EXPORT void CLSERIALCC clSerialClose(hSerRef serialRef) {
  Guard([&]() -> CLINT32 {
    CPortTable::Instance().Close(serialRef);
    return CL_ERR_NO_ERR;
  });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clGetNumBytesAvail(hSerRef serialRef, CLUINT32* numBytes) {
  return WithPort(serialRef, [&](CPort& port) { return port.BytesAvailable(numBytes); });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clFlushPort(hSerRef serialRef) {
  return WithPort(serialRef, [&](CPort& port) { return port.Flush(); });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clGetSupportedBaudRates(hSerRef serialRef,
                                                            CLUINT32* baudRates) {
  return WithPort(serialRef, [&](CPort&) -> CLINT32 {
    if (!baudRates)
      return CL_ERR_INVALID_PTR;
    *baudRates = CPort::SupportedBaudRates();
    return CL_ERR_NO_ERR;
  });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clSetBaudRate(hSerRef serialRef, CLUINT32 baudRate) {
  return WithPort(serialRef, [&](CPort& port) { return port.SetBaudRate(baudRate); });
}

VORLA_DLL_EXPORT CLINT32 CLSERIALCC clGetErrorText(CLINT32 errorCode, CLINT8* errorText,
                                                   CLUINT32* errorTextSize) {
  return Guard([&]() -> CLINT32 {
    const char* text = CLProtocol::StandardErrorText(errorCode);
    if (!text)
      return CL_ERR_ERROR_NOT_FOUND;
    return CopyText(text, errorText, errorTextSize);
  });
}

} // extern "C"
