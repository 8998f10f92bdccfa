#pragma once
// Types, status codes and constants of the Camera Link serial API and of CLProtocol drivers.
// Their values are fixed by the standards: third-party libraries use the same numbers.
#include <stdint.h>

typedef void* hSerRef;
typedef int32_t CLINT32;
typedef uint32_t CLUINT32;
typedef char CLINT8;
typedef int64_t CLINT64;
typedef char BOOL8;

#if defined(_WIN32) && !defined(_WIN64)
#define CLSERIALCC __cdecl
#define CLPROTOCOL __cdecl
#else
#define CLSERIALCC
#define CLPROTOCOL
#endif

// Camera Link serial status codes
#define CL_ERR_NO_ERR 0
#define CL_ERR_BUFFER_TOO_SMALL -10001
#define CL_ERR_MANU_DOES_NOT_EXIST -10002
#define CL_ERR_PORT_IN_USE -10003
#define CL_ERR_TIMEOUT -10004
#define CL_ERR_INVALID_INDEX -10005
#define CL_ERR_INVALID_REFERENCE -10006
#define CL_ERR_ERROR_NOT_FOUND -10007
#define CL_ERR_BAUD_RATE_NOT_SUPPORTED -10008
#define CL_ERR_OUT_OF_MEMORY -10009
#define CL_ERR_REGISTRY_KEY_NOT_FOUND -10010
#define CL_ERR_INVALID_PTR -10011
#define CL_ERR_IN_USE -10012
#define CL_ERR_UNABLE_TO_LOAD_DLL -10098
#define CL_ERR_FUNCTION_NOT_FOUND -10099

// CLProtocol status codes
#define CL_ERR_PENDING_WRITE 20101
#define CL_ERR_INVALID_DEVICEID -20100
#define CL_ERR_NO_DEVICE_FOUND -20101
#define CL_ERR_NO_XMLDESCRIPTION_FOUND -20102
#define CL_ERR_INVALID_COOKIE -20103
#define CL_ERR_GET_LAST_ERROR -20104
#define CL_ERR_PARAM_NOT_SUPPORTED -20105
#define CL_ERR_PARAM_READ_ONLY -20106
#define CL_ERR_PARAM_DATA_SIZE -20107
#define CL_ERR_PARAM_DATA_VALUE -20108

// Library versions reported by clGetManufacturerInfo
#define CL_DLL_VERSION_NO_VERSION 1
#define CL_DLL_VERSION_1_0 2
#define CL_DLL_VERSION_1_1 3
#define CL_DLL_VERSION_2_0 4
#define CL_DLL_VERSION_2_1 5

// Baud-rate bits
#define CL_BAUDRATE_9600 0x00000001
#define CL_BAUDRATE_19200 0x00000002
#define CL_BAUDRATE_38400 0x00000004
#define CL_BAUDRATE_57600 0x00000008
#define CL_BAUDRATE_115200 0x00000010
#define CL_BAUDRATE_230400 0x00000020
#define CL_BAUDRATE_460800 0x00000040
#define CL_BAUDRATE_921600 0x00000080
#define CL_BAUDRATE_AUTOMAX 0x40000000
