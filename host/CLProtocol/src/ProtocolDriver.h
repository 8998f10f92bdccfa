#pragma once
#include <CLProtocol/CLProtocol.h>
#include <platform/DynamicLibrary.h>

#include <memory>
#include <string>
#include <vector>

namespace CLProtocol {

//! One loaded CLProtocol driver and its functions. Loaded once per process by the module
//! registry and never unloaded (clpCloseLib is not called: a driver may still be in use while
//! the process exits).
class CProtocolDriver {
public:
  //! Null when the file does not load, lacks a mandatory function or has another major
  //! interface version.
  static std::unique_ptr<CProtocolDriver> Load(const std::string& path);

  const std::string& Path() const { return m_path; }
  //! The driver's short templates; empty on error.
  std::vector<std::string> ShortTemplates() const;

  CLINT32 ProbeDevice(ISerial* serial, const std::string& deviceID, std::string& answer,
                      CLUINT32& cookie, CLUINT32 timeoutMs) const;
  CLINT32 GetXMLIDs(ISerial* serial, CLUINT32 cookie, std::vector<std::string>& ids,
                    CLUINT32 timeoutMs) const;
  CLINT32 GetXMLDescription(ISerial* serial, CLUINT32 cookie, const std::string& xmlID,
                            std::string& xml, CLUINT32 timeoutMs) const;
  CLINT32 ReadRegister(ISerial* serial, CLUINT32 cookie, CLINT64 address, CLINT8* buffer,
                       CLINT64 length, CLUINT32 timeoutMs) const {
    return m_readRegister(serial, cookie, address, buffer, length, timeoutMs);
  }
  CLINT32 WriteRegister(ISerial* serial, CLUINT32 cookie, CLINT64 address, const CLINT8* buffer,
                        CLINT64 length, CLUINT32 timeoutMs) const {
    return m_writeRegister(serial, cookie, address, buffer, length, timeoutMs);
  }
  //! FUNCTION_NOT_FOUND for a driver that never answers PENDING_WRITE.
  CLINT32 ContinueWriteRegister(ISerial* serial, CLUINT32 cookie, bool continueWaiting,
                                CLUINT32 timeoutMs) const;
  CLINT32 Disconnect(CLUINT32 cookie) const { return m_disconnect(cookie); }
  //! A 32-bit parameter; PARAM_NOT_SUPPORTED for drivers without parameters.
  CLINT32 GetParam(ISerial* serial, CLP_PARAMS param, CLUINT32 cookie, CLUINT32& value,
                   CLUINT32 timeoutMs) const;
  CLINT32 SetParam(ISerial* serial, CLP_PARAMS param, CLUINT32 cookie, CLUINT32 value,
                   CLUINT32 timeoutMs) const;
  //! The driver's own text for `code`; false when it has none.
  bool ErrorText(CLINT32 code, CLUINT32 cookie, std::string& text) const;

private:
  CProtocolDriver() = default;

  Vorla::Platform::CDynamicLibrary m_library;
  std::string m_path;
  clpGetShortDeviceIDTemplates_t m_getShortDeviceIDTemplates = nullptr;
  clpProbeDevice_t m_probeDevice = nullptr;
  clpGetXMLIDs_t m_getXMLIDs = nullptr;
  clpGetXMLDescription_t m_getXMLDescription = nullptr;
  clpReadRegister_t m_readRegister = nullptr;
  clpWriteRegister_t m_writeRegister = nullptr;
  clpContinueWriteRegister_t m_continueWriteRegister = nullptr;
  clpGetErrorText_t m_getErrorText = nullptr;
  clpDisconnect_t m_disconnect = nullptr;
  clpGetParam_t m_getParam = nullptr;
  clpSetParam_t m_setParam = nullptr;
};

} // namespace CLProtocol
