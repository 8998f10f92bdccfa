#include "ComPort.h"

#include "ClSerText.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include <windows.h>

using Vorla::Platform::CLockGuard;
using Vorla::Platform::CMutex;

namespace ClSerCom {
namespace {

using Clock = std::chrono::steady_clock;

struct BaudEntry {
  CLUINT32 bit;
  DWORD rate;
};

const BaudEntry kBauds[] = {{CL_BAUDRATE_9600, 9600},     {CL_BAUDRATE_19200, 19200},
                            {CL_BAUDRATE_38400, 38400},   {CL_BAUDRATE_57600, 57600},
                            {CL_BAUDRATE_115200, 115200}, {CL_BAUDRATE_230400, 230400},
                            {CL_BAUDRATE_460800, 460800}, {CL_BAUDRATE_921600, 921600}};

// Milliseconds left until `deadline`, rounded up so that a wait never ends early.
DWORD MsLeft(Clock::time_point deadline) {
  const auto left = deadline - Clock::now();
  if (left <= Clock::duration::zero())
    return 0;
  const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return static_cast<DWORD>(std::min<long long>(ms, MAXDWORD - 1));
}

HANDLE Native(void* handle) {
  return static_cast<HANDLE>(handle);
}

// The system's COM ports: every COM<n> the object manager knows (the device map lists them on
// Windows; Wine resolves each name but does not list them all).
std::vector<std::string> SystemPorts() {
  std::vector<std::string> ports;
  char target[MAX_PATH];
  for (int n = 1; n <= 256; ++n) {
    const std::string name = "COM" + std::to_string(n);
    if (::QueryDosDeviceA(name.c_str(), target, sizeof target) != 0)
      ports.push_back(name);
  }
  return ports;
}

} // namespace

std::vector<std::string> CComPort::Devices() {
  // The process environment itself, so that a change made with SetEnvironmentVariable counts.
  char list[4096];
  ::SetLastError(ERROR_SUCCESS); // an empty list reads as 0 too, and leaves the last error alone
  const DWORD length = ::GetEnvironmentVariableA("CLSERCOM_PORTS", list, sizeof list);
  if (length == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND)
    return SystemPorts();
  return ClSerCommon::SplitList(std::string(list, length < sizeof list ? length : 0), ';');
}

CComPort::CComPort(std::string name) : m_name(std::move(name)), m_handle(INVALID_HANDLE_VALUE) {}

CComPort::~CComPort() {
  CLockGuard<CMutex> guard(m_lock);
  if (m_handle != INVALID_HANDLE_VALUE)
    ::CloseHandle(Native(m_handle));
}

CLINT32 CComPort::Open() {
  CLockGuard<CMutex> guard(m_lock);
  // No sharing: Windows refuses every other opener of the port while this handle lives.
  const std::string device = "\\\\.\\" + m_name;
  HANDLE handle = ::CreateFileA(device.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE)
    return CL_ERR_PORT_IN_USE; // the standard has no separate "unable to open" value
  DCB dcb{};
  dcb.DCBlength = sizeof dcb;
  if (!::GetCommState(handle, &dcb)) {
    ::CloseHandle(handle);
    return CL_ERR_PORT_IN_USE;
  }
  dcb.BaudRate = 9600;
  dcb.ByteSize = 8;
  dcb.Parity = NOPARITY;
  dcb.StopBits = ONESTOPBIT;
  dcb.fBinary = TRUE;
  dcb.fParity = FALSE;
  dcb.fOutxCtsFlow = FALSE;
  dcb.fOutxDsrFlow = FALSE;
  dcb.fDtrControl = DTR_CONTROL_ENABLE;
  dcb.fRtsControl = RTS_CONTROL_ENABLE;
  dcb.fDsrSensitivity = FALSE;
  dcb.fOutX = FALSE;
  dcb.fInX = FALSE;
  dcb.fNull = FALSE;
  dcb.fAbortOnError = FALSE;
  if (!::SetCommState(handle, &dcb)) {
    ::CloseHandle(handle);
    return CL_ERR_PORT_IN_USE;
  }
  ::PurgeComm(handle, PURGE_RXCLEAR | PURGE_TXCLEAR);
  m_handle = handle;
  return CL_ERR_NO_ERR;
}

long CComPort::Receive(CLUINT32 waitMs, std::size_t wanted) {
  // MAXDWORD/MAXDWORD/n: return at once with whatever is queued, else wait up to n ms for the
  // first byte. MAXDWORD/0/0: return at once.
  COMMTIMEOUTS timeouts{};
  timeouts.ReadIntervalTimeout = MAXDWORD;
  timeouts.ReadTotalTimeoutMultiplier = waitMs ? MAXDWORD : 0;
  timeouts.ReadTotalTimeoutConstant = waitMs;
  if (!::SetCommTimeouts(Native(m_handle), &timeouts))
    return -1;
  // Asking for no more than is missing lets a driver that ignores the first-byte rule (Wine's
  // does) return as soon as the read is complete instead of at the time-out.
  CLINT8 chunk[4096];
  DWORD got = 0;
  const DWORD ask = static_cast<DWORD>(std::min<std::size_t>(wanted, sizeof chunk));
  if (!::ReadFile(Native(m_handle), chunk, ask, &got, nullptr))
    return -1;
  m_pending.insert(m_pending.end(), chunk, chunk + got);
  return static_cast<long>(got);
}

CLINT32 CComPort::Read(CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs) {
  if (!size || (!buffer && *size > 0))
    return CL_ERR_INVALID_PTR;
  CLockGuard<CMutex> guard(m_lock);
  const size_t want = *size;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  for (;;) {
    if (m_pending.size() >= want) {
      std::copy_n(m_pending.begin(), want, buffer);
      m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(want));
      return CL_ERR_NO_ERR;
    }
    const DWORD left = MsLeft(deadline);
    if (left == 0)
      return CL_ERR_TIMEOUT;
    if (Receive(left, want - m_pending.size()) < 0) {
      // The port went away: behave like a silent line, not like a busy one.
      std::this_thread::sleep_until(deadline);
      return CL_ERR_TIMEOUT;
    }
  }
}

