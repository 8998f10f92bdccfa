#pragma once
#include <camsim/CamSimDef.h>
#include <camsim/CameraModel.h>

#include <CLProtocol/ISerial.h>

#include <atomic>
#include <memory>

namespace camsim {

//! A serial line to an in-process camera: either one given camera, or whatever camera is
//! attached to a loopback bus port at the time of each call. It counts the bytes on the wire.
class CAMSIM_API CLoopbackSerial : public CLProtocol::ISerial {
public:
  explicit CLoopbackSerial(std::shared_ptr<CCameraModel> camera,
                           std::uint32_t supportedBaudRates = 0xFF);
  //! A line to a port of CLoopbackBus.
  explicit CLoopbackSerial(std::size_t busPort);
  virtual ~CLoopbackSerial() = default;

  CLINT32 CLPROTOCOL clSerialRead(CLINT8* buffer, CLUINT32* bufferSize,
                                  CLUINT32 serialTimeout) override;
  CLINT32 CLPROTOCOL clSerialWrite(CLINT8* buffer, CLUINT32* bufferSize,
                                   CLUINT32 serialTimeout) override;
  CLINT32 CLPROTOCOL clGetSupportedBaudRates(CLUINT32* baudRates) override;
  CLINT32 CLPROTOCOL clSetBaudRate(CLUINT32 baudRate) override;

  CLINT32 BytesAvailable(CLUINT32* count);
  CLINT32 Flush();
  std::uint32_t BaudBit() const { return m_BaudBit.load(); }
  std::uint64_t BytesWritten() const { return m_BytesWritten.load(); }
  std::uint64_t BytesRead() const { return m_BytesRead.load(); }

private:
  std::shared_ptr<CCameraModel> Camera() const;
  std::uint32_t Supported() const;

  std::shared_ptr<CCameraModel> m_Camera;
  std::size_t m_BusPort = 0;
  bool m_OnBus = false;
  std::uint32_t m_SupportedBaudRates = 0xFF;
  std::atomic<std::uint32_t> m_BaudBit{0x01};
  std::atomic<std::uint64_t> m_BytesWritten{0};
  std::atomic<std::uint64_t> m_BytesRead{0};
};

} // namespace camsim
