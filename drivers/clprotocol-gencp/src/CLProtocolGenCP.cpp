// The C entry points. No exception leaves them: every call runs inside Guarded().
#include <gencp/CLProtocolGenCP.h>

#include "Driver.h"
#include "ErrorCodes.h"

#include <gencp/Protocol.h>

#include <cstring>
#include <new>
#include <string>

using GenCPDriver::CConnection;
using GenCPDriver::CDriver;

namespace {

constexpr const char* Templates = "Hexmar";
// Register accesses larger than this are a caller's mistake, not a camera's.
constexpr CLINT64 MaxAccessSize = 64 << 20;

template <class F> CLINT32 Guarded(F&& f) noexcept {
  try {
    return f();
  } catch (const std::bad_alloc&) {
    return CL_ERR_OUT_OF_MEMORY;
  } catch (...) {
    return GenCPDriver::ErrCameraStatus;
  }
}

//! Copies text with its NUL; reports the needed size when the buffer is too small.
CLINT32 CopyOut(const std::string& text, CLINT8* buffer, CLUINT32* size) {
  const CLUINT32 needed = static_cast<CLUINT32>(text.size() + 1);
  if (!buffer || *size < needed) {
    *size = needed;
    return CL_ERR_BUFFER_TOO_SMALL;
  }
  std::memcpy(buffer, text.c_str(), needed);
  *size = needed;
  return CL_ERR_NO_ERR;
}

//! Runs f on the connection of a cookie under its lock and records the outcome.
template <class F> CLINT32 OnConnection(ISerial* serial, CLUINT32 cookie, F&& f) {
  std::shared_ptr<CConnection> connection = CDriver::Instance().Find(cookie);
  if (!connection)
    return CL_ERR_INVALID_COOKIE;
  std::lock_guard<std::mutex> lock(connection->Mutex());
  const CLINT32 rc = f(*connection);
  if (serial)
    CDriver::Instance().RememberBaudRate(cookie, serial, *connection);
  const char* text = GenCPDriver::ErrorText(rc);
  connection->SetLastError(rc == CL_ERR_NO_ERR ? "" : text ? text : std::to_string(rc));
  return rc;
}

std::uint32_t Uint32From(const CLINT8* buffer) {
  std::uint32_t v = 0;
  std::memcpy(&v, buffer, sizeof v);
  return v;
}

} // namespace

extern "C" {

CLINT32 CLPROTOCOL clpInitLib(clp_logger_t logger, CLP_LOG_LEVEL_VALUE level) {
  return Guarded([&] { return CDriver::Instance().InitLib(logger, level); });
}

CLINT32 CLPROTOCOL clpCloseLib(void) {
  return Guarded([&] {
    CDriver::Instance().CloseLib();
    return CL_ERR_NO_ERR;
  });
}

CLINT32 CLPROTOCOL clpGetShortDeviceIDTemplates(CLINT8* buffer, CLUINT32* bufferSize) {
  if (!bufferSize)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] { return CopyOut(Templates, buffer, bufferSize); });
}

CLINT32 CLPROTOCOL clpProbeDevice(ISerial* serial, const CLINT8* deviceIDTemplate, CLINT8* deviceID,
                                  CLUINT32* bufferSize, CLUINT32* cookie,
                                  const CLUINT32 timeoutMs) {
  // Null answer and size: a re-connect that wants only the cookie.
  const bool wantsAnswer = deviceID || bufferSize;
  if (!serial || !deviceIDTemplate || !cookie || (deviceID && !bufferSize))
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    std::string id;
    CLUINT32 newCookie = 0;
    CLINT32 rc = CDriver::Instance().Probe(serial, deviceIDTemplate, id, newCookie, timeoutMs);
    if (rc != CL_ERR_NO_ERR)
      return rc;
    rc = wantsAnswer ? CopyOut(id, deviceID, bufferSize) : CL_ERR_NO_ERR;
    if (rc != CL_ERR_NO_ERR) {
      CDriver::Instance().Disconnect(newCookie);
      return rc;
    }
    *cookie = newCookie;
    return CL_ERR_NO_ERR;
  });
}

CLINT32 CLPROTOCOL clpGetXMLIDs(ISerial* serial, const CLUINT32 cookie, CLINT8* buffer,
                                CLUINT32* bufferSize, const CLUINT32 timeoutMs) {
  if (!serial || !bufferSize)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    return OnConnection(serial, cookie, [&](CConnection& c) {
      std::string ids;
      const CLINT32 rc = c.GetXMLIDs(serial, ids, timeoutMs);
      return rc == CL_ERR_NO_ERR ? CopyOut(ids, buffer, bufferSize) : rc;
    });
  });
}

