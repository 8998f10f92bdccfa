#include "SerialPort.h"

#include "SerialLibrary.h"

namespace CLProtocol {

CSerialPort::CSerialPort(const CSerialLibrary& library, CLUINT32 index)
    : m_library(library), m_status(library.Init(index, &m_ref)) {
  if (m_status == CL_ERR_NO_ERR)
    m_library.Flush(m_ref); // start from a quiet line; libraries without flush are fine
}

CSerialPort::~CSerialPort() {
  if (m_status == CL_ERR_NO_ERR)
    m_library.Close(m_ref);
}

CLINT32 CSerialPort::clSerialRead(CLINT8* buffer, CLUINT32* bufferSize, CLUINT32 serialTimeout) {
  if (m_status != CL_ERR_NO_ERR)
    return CL_ERR_INVALID_REFERENCE;
  const CLINT32 status = m_library.Read(m_ref, buffer, bufferSize, serialTimeout);
  if (m_readListener && bufferSize && *bufferSize != 0) {
    try {
      m_readListener(*bufferSize);
    } catch (...) { // a listener's failure must not reach the driver
    }
  }
  return status;
}

CLINT32 CSerialPort::clSerialWrite(CLINT8* buffer, CLUINT32* bufferSize, CLUINT32 serialTimeout) {
  if (m_status != CL_ERR_NO_ERR)
    return CL_ERR_INVALID_REFERENCE;
  return m_library.Write(m_ref, buffer, bufferSize, serialTimeout);
}

CLINT32 CSerialPort::clGetSupportedBaudRates(CLUINT32* baudRates) {
  if (m_status != CL_ERR_NO_ERR)
    return CL_ERR_INVALID_REFERENCE;
  if (!baudRates)
    return CL_ERR_INVALID_PTR;
  const CLINT32 status = m_library.GetSupportedBaudRates(m_ref, baudRates);
  if (status == CL_ERR_FUNCTION_NOT_FOUND) {
    *baudRates = CL_BAUDRATE_9600;
    return CL_ERR_NO_ERR;
  }
  return status;
}

CLINT32 CSerialPort::clSetBaudRate(CLUINT32 baudRate) {
  if (m_status != CL_ERR_NO_ERR)
    return CL_ERR_INVALID_REFERENCE;
  const CLINT32 status = m_library.SetBaudRate(m_ref, baudRate);
  if (status == CL_ERR_FUNCTION_NOT_FOUND)
    return baudRate == CL_BAUDRATE_9600 ? CL_ERR_NO_ERR : CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  return status;
}

} // namespace CLProtocol