CLINT32 CComPort::Write(const CLINT8* buffer, CLUINT32* size, CLUINT32 timeoutMs) {
  if (!size || (!buffer && *size > 0))
    return CL_ERR_INVALID_PTR;
  CLockGuard<CMutex> guard(m_lock);
  const DWORD total = *size;
  DWORD sent = 0;
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  while (sent < total) {
    COMMTIMEOUTS timeouts{};
    ::GetCommTimeouts(Native(m_handle), &timeouts);
    timeouts.WriteTotalTimeoutMultiplier = 0;
    timeouts.WriteTotalTimeoutConstant = std::max<DWORD>(MsLeft(deadline), 1);
    DWORD n = 0;
    if (!::SetCommTimeouts(Native(m_handle), &timeouts) ||
        !::WriteFile(Native(m_handle), buffer + sent, total - sent, &n, nullptr)) {
      std::this_thread::sleep_until(deadline); // port gone
      break;
    }
    sent += n;
    if (n == 0 || MsLeft(deadline) == 0)
      break;
  }
  *size = static_cast<CLUINT32>(sent);
  return sent == total ? CL_ERR_NO_ERR : CL_ERR_TIMEOUT;
}

CLINT32 CComPort::BytesAvailable(CLUINT32* count) {
  if (!count)
    return CL_ERR_INVALID_PTR;
  CLockGuard<CMutex> guard(m_lock);
  COMSTAT status{};
  DWORD errors = 0;
  const DWORD queued = ::ClearCommError(Native(m_handle), &errors, &status) ? status.cbInQue : 0;
  *count = static_cast<CLUINT32>(m_pending.size() + queued);
  return CL_ERR_NO_ERR;
}

CLINT32 CComPort::Flush() {
  CLockGuard<CMutex> guard(m_lock);
  m_pending.clear();
  ::PurgeComm(Native(m_handle), PURGE_RXCLEAR);
  return CL_ERR_NO_ERR;
}

CLINT32 CComPort::SetBaudRate(CLUINT32 bit) {
  const auto entry = std::find_if(std::begin(kBauds), std::end(kBauds),
                                  [bit](const BaudEntry& e) { return e.bit == bit; });
  if (entry == std::end(kBauds))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  CLockGuard<CMutex> guard(m_lock);
  DCB dcb{};
  dcb.DCBlength = sizeof dcb;
  if (!::GetCommState(Native(m_handle), &dcb))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  dcb.BaudRate = entry->rate;
  if (!::SetCommState(Native(m_handle), &dcb))
    return CL_ERR_BAUD_RATE_NOT_SUPPORTED;
  return CL_ERR_NO_ERR;
}

CLUINT32 CComPort::SupportedBaudRates() {
  CLUINT32 mask = 0;
  for (const BaudEntry& e : kBauds)
    mask |= e.bit;
  return mask;
}

} // namespace ClSerCom