CLINT32 CLPROTOCOL clpGetXMLDescription(ISerial* serial, const CLUINT32 cookie, const CLINT8* xmlID,
                                        CLINT8* buffer, CLUINT32* bufferSize,
                                        const CLUINT32 timeoutMs) {
  if (!serial || !xmlID || !bufferSize)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    return OnConnection(serial, cookie, [&](CConnection& c) {
      std::string xml;
      const CLINT32 rc = c.GetXML(serial, xmlID, xml, timeoutMs);
      // A null buffer asks for the size: BUFFER_TOO_SMALL with it, as for a short buffer.
      return rc == CL_ERR_NO_ERR ? CopyOut(xml, buffer, bufferSize) : rc;
    });
  });
}

CLINT32 CLPROTOCOL clpReadRegister(ISerial* serial, const CLUINT32 cookie, const CLINT64 address,
                                   CLINT8* buffer, const CLINT64 bufferSize,
                                   const CLUINT32 timeoutMs) {
  if (!serial || !buffer)
    return CL_ERR_INVALID_PTR;
  if (bufferSize < 0 || bufferSize > MaxAccessSize)
    return GenCPDriver::ErrInvalidAccess;
  return Guarded([&] {
    return OnConnection(serial, cookie, [&](CConnection& c) {
      // No data on error: read into a scratch buffer first.
      std::vector<std::uint8_t> data(static_cast<std::size_t>(bufferSize));
      const CLINT32 rc =
          c.Read(serial, static_cast<std::uint64_t>(address), data.data(), data.size(), timeoutMs);
      if (rc == CL_ERR_NO_ERR && !data.empty())
        std::memcpy(buffer, data.data(), data.size());
      return rc;
    });
  });
}

CLINT32 CLPROTOCOL clpWriteRegister(ISerial* serial, const CLUINT32 cookie, const CLINT64 address,
                                    const CLINT8* buffer, const CLINT64 bufferSize,
                                    const CLUINT32 timeoutMs) {
  if (!serial || !buffer)
    return CL_ERR_INVALID_PTR;
  if (bufferSize < 0 || bufferSize > MaxAccessSize)
    return GenCPDriver::ErrInvalidAccess;
  return Guarded([&] {
    return OnConnection(serial, cookie, [&](CConnection& c) {
      return c.Write(serial, static_cast<std::uint64_t>(address),
                     reinterpret_cast<const std::uint8_t*>(buffer),
                     static_cast<std::size_t>(bufferSize), timeoutMs);
    });
  });
}

CLINT32 CLPROTOCOL clpContinueWriteRegister(ISerial* serial, const CLUINT32 cookie,
                                            const BOOL8 continueWaiting, const CLUINT32 timeoutMs) {
  if (!serial)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    return OnConnection(serial, cookie, [&](CConnection& c) {
      return c.ContinueWrite(serial, continueWaiting != 0, timeoutMs);
    });
  });
}

CLINT32 CLPROTOCOL clpGetErrorText(CLINT32 errorCode, CLINT8* errorText, CLUINT32* errorTextSize,
                                   const CLUINT32 cookie) {
  if (!errorTextSize)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    if (errorCode == CL_ERR_GET_LAST_ERROR) {
      std::shared_ptr<CConnection> connection = CDriver::Instance().Find(cookie);
      if (!connection)
        return CL_ERR_INVALID_COOKIE;
      std::string text;
      {
        std::lock_guard<std::mutex> lock(connection->Mutex());
        text = connection->LastError();
      }
      return CopyOut(text, errorText, errorTextSize);
    }
    const char* text = GenCPDriver::ErrorText(errorCode);
    return text ? CopyOut(text, errorText, errorTextSize) : CL_ERR_ERROR_NOT_FOUND;
  });
}

CLINT32 CLPROTOCOL clpDisconnect(const CLUINT32 cookie) {
  return Guarded([&] {
    // Cookie 0 is never handed out; hosts disconnect it after listings and probes.
    return cookie == 0 || CDriver::Instance().Disconnect(cookie) ? CL_ERR_NO_ERR
                                                                 : CL_ERR_INVALID_COOKIE;
  });
}

CLINT32 CLPROTOCOL clpGetCLProtocolVersion(CLUINT32* versionMajor, CLUINT32* versionMinor) {
  if (!versionMajor || !versionMinor)
    return CL_ERR_INVALID_PTR;
  *versionMajor = CLPROTOCOL_VERSION_MAJOR;
  *versionMinor = CLPROTOCOL_VERSION_MINOR;
  return CL_ERR_NO_ERR;
}

