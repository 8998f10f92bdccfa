#pragma once
#include <CLProtocol/ClSerialTypes.h>
#include <platform/Mutex.h>

#include <string>
#include <vector>

namespace ClSerTty {

//! One open tty, raw 8N1 without flow control. Every call returns a Camera Link status code.
class CTtyPort {
public:
  //! The ttys this library offers: those listed in CLSERTTY_PORTS, ':'-separated, read on every
  //! call so that the list follows the environment.
  static std::vector<std::string> Devices();
  //! "ttyS4" for "/dev/ttyS4", "pts/3" for "/dev/pts/3"; other paths stay as they are.
  static std::string Identifier(const std::string& device);

  explicit CTtyPort(std::string path);
  ~CTtyPort();
  CTtyPort(const CTtyPort&) = delete;
  CTtyPort& operator=(const CTtyPort&) = delete;

  //! Opens and locks the device (flock, so a second opener in any process gets PORT_IN_USE)
  //! and sets 9600 8N1 raw.
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
  //! Moves whatever the tty holds into m_pending; the byte count, -1 when the line is gone.
  long Drain() VORLA_REQUIRES(m_lock);

  std::string m_path;
  Vorla::Platform::CMutex m_lock; // leaf, owned by this port: callers sharing one handle
  int m_fd VORLA_GUARDED_BY(m_lock) = -1;
  std::vector<CLINT8> m_pending VORLA_GUARDED_BY(m_lock);
};

} // namespace ClSerTty
