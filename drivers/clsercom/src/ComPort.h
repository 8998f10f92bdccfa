#pragma once
#include <CLProtocol/ClSerialTypes.h>
#include <platform/Mutex.h>

#include <cstddef>
#include <string>
#include <vector>

namespace ClSerCom {

//! One open COM port, 8N1 without flow control. Every call returns a Camera Link status code.
//! Thread-safe: callers that share one handle are served one at a time.
class CComPort {
public:
  //! The ports this library offers: the system's COM ports in number order, or, when
  //! CLSERCOM_PORTS is set, the ';'-separated names it holds (e.g. "COM5;COM7"); read on every
  //! call so that the list follows the system.
  static std::vector<std::string> Devices();
  //! A port is identified by its name.
  static std::string Identifier(const std::string& device) { return device; }

  explicit CComPort(std::string name);
  ~CComPort();
  CComPort(const CComPort&) = delete;
  CComPort& operator=(const CComPort&) = delete;

  //! Opens the port for this process alone (a second opener anywhere gets PORT_IN_USE) and sets
  //! 9600 8N1.
  CLINT32 Open();
  //! Returns when `*size` bytes are there or the time-out ends; on time-out nothing is copied and
  //! the bytes received so far stay queued for the next read.
  CLINT32 Read(CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs);
  //! `*size` is the number of bytes sent, also on time-out.
  CLINT32 Write(const CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs);
  CLINT32 BytesAvailable(CLUINT32* count);
  CLINT32 Flush();
  CLINT32 SetBaudRate(CLUINT32 bit);
  static CLUINT32 SupportedBaudRates();

private:
  //! Reads at most `wanted` bytes of what arrives within `waitMs` into m_pending; the byte
  //! count, -1 when the port is gone.
  long Receive(CLUINT32 waitMs, std::size_t wanted) VORLA_REQUIRES(m_lock);

  const std::string m_name;
  Vorla::Platform::CMutex m_lock; // leaf, owned by this port
  void* m_handle VORLA_GUARDED_BY(m_lock);
  std::vector<CLINT8> m_pending VORLA_GUARDED_BY(m_lock);
};

} // namespace ClSerCom
