#include "SerialLibrary.h"

#include "FetchText.h"

namespace CLProtocol {
namespace {

// Texts of a serial library are short; more than this is a broken library.
constexpr CLUINT32 kMaxText = (1u << 20) - 1;

template <class F> bool FetchText(F&& call, std::string& text) {
  return CLProtocol::FetchText(call, text, 256, kMaxText) == CL_ERR_NO_ERR;
}

} // namespace

std::unique_ptr<CSerialLibrary> CSerialLibrary::Load(const std::string& path) {
  std::unique_ptr<CSerialLibrary> lib(new CSerialLibrary);
  if (!lib->m_library.Load(Vorla::Platform::CDynamicLibrary::NativePath(path)))
    return nullptr;
  lib->m_path = path;
  auto sym = [&lib](const char* name) { return lib->m_library.Symbol(name); };
  lib->m_getManufacturerInfo =
      reinterpret_cast<clGetManufacturerInfo_t>(sym("clGetManufacturerInfo"));
  lib->m_getNumSerialPorts = reinterpret_cast<clGetNumSerialPorts_t>(sym("clGetNumSerialPorts"));
  lib->m_getSerialPortIdentifier =
      reinterpret_cast<clGetSerialPortIdentifier_t>(sym("clGetSerialPortIdentifier"));
  lib->m_init = reinterpret_cast<clSerialInit_t>(sym("clSerialInit"));
  lib->m_read = reinterpret_cast<clSerialRead_t>(sym("clSerialRead"));
  lib->m_write = reinterpret_cast<clSerialWrite_t>(sym("clSerialWrite"));
  lib->m_close = reinterpret_cast<clSerialClose_t>(sym("clSerialClose"));
  lib->m_flush = reinterpret_cast<clFlushPort_t>(sym("clFlushPort"));
  lib->m_getSupportedBaudRates =
      reinterpret_cast<clGetSupportedBaudRates_t>(sym("clGetSupportedBaudRates"));
  lib->m_setBaudRate = reinterpret_cast<clSetBaudRate_t>(sym("clSetBaudRate"));
  lib->m_getErrorText = reinterpret_cast<clGetErrorText_t>(sym("clGetErrorText"));
  // Port ids need the manufacturer and the port list: a library without them is unusable.
  if (!lib->m_getManufacturerInfo || !lib->m_getNumSerialPorts || !lib->m_getSerialPortIdentifier ||
      !lib->m_init || !lib->m_read || !lib->m_write || !lib->m_close)
    return nullptr;
  CLUINT32 version = 0;
  const bool named =
      FetchText([&lib, &version](
                    CLINT8* b, CLUINT32* s) { return lib->m_getManufacturerInfo(b, s, &version); },
                lib->m_manufacturer);
  if (!named || lib->m_manufacturer.empty())
    return nullptr;
  return lib;
}

std::vector<std::string> CSerialLibrary::PortIdentifiers() const {
  std::vector<std::string> ids;
  CLUINT32 count = 0;
  if (m_getNumSerialPorts(&count) != CL_ERR_NO_ERR)
    return ids;
  for (CLUINT32 i = 0; i < count && i < 4096; ++i) {
    std::string id;
    if (!FetchText([this, i](CLINT8* b, CLUINT32* s) { return m_getSerialPortIdentifier(i, b, s); },
                   id))
      id = "Port #" + std::to_string(i);
    ids.push_back(id);
  }
  return ids;
}

CLINT32 CSerialLibrary::GetSupportedBaudRates(hSerRef ref, CLUINT32* bits) const {
  return m_getSupportedBaudRates ? m_getSupportedBaudRates(ref, bits) : CL_ERR_FUNCTION_NOT_FOUND;
}

CLINT32 CSerialLibrary::SetBaudRate(hSerRef ref, CLUINT32 bit) const {
  return m_setBaudRate ? m_setBaudRate(ref, bit) : CL_ERR_FUNCTION_NOT_FOUND;
}

CLINT32 CSerialLibrary::Flush(hSerRef ref) const {
  return m_flush ? m_flush(ref) : CL_ERR_FUNCTION_NOT_FOUND;
}

bool CSerialLibrary::ErrorText(CLINT32 code, std::string& text) const {
  if (!m_getErrorText)
    return false;
  return FetchText([this, code](CLINT8* b, CLUINT32* s) { return m_getErrorText(code, b, s); },
                   text) &&
         !text.empty();
}

} // namespace CLProtocol