CLINT32 CLPROTOCOL clpIsParamSupported(const CLP_PARAMS param) {
  switch (param) {
  case CLP_LOG_LEVEL:
  case CLP_LOG_CALLBACK:
  case CLP_STOP_PROBE_DEVICE:
  case CLP_DEVICE_BAUDERATE:
  case CLP_DEVICE_SUPPORTED_BAUDERATES:
    return CL_ERR_NO_ERR;
  default:
    return CL_ERR_PARAM_NOT_SUPPORTED;
  }
}

CLINT32 CLPROTOCOL clpGetParam(ISerial* serial, const CLP_PARAMS param, const CLUINT32 cookie,
                               CLINT8* buffer, const CLINT64 bufferSize, const CLUINT32 timeoutMs) {
  if (clpIsParamSupported(param) != CL_ERR_NO_ERR)
    return CL_ERR_PARAM_NOT_SUPPORTED;
  if (!buffer)
    return CL_ERR_INVALID_PTR;
  return Guarded([&]() -> CLINT32 {
    CDriver& driver = CDriver::Instance();
    if (param == CLP_LOG_CALLBACK)
      return CL_ERR_PARAM_NOT_SUPPORTED; // write-only
    if (bufferSize < 4)
      return CL_ERR_PARAM_DATA_SIZE;
    std::uint32_t value = 0;
    CLINT32 rc = CL_ERR_NO_ERR;
    if (param == CLP_LOG_LEVEL) {
      value = static_cast<std::uint32_t>(driver.Logger().Level());
    } else if (param == CLP_STOP_PROBE_DEVICE) {
      value = driver.StopProbe().load() ? 1 : 0;
    } else {
      if (!serial)
        return CL_ERR_INVALID_PTR;
      rc = OnConnection(serial, cookie, [&](CConnection& c) {
        value = param == CLP_DEVICE_BAUDERATE ? c.BaudBit() : c.SupportedBaudRates(serial);
        return CL_ERR_NO_ERR;
      });
    }
    if (rc == CL_ERR_NO_ERR)
      std::memcpy(buffer, &value, sizeof value);
    return rc;
  });
}

CLINT32 CLPROTOCOL clpSetParam(ISerial* serial, const CLP_PARAMS param, const CLUINT32 cookie,
                               const CLINT8* buffer, const CLINT64 bufferSize,
                               const CLUINT32 timeoutMs) {
  if (clpIsParamSupported(param) != CL_ERR_NO_ERR)
    return CL_ERR_PARAM_NOT_SUPPORTED;
  if (!buffer)
    return CL_ERR_INVALID_PTR;
  return Guarded([&]() -> CLINT32 {
    CDriver& driver = CDriver::Instance();
    switch (param) {
    case CLP_LOG_CALLBACK: {
      if (bufferSize < static_cast<CLINT64>(sizeof(clpLogCallback_t)))
        return CL_ERR_PARAM_DATA_SIZE;
      clpLogCallback_t callback;
      std::memcpy(&callback, buffer, sizeof callback);
      if (callback.id != CLP_LOG_CALLBACK_ID)
        return CL_ERR_PARAM_DATA_VALUE;
      driver.Logger().Set(callback.fn);
      return CL_ERR_NO_ERR;
    }
    case CLP_STOP_PROBE_DEVICE: {
      bool stop = false;
      for (CLINT64 i = 0; i < bufferSize; ++i)
        stop = stop || buffer[i] != 0;
      driver.StopProbe().store(stop);
      return CL_ERR_NO_ERR;
    }
    case CLP_DEVICE_SUPPORTED_BAUDERATES:
      return CL_ERR_PARAM_READ_ONLY;
    default:
      break;
    }
    if (bufferSize < 4)
      return CL_ERR_PARAM_DATA_SIZE;
    const std::uint32_t value = Uint32From(buffer);
    if (param == CLP_LOG_LEVEL) {
      driver.Logger().SetLevel(static_cast<CLINT32>(value));
      return CL_ERR_NO_ERR;
    }
    if (!serial)
      return CL_ERR_INVALID_PTR;
    return OnConnection(serial, cookie,
                        [&](CConnection& c) { return c.SetBaudRate(serial, value, timeoutMs); });
  });
}

CLINT32 CLPROTOCOL clpGetEventData(const CLUINT32 cookie, CLINT8* buffer, CLUINT32* bufferSize) {
  if (!bufferSize)
    return CL_ERR_INVALID_PTR;
  // The serial camera sends no events: the queue is always empty.
  return CDriver::Instance().Find(cookie) ? CL_ERR_TIMEOUT : CL_ERR_INVALID_COOKIE;
}

} // extern "C"
