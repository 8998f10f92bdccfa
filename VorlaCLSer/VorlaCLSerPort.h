#pragma once
#include "IVorlaCLSerRemovalSink.h"
#include "OneShotTimer.h"

#include <Base/GCString.h>
#include <GenApi/IPort.h>
#include <platform/DynamicLibrary.h>

#include <boost/thread/recursive_mutex.hpp>

#include <atomic>
#include <memory>
#include <mutex>

namespace CLProtocol {
class CCLPort;
}

namespace Vorla {

using GenICam::gcstring;
using GenICam::gcstring_vector;

//! The register port of one Camera Link serial port: GenApi register access through a CLProtocol
//! connection that opens lazily, closes after a time without access, reopens on demand and
//! reports a vanished camera once to the device open on it.
//!
//! Thread-safe: every operation may be called from any thread; operations on the connection are
//! serialised on the port lock. SetAutoCloseTimeout and CancelAutoClose may be called with or
//! without the port lock held, also from many threads at once.
class CVorlaCLSerPort : public GenApi::IPort {
public:
  //! Serial time-out of a new connection and of probes, in milliseconds.
  static constexpr uint32_t SerialTimeoutMs = 400;

  explicit CVorlaCLSerPort(const gcstring& portId);
  ~CVorlaCLSerPort() override;
  CVorlaCLSerPort(const CVorlaCLSerPort&) = delete;
  CVorlaCLSerPort& operator=(const CVorlaCLSerPort&) = delete;

  //! First connection to the camera `deviceId`. False, never a GenICam exception, on failure.
  bool ConnectDevice(const gcstring& deviceId);
  //! Reconnects after an inactivity close.
  bool Reopen();
  //! Tears the connection down; `autoClose` keeps the device id for a later Reopen.
  bool Close(bool autoClose);

  // GenApi::IPort
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;
  GenApi::EAccessMode GetAccessMode() const override;

  //! Whether the camera gives a non-empty description; connects for the call if needed.
  bool HasXML(const gcstring& deviceId);
  //! The camera's description, read once and cached; connects for the call if needed.
  void GetXML(gcstring& xml, const gcstring& deviceId);

  //! Closes the connection after `ms` without access (0: never) and re-arms the timer. Calls
  //! from several threads at once leave the timer armed with the value stored last.
  void SetAutoCloseTimeout(uint32_t ms);
  uint32_t GetAutoCloseTimeout() const { return m_autoCloseTimeout; }
  //! Stops the inactivity timer, waiting for a running callback; an inactivity close that the
  //! callback left pending is dropped too.
  bool CancelAutoClose();

  //! Which camera answers on this port: the DeviceID, or empty. Without templates, every template
  //! of every driver is tried.
  void Probe(gcstring& deviceId, const gcstring_vector* templates = nullptr);

  //! The device that is open on this port, or null.
  void SetRemovalSink(IVorlaCLSerRemovalSink* sink);
  void SetDeviceName(const gcstring& name);

  bool IsConnected() const;
  bool IsRemoved() const { return m_removed; }
  const gcstring& GetPortId() const { return m_portId; }
  gcstring GetDeviceId() const;
  //! The baud-rate bits that the camera and the serial port both support, asked under the port
  //! lock. A Camera Link status; without a connection CL_ERR_INVALID_REFERENCE and a mask of 0.
  int32_t SupportedBaudRates(uint32_t& mask);

private:
  class CLockGuard;
  void ReArm();
  bool CancelTimerLocked();
  void RunPendingClose() noexcept;
  void CloseForInactivity();
  void FireRemoval();
  bool LoadDriverLibrary(const gcstring& driverPath);
  template <class Operation> void Access(const char* operationWord, Operation operation);
  template <class Operation> auto WithTemporaryConnection(const gcstring& deviceId, Operation op);
  static void OnInactivity(void* port);

  const GenApi::EAccessMode m_accessMode = GenApi::RW;
  // Taken by every operation on the connection (through CLockGuard) and, without waiting, by the
  // inactivity callback. Recursive because operations call each other (Read -> Reopen, HasXML ->
  // ConnectDevice -> Close). Owned by the port.
  mutable boost::recursive_mutex m_lock;
  mutable unsigned m_lockDepth = 0; // recursion of m_lock's holder; changed only under m_lock
  // An inactivity close that the timer could not do because m_lock was held: done by whoever
  // releases m_lock last, or dropped when the timer is re-armed or cancelled.
  std::atomic<bool> m_closePending{false};
  // Serialises everything the timer does: creating m_pTimer, storing the timeout with arming,
  // cancelling. Taken after m_lock when both are held, and never by the timer callback, so
  // holding it while waiting for the callback cannot deadlock. Owned by the port.
  std::mutex m_timerLock;
  std::unique_ptr<CLProtocol::CCLPort> m_pConnection;
  IVorlaCLSerRemovalSink* m_pRemovalSink = nullptr;
  std::unique_ptr<Platform::CDynamicLibrary> m_pDriverLibrary;
  std::unique_ptr<COneShotTimer> m_pTimer; // under m_timerLock
  const gcstring m_portId;
  gcstring m_deviceId;
  gcstring m_deviceName;
  gcstring m_cachedXml;
  std::atomic<uint32_t> m_autoCloseTimeout{0};
  std::atomic<bool> m_removed{false}; // read before the lock by Read/Write
};

} // namespace Vorla
