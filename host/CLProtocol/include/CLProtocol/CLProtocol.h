#pragma once
// The C interface of a CLProtocol driver (interface version 1.2).
#include <CLProtocol/ISerial.h>

#include <stdarg.h>

#define CLPROTOCOL_VERSION_MAJOR 1
#define CLPROTOCOL_VERSION_MINOR 2

// Both enumerations cross the C interface as 32-bit integers, and a caller may pass any value
// (a driver answers an unknown parameter with CL_ERR_PARAM_NOT_SUPPORTED): the fixed underlying
// type keeps every such value a valid one here.
typedef enum : CLINT32 {
  CLP_LOG_FATAL = 0,
  CLP_LOG_ALERT = 100,
  CLP_LOG_CRIT = 200,
  CLP_LOG_ERROR = 300,
  CLP_LOG_WARN = 400,
  CLP_LOG_NOTICE = 500,
  CLP_LOG_INFO = 600,
  CLP_LOG_DEBUG = 700,
  CLP_LOG_NOTSET = 800
} CLP_LOG_LEVEL_VALUE;

typedef enum : CLINT32 {
  CLP_LOG_LEVEL = 1,
  CLP_LOG_CALLBACK = 2,
  CLP_STOP_PROBE_DEVICE = 3,
  CLP_DEVICE_BAUDERATE = -1,
  CLP_DEVICE_SUPPORTED_BAUDERATES = -2
} CLP_PARAMS;

typedef void(CLPROTOCOL* clp_logger_t)(CLINT32 level, const char* format, va_list args);

typedef struct {
  CLUINT32 id; // CLP_LOG_CALLBACK_ID
  clp_logger_t fn;
} clpLogCallback_t;
#define CLP_LOG_CALLBACK_ID 0xeb6e1ca9u

using CLProtocol::ISerial;

extern "C" {
typedef CLINT32(CLPROTOCOL* clpInitLib_t)(clp_logger_t logger, CLP_LOG_LEVEL_VALUE level);
typedef CLINT32(CLPROTOCOL* clpCloseLib_t)(void);
typedef CLINT32(CLPROTOCOL* clpGetShortDeviceIDTemplates_t)(CLINT8* buffer, CLUINT32* bufferSize);
typedef CLINT32(CLPROTOCOL* clpProbeDevice_t)(ISerial* serial, const CLINT8* deviceIDTemplate,
                                              CLINT8* deviceID, CLUINT32* bufferSize,
                                              CLUINT32* cookie, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpGetXMLIDs_t)(ISerial* serial, const CLUINT32 cookie, CLINT8* buffer,
                                            CLUINT32* bufferSize, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpGetXMLDescription_t)(ISerial* serial, const CLUINT32 cookie,
                                                    const CLINT8* xmlID, CLINT8* buffer,
                                                    CLUINT32* bufferSize, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpReadRegister_t)(ISerial* serial, const CLUINT32 cookie,
                                               const CLINT64 address, CLINT8* buffer,
                                               const CLINT64 bufferSize, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpWriteRegister_t)(ISerial* serial, const CLUINT32 cookie,
                                                const CLINT64 address, const CLINT8* buffer,
                                                const CLINT64 bufferSize, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpContinueWriteRegister_t)(ISerial* serial, const CLUINT32 cookie,
                                                        const BOOL8 continueWaiting,
                                                        const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpGetErrorText_t)(CLINT32 errorCode, CLINT8* errorText,
                                               CLUINT32* errorTextSize, const CLUINT32 cookie);
typedef CLINT32(CLPROTOCOL* clpDisconnect_t)(const CLUINT32 cookie);
typedef CLINT32(CLPROTOCOL* clpGetCLProtocolVersion_t)(CLUINT32* versionMajor,
                                                       CLUINT32* versionMinor);
typedef CLINT32(CLPROTOCOL* clpGetParam_t)(ISerial* serial, const CLP_PARAMS param,
                                           const CLUINT32 cookie, CLINT8* buffer,
                                           const CLINT64 bufferSize, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpSetParam_t)(ISerial* serial, const CLP_PARAMS param,
                                           const CLUINT32 cookie, const CLINT8* buffer,
                                           const CLINT64 bufferSize, const CLUINT32 timeoutMs);
typedef CLINT32(CLPROTOCOL* clpIsParamSupported_t)(const CLP_PARAMS param);
typedef CLINT32(CLPROTOCOL* clpGetEventData_t)(const CLUINT32 cookie, CLINT8* buffer,
                                               CLUINT32* bufferSize);
}
