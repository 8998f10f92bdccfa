#pragma once
// The C entry points of the GenCP CLProtocol driver (libCLProtocolGenCP.so). Hosts load them by
// name; in-process tests link the driver's objects and call them directly.
#include <CLProtocol/CLProtocol.h>

#if defined(_WIN32)
#define CLPGENCP_API __declspec(dllexport)
#else
#define CLPGENCP_API __attribute__((visibility("default")))
#endif

extern "C" {
CLPGENCP_API CLINT32 CLPROTOCOL clpInitLib(clp_logger_t logger, CLP_LOG_LEVEL_VALUE level);
CLPGENCP_API CLINT32 CLPROTOCOL clpCloseLib(void);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetShortDeviceIDTemplates(CLINT8* buffer, CLUINT32* bufferSize);
CLPGENCP_API CLINT32 CLPROTOCOL clpProbeDevice(ISerial* serial, const CLINT8* deviceIDTemplate,
                                               CLINT8* deviceID, CLUINT32* bufferSize,
                                               CLUINT32* cookie, const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetXMLIDs(ISerial* serial, const CLUINT32 cookie, CLINT8* buffer,
                                             CLUINT32* bufferSize, const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetXMLDescription(ISerial* serial, const CLUINT32 cookie,
                                                     const CLINT8* xmlID, CLINT8* buffer,
                                                     CLUINT32* bufferSize,
                                                     const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpReadRegister(ISerial* serial, const CLUINT32 cookie,
                                                const CLINT64 address, CLINT8* buffer,
                                                const CLINT64 bufferSize, const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpWriteRegister(ISerial* serial, const CLUINT32 cookie,
                                                 const CLINT64 address, const CLINT8* buffer,
                                                 const CLINT64 bufferSize,
                                                 const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpContinueWriteRegister(ISerial* serial, const CLUINT32 cookie,
                                                         const BOOL8 continueWaiting,
                                                         const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetErrorText(CLINT32 errorCode, CLINT8* errorText,
                                                CLUINT32* errorTextSize, const CLUINT32 cookie);
CLPGENCP_API CLINT32 CLPROTOCOL clpDisconnect(const CLUINT32 cookie);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetCLProtocolVersion(CLUINT32* versionMajor,
                                                        CLUINT32* versionMinor);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetParam(ISerial* serial, const CLP_PARAMS param,
                                            const CLUINT32 cookie, CLINT8* buffer,
                                            const CLINT64 bufferSize, const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpSetParam(ISerial* serial, const CLP_PARAMS param,
                                            const CLUINT32 cookie, const CLINT8* buffer,
                                            const CLINT64 bufferSize, const CLUINT32 timeoutMs);
CLPGENCP_API CLINT32 CLPROTOCOL clpIsParamSupported(const CLP_PARAMS param);
CLPGENCP_API CLINT32 CLPROTOCOL clpGetEventData(const CLUINT32 cookie, CLINT8* buffer,
                                                CLUINT32* bufferSize);
}
