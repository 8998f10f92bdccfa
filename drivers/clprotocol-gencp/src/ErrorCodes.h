#pragma once
// Status codes of this driver in the range reserved for custom CLProtocol driver codes.
#include <CLProtocol/ClSerialTypes.h>

#include <cstdint>

namespace GenCPDriver {

// A GenCP status the camera answered with maps to -30000 - (status & 0xFFF) for the defined
// codes; anything else is CLP_GENCP_ERR_CAMERA_STATUS.
constexpr CLINT32 ErrNotImplemented = -30001;
constexpr CLINT32 ErrInvalidParameter = -30002;
constexpr CLINT32 ErrInvalidAddress = -30003;
constexpr CLINT32 ErrWriteProtect = -30004;
constexpr CLINT32 ErrBadAlignment = -30005;
constexpr CLINT32 ErrAccessDenied = -30006;
constexpr CLINT32 ErrBusy = -30007;
constexpr CLINT32 ErrMsgTimeout = -30011;
constexpr CLINT32 ErrInvalidHeader = -30014;
constexpr CLINT32 ErrWrongConfig = -30015;
constexpr CLINT32 ErrCameraStatus = -30099;

constexpr CLINT32 ErrCorruptAnswer = -30201;
constexpr CLINT32 ErrBaudSwitchFailed = -30202;
constexpr CLINT32 ErrUnzipFailed = -30203;
constexpr CLINT32 ErrXmlChecksum = -30204;
constexpr CLINT32 ErrBadManifest = -30205;
constexpr CLINT32 ErrInvalidAccess = -30206;
constexpr CLINT32 ErrProbeStopped = -30207;
constexpr CLINT32 ErrWrongAnswer = -30208;
constexpr CLINT32 ErrNoGenCPDevice = -30209;
constexpr CLINT32 ErrNoWritePending = -30210;

//! The driver code of a GenCP status, 0 for success.
CLINT32 FromGenCPStatus(std::uint16_t status);
//! English text of a driver code; null when the code is not one of ours.
const char* ErrorText(CLINT32 code);

} // namespace GenCPDriver
