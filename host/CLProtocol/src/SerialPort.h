#pragma once
#include <CLProtocol/ISerial.h>

#include <functional>

namespace CLProtocol {

class CSerialLibrary;

//! One open port of a serial library, handed to drivers as their ISerial. The calls come from
//! driver code through a C++ vtable: nothing may leave them as an exception.
class CSerialPort final : public ISerial {
public:
  //! Opens port `index`; the status is in Status(), the port is usable only when it is NO_ERR.
  CSerialPort(const CSerialLibrary& library, CLUINT32 index);
  ~CSerialPort(); // final: owners delete it through its own type only
  CSerialPort(const CSerialPort&) = delete;
  CSerialPort& operator=(const CSerialPort&) = delete;

  CLINT32 Status() const { return m_status; }
  //! Called with the size of every successful read until replaced by an empty function; used
  //! by the owner of the port, on the thread that reads.
  void SetReadListener(std::function<void(CLUINT32)> listener) {
    m_readListener = std::move(listener);
  }
  const CSerialLibrary& Library() const { return m_library; }

  CLINT32 CLPROTOCOL clSerialRead(CLINT8* buffer, CLUINT32* bufferSize,
                                  CLUINT32 serialTimeout) override;
  CLINT32 CLPROTOCOL clSerialWrite(CLINT8* buffer, CLUINT32* bufferSize,
                                   CLUINT32 serialTimeout) override;
  //! A library without the query is taken to support the wake-up rate 9600 only.
  CLINT32 CLPROTOCOL clGetSupportedBaudRates(CLUINT32* baudRates) override;
  CLINT32 CLPROTOCOL clSetBaudRate(CLUINT32 baudRate) override;

private:
  const CSerialLibrary& m_library;
  hSerRef m_ref = nullptr;
  CLINT32 m_status;
  std::function<void(CLUINT32)> m_readListener;
};

} // namespace CLProtocol
