#include <camsim/LoopbackBus.h>
#include <camsim/LoopbackSerial.h>

namespace camsim {

CLoopbackSerial::CLoopbackSerial(std::shared_ptr<CCameraModel> camera,
                                 std::uint32_t supportedBaudRates)
    : m_Camera(std::move(camera)), m_SupportedBaudRates(supportedBaudRates) {}

CLoopbackSerial::CLoopbackSerial(std::size_t busPort) : m_BusPort(busPort), m_OnBus(true) {}

std::shared_ptr<CCameraModel> CLoopbackSerial::Camera() const {
  return m_OnBus ? CLoopbackBus::Instance().Camera(m_BusPort) : m_Camera;
}

std::uint32_t CLoopbackSerial::Supported() const {
  return m_OnBus ? CLoopbackBus::Instance().SupportedBaudRates(m_BusPort) : m_SupportedBaudRates;
}

CLINT32 CLoopbackSerial::clSerialRead(CLINT8* buffer, CLUINT32* bufferSize,
                                      CLUINT32 serialTimeout) {
  if (!buffer || !bufferSize)
    return CL_ERR_INVALID_PTR;
  const std::shared_ptr<CCameraModel> camera = Camera();
  if (!camera || !camera->ReadExact(reinterpret_cast<std::uint8_t*>(buffer), *bufferSize,
                                    std::chrono::milliseconds(serialTimeout), m_BaudBit.load())) {
    *bufferSize = 0;
    return CL_ERR_TIMEOUT;
  }
  m_BytesRead += *bufferSize;
  return CL_ERR_NO_ERR;
}

CLINT32 CLoopbackSerial::clSerialWrite(CLINT8* buffer, CLUINT32* bufferSize, CLUINT32) {
  if (!buffer || !bufferSize)
    return CL_ERR_INVALID_PTR;
  if (const std::shared_ptr<CCameraModel> camera = Camera())
    camera->Write(reinterpret_cast<const std::uint8_t*>(buffer), *bufferSize, m_BaudBit.load());
  m_BytesWritten += *bufferSize;
  return CL_ERR_NO_ERR;
}

CLINT32 CLoopbackSerial::clGetSupportedBaudRates(CLUINT32* baudRates) {
  if (!baudRates)
    return CL_ERR_INVALID_PTR;
  *baudRates = Supported();
  return CL_ERR_NO_ERR;
}

CLINT32 CLoopbackSerial::clSetBaudRate(CLUINT32 baudRate) {
  if (!baudRate || (baudRate & (baudRate - 1)) || !(baudRate & Supported()))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  m_BaudBit = baudRate;
  return CL_ERR_NO_ERR;
}

CLINT32 CLoopbackSerial::BytesAvailable(CLUINT32* count) {
  if (!count)
    return CL_ERR_INVALID_PTR;
  const std::shared_ptr<CCameraModel> camera = Camera();
  *count = camera ? static_cast<CLUINT32>(camera->BytesAvailable()) : 0;
  return CL_ERR_NO_ERR;
}

CLINT32 CLoopbackSerial::Flush() {
  if (const std::shared_ptr<CCameraModel> camera = Camera())
    camera->FlushOutput();
  return CL_ERR_NO_ERR;
}

} // namespace camsim
