// The per-vendor Camera Link serial function set over CLoopbackBus. Handles are
// CLoopbackSerial objects; no exception leaves these functions.
#include <camsim/LoopbackBus.h>
#include <camsim/LoopbackSerial.h>

#include <CLProtocol/ClSerial.h>
#include <ClSerText.h>

#include <cstring>
#include <mutex>
#include <set>
#include <string>

#if defined(_WIN32)
#define CLSERLBK_API __declspec(dllexport)
#else
#define CLSERLBK_API __attribute__((visibility("default")))
#endif

namespace {

using ClSerCommon::CopyText;

struct SHandle {
  camsim::CLoopbackSerial m_Serial;
  std::size_t m_Port;
};

// Owned by the library: the handles handed out and not yet closed, so that a stale or foreign
// handle is refused instead of dereferenced.
std::mutex g_HandlesMutex;
std::set<SHandle*> g_Handles;

SHandle* Lookup(hSerRef ref) {
  std::lock_guard<std::mutex> lock(g_HandlesMutex);
  auto* handle = static_cast<SHandle*>(ref);
  return g_Handles.count(handle) ? handle : nullptr;
}

template <class F> CLINT32 Guarded(F&& f) noexcept {
  try {
    return f();
  } catch (...) {
    return CL_ERR_OUT_OF_MEMORY;
  }
}

} // namespace

extern "C" {

CLSERLBK_API CLINT32 CLSERIALCC clGetManufacturerInfo(CLINT8* manufacturerName,
                                                      CLUINT32* bufferSize, CLUINT32* version) {
  return Guarded([&] {
    if (version)
      *version = CL_DLL_VERSION_1_1;
    return CopyText("Loopback", manufacturerName, bufferSize);
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clGetNumSerialPorts(CLUINT32* numSerialPorts) {
  if (!numSerialPorts)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    *numSerialPorts = static_cast<CLUINT32>(camsim::CLoopbackBus::Instance().PortCount());
    return CL_ERR_NO_ERR;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clGetSerialPortIdentifier(CLUINT32 serialIndex, CLINT8* portID,
                                                          CLUINT32* bufferSize) {
  return Guarded([&] {
    if (serialIndex >= camsim::CLoopbackBus::Instance().PortCount())
      return CL_ERR_INVALID_INDEX;
    return CopyText(camsim::CLoopbackBus::PortName(serialIndex), portID, bufferSize);
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clSerialInit(CLUINT32 serialIndex, hSerRef* serialRefPtr) {
  if (!serialRefPtr)
    return CL_ERR_INVALID_PTR;
  return Guarded([&] {
    camsim::CLoopbackBus& bus = camsim::CLoopbackBus::Instance();
    if (serialIndex >= bus.PortCount())
      return CL_ERR_INVALID_INDEX;
    if (!bus.Open(serialIndex))
      return CL_ERR_PORT_IN_USE;
    auto* handle = new SHandle{camsim::CLoopbackSerial(serialIndex), serialIndex};
    std::lock_guard<std::mutex> lock(g_HandlesMutex);
    g_Handles.insert(handle);
    *serialRefPtr = handle;
    return CL_ERR_NO_ERR;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clSerialRead(hSerRef serialRef, CLINT8* buffer,
                                             CLUINT32* bufferSize, CLUINT32 serialTimeout) {
  return Guarded([&] {
    SHandle* h = Lookup(serialRef);
    return h ? h->m_Serial.clSerialRead(buffer, bufferSize, serialTimeout)
             : CL_ERR_INVALID_REFERENCE;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clSerialWrite(hSerRef serialRef, CLINT8* buffer,
                                              CLUINT32* bufferSize, CLUINT32 serialTimeout) {
  return Guarded([&] {
    SHandle* h = Lookup(serialRef);
    return h ? h->m_Serial.clSerialWrite(buffer, bufferSize, serialTimeout)
             : CL_ERR_INVALID_REFERENCE;
  });
}

CLSERLBK_API void CLSERIALCC clSerialClose(hSerRef serialRef) {
  try {
    auto* handle = static_cast<SHandle*>(serialRef);
    {
      std::lock_guard<std::mutex> lock(g_HandlesMutex);
      if (!g_Handles.erase(handle))
        return;
    }
    camsim::CLoopbackBus::Instance().Close(handle->m_Port);
    delete handle;
  } catch (...) {
  }
}

CLSERLBK_API CLINT32 CLSERIALCC clGetNumBytesAvail(hSerRef serialRef, CLUINT32* numBytes) {
  return Guarded([&] {
    SHandle* h = Lookup(serialRef);
    return h ? h->m_Serial.BytesAvailable(numBytes) : CL_ERR_INVALID_REFERENCE;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clFlushPort(hSerRef serialRef) {
  return Guarded([&] {
    SHandle* h = Lookup(serialRef);
    return h ? h->m_Serial.Flush() : CL_ERR_INVALID_REFERENCE;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clGetSupportedBaudRates(hSerRef serialRef, CLUINT32* baudRates) {
  return Guarded([&] {
    SHandle* h = Lookup(serialRef);
    return h ? h->m_Serial.clGetSupportedBaudRates(baudRates) : CL_ERR_INVALID_REFERENCE;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clSetBaudRate(hSerRef serialRef, CLUINT32 baudRate) {
  return Guarded([&] {
    SHandle* h = Lookup(serialRef);
    return h ? h->m_Serial.clSetBaudRate(baudRate) : CL_ERR_INVALID_REFERENCE;
  });
}

CLSERLBK_API CLINT32 CLSERIALCC clGetErrorText(CLINT32 errorCode, CLINT8* errorText,
                                               CLUINT32* errorTextSize) {
  return Guarded([&] {
    const char* text = nullptr;
    switch (errorCode) {
    case CL_ERR_NO_ERR:
      text = "No error";
      break;
    case CL_ERR_BUFFER_TOO_SMALL:
      text = "Buffer too small";
      break;
    case CL_ERR_PORT_IN_USE:
      text = "Loopback port already open";
      break;
    case CL_ERR_TIMEOUT:
      text = "Time-out: no camera answered on the loopback port";
      break;
    case CL_ERR_INVALID_INDEX:
      text = "No such loopback port";
      break;
    case CL_ERR_INVALID_REFERENCE:
      text = "Invalid loopback port handle";
      break;
    case CL_ERR_BAUD_RATE_NOT_SUPPORTED:
      text = "Baud rate not supported";
      break;
    case CL_ERR_INVALID_PTR:
      text = "Invalid pointer";
      break;
    default:
      return CL_ERR_ERROR_NOT_FOUND;
    }
    return CopyText(text, errorText, errorTextSize);
  });
}

} // extern "C"
