#include "ErrorCodes.h"

#include <gencp/Protocol.h>

namespace GenCPDriver {

CLINT32 FromGenCPStatus(std::uint16_t status) {
  switch (status) {
  case GenCP::StatusSuccess:
    return CL_ERR_NO_ERR;
  case GenCP::StatusNotImplemented:
    return ErrNotImplemented;
  case GenCP::StatusInvalidParameter:
    return ErrInvalidParameter;
  case GenCP::StatusInvalidAddress:
    return ErrInvalidAddress;
  case GenCP::StatusWriteProtect:
    return ErrWriteProtect;
  case GenCP::StatusBadAlignment:
    return ErrBadAlignment;
  case GenCP::StatusAccessDenied:
    return ErrAccessDenied;
  case GenCP::StatusBusy:
    return ErrBusy;
  case GenCP::StatusMsgTimeout:
    return ErrMsgTimeout;
  case GenCP::StatusInvalidHeader:
    return ErrInvalidHeader;
  case GenCP::StatusWrongConfig:
    return ErrWrongConfig;
  default:
    return (status & 0x8000) ? ErrCameraStatus : CL_ERR_NO_ERR;
  }
}

const char* ErrorText(CLINT32 code) {
  switch (code) {
  case ErrNotImplemented:
    return "The camera does not implement this command.";
  case ErrInvalidParameter:
    return "The camera rejected a parameter of the command.";
  case ErrInvalidAddress:
    return "The camera has no register at this address.";
  case ErrWriteProtect:
    return "The register is write protected.";
  case ErrBadAlignment:
    return "The camera rejected the alignment of the access.";
  case ErrAccessDenied:
    return "The camera denied access to the register.";
  case ErrBusy:
    return "The camera is busy with a previous command.";
  case ErrMsgTimeout:
    return "The camera timed out waiting for an acknowledge.";
  case ErrInvalidHeader:
    return "The camera rejected the packet header.";
  case ErrWrongConfig:
    return "The camera's current configuration forbids the command.";
  case ErrCameraStatus:
    return "The camera answered with an error status.";
  case ErrCorruptAnswer:
    return "The camera's answers stayed corrupt after all resends.";
  case ErrBaudSwitchFailed:
    return "Switching the baud rate failed; the old rate is kept.";
  case ErrUnzipFailed:
    return "The camera's zipped description could not be unpacked.";
  case ErrXmlChecksum:
    return "The camera's description does not match its SHA-1 checksum.";
  case ErrBadManifest:
    return "The camera's manifest table is invalid.";
  case ErrInvalidAccess:
    return "Invalid register address or length.";
  case ErrProbeStopped:
    return "The probe was stopped.";
  case ErrWrongAnswer:
    return "The camera answered with a packet that does not fit the command.";
  case ErrNoGenCPDevice:
    return "No GenCP camera answers on this port.";
  case ErrNoWritePending:
    return "No register write is pending.";
  default:
    return nullptr;
  }
}

} // namespace GenCPDriver
