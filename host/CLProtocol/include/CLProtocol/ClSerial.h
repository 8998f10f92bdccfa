#pragma once
// The per-vendor Camera Link serial library (clser???), version 1.1 function set.
#include <CLProtocol/ClSerialTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef CLINT32(CLSERIALCC* clGetManufacturerInfo_t)(CLINT8* manufacturerName, CLUINT32* bufferSize,
                                                     CLUINT32* version);
typedef CLINT32(CLSERIALCC* clGetNumSerialPorts_t)(CLUINT32* numSerialPorts);
typedef CLINT32(CLSERIALCC* clGetSerialPortIdentifier_t)(CLUINT32 serialIndex, CLINT8* portID,
                                                         CLUINT32* bufferSize);
typedef CLINT32(CLSERIALCC* clSerialInit_t)(CLUINT32 serialIndex, hSerRef* serialRefPtr);
typedef CLINT32(CLSERIALCC* clSerialRead_t)(hSerRef serialRef, CLINT8* buffer, CLUINT32* bufferSize,
                                            CLUINT32 serialTimeout);
typedef CLINT32(CLSERIALCC* clSerialWrite_t)(hSerRef serialRef, CLINT8* buffer,
                                             CLUINT32* bufferSize, CLUINT32 serialTimeout);
typedef void(CLSERIALCC* clSerialClose_t)(hSerRef serialRef);
typedef CLINT32(CLSERIALCC* clGetNumBytesAvail_t)(hSerRef serialRef, CLUINT32* numBytes);
typedef CLINT32(CLSERIALCC* clFlushPort_t)(hSerRef serialRef);
typedef CLINT32(CLSERIALCC* clGetSupportedBaudRates_t)(hSerRef serialRef, CLUINT32* baudRates);
typedef CLINT32(CLSERIALCC* clSetBaudRate_t)(hSerRef serialRef, CLUINT32 baudRate);
typedef CLINT32(CLSERIALCC* clGetErrorText_t)(CLINT32 errorCode, CLINT8* errorText,
                                              CLUINT32* errorTextSize);

#ifdef __cplusplus
}
#endif
