#pragma once
#include <CLProtocol/ClSerial.h>
#include <platform/DynamicLibrary.h>

#include <memory>
#include <string>
#include <vector>

namespace CLProtocol {

//! One loaded Camera Link serial library (clser???) and its functions. Loaded once per process
//! by the module registry and never unloaded.
class CSerialLibrary {
public:
  //! Null when the file does not load or lacks a function of the version 1.1 set needed for
  //! enumeration and transfer.
  static std::unique_ptr<CSerialLibrary> Load(const std::string& path);

  const std::string& Path() const { return m_path; }
  const std::string& Manufacturer() const { return m_manufacturer; }
  //! The library's port identifiers, asked anew each time (ports may come and go).
  std::vector<std::string> PortIdentifiers() const;

  CLINT32 Init(CLUINT32 index, hSerRef* ref) const { return m_init(index, ref); }
  CLINT32 Read(hSerRef ref, CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs) const {
    return m_read(ref, buffer, size, timeoutMs);
  }
  CLINT32 Write(hSerRef ref, CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs) const {
    return m_write(ref, buffer, size, timeoutMs);
  }
  void Close(hSerRef ref) const { m_close(ref); }
  //! FUNCTION_NOT_FOUND when the library does not have the function.
  CLINT32 GetSupportedBaudRates(hSerRef ref, CLUINT32* bits) const;
  CLINT32 SetBaudRate(hSerRef ref, CLUINT32 bit) const;
  CLINT32 Flush(hSerRef ref) const;
  //! The library's own text for `code`; false when it has none.
  bool ErrorText(CLINT32 code, std::string& text) const;

private:
  CSerialLibrary() = default;

  Vorla::Platform::CDynamicLibrary m_library;
  std::string m_path;
  std::string m_manufacturer;
  clGetManufacturerInfo_t m_getManufacturerInfo = nullptr;
  clGetNumSerialPorts_t m_getNumSerialPorts = nullptr;
  clGetSerialPortIdentifier_t m_getSerialPortIdentifier = nullptr;
  clSerialInit_t m_init = nullptr;
  clSerialRead_t m_read = nullptr;
  clSerialWrite_t m_write = nullptr;
  clSerialClose_t m_close = nullptr;
  clFlushPort_t m_flush = nullptr;
  clGetSupportedBaudRates_t m_getSupportedBaudRates = nullptr;
  clSetBaudRate_t m_setBaudRate = nullptr;
  clGetErrorText_t m_getErrorText = nullptr;
};

} // namespace CLProtocol
