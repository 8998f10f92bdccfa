#pragma once
// English texts of the standard Camera Link serial and CLProtocol status codes. Shared by the
// serial libraries and the host so that both report the same words.
#include <CLProtocol/ClSerialTypes.h>

namespace CLProtocol {

//! The standard text of `code`, or null when the code is not a standard one.
inline const char* StandardErrorText(CLINT32 code) {
  switch (code) {
  case CL_ERR_NO_ERR:
    return "No error";
  case CL_ERR_BUFFER_TOO_SMALL:
    return "Buffer too small";
  case CL_ERR_MANU_DOES_NOT_EXIST:
    return "Manufacturer does not exist";
  case CL_ERR_PORT_IN_USE:
    return "Port in use";
  case CL_ERR_TIMEOUT:
    return "Timeout";
  case CL_ERR_INVALID_INDEX:
    return "Invalid index";
  case CL_ERR_INVALID_REFERENCE:
    return "Invalid reference";
  case CL_ERR_ERROR_NOT_FOUND:
    return "Error not found";
  case CL_ERR_BAUD_RATE_NOT_SUPPORTED:
    return "Baud rate not supported";
  case CL_ERR_OUT_OF_MEMORY:
    return "Out of memory";
  case CL_ERR_REGISTRY_KEY_NOT_FOUND:
    return "Registry key not found";
  case CL_ERR_INVALID_PTR:
    return "Invalid pointer";
  case CL_ERR_IN_USE:
    return "Already in use";
  case CL_ERR_UNABLE_TO_LOAD_DLL:
    return "Unable to load library";
  case CL_ERR_FUNCTION_NOT_FOUND:
    return "Function not found";
  case CL_ERR_PENDING_WRITE:
    return "Write pending";
  case CL_ERR_INVALID_DEVICEID:
    return "Invalid DeviceID";
  case CL_ERR_NO_DEVICE_FOUND:
    return "No device found";
  case CL_ERR_NO_XMLDESCRIPTION_FOUND:
    return "No XML description found";
  case CL_ERR_INVALID_COOKIE:
    return "Invalid cookie";
  case CL_ERR_GET_LAST_ERROR:
    return "Last error of the connection";
  case CL_ERR_PARAM_NOT_SUPPORTED:
    return "Parameter not supported";
  case CL_ERR_PARAM_READ_ONLY:
    return "Parameter is read-only";
  case CL_ERR_PARAM_DATA_SIZE:
    return "Parameter data size wrong";
  case CL_ERR_PARAM_DATA_VALUE:
    return "Parameter data value wrong";
  default:
    return nullptr;
  }
}

} // namespace CLProtocol
