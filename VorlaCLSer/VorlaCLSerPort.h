#pragma once
#include "IVorlaCLSerRemovalSink.h"
#include "InactivityTimer.h"

#include <Base/GCString.h>
#include <GenApi/IPort.h>
#include <platform/DynamicLibrary.h>
#include <platform/Mutex.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <thread>
#include <vector>

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
//! serialised on the port lock, which a removal callback run under it may take again. The
//! inactivity close runs on a worker of the port's timer and takes the port lock like any caller.
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
  void SetAutoCloseTimeout(uint32_t ms) VORLA_EXCLUDES(m_timerLock);
  //! Stops the inactivity timer; a close that came due and has not started is dropped.
  bool CancelAutoClose() VORLA_EXCLUDES(m_timerLock);

  //! Which camera answers on this port: the DeviceID, or empty. Without templates, every template
  //! of every driver is tried.
  void Probe(gcstring& deviceId, const gcstring_vector* templates = nullptr);

  //! The device that is open on this port, or null. Waits until no other thread uses the device
  //! it replaces (a probe asking the open camera, a removal being reported), so that the device
  //! may be destroyed afterwards. Not from a removal callback while another thread probes.
  void SetRemovalSink(IVorlaCLSerRemovalSink* sink) VORLA_EXCLUDES(m_sinkLock);
  void SetDeviceName(const gcstring& name);

  bool IsConnected() const;
  const gcstring& GetPortId() const { return m_portId; }
  //! The baud-rate bits that the camera and the serial port both support, asked under the port
  //! lock. A Camera Link status; without a connection CL_ERR_INVALID_REFERENCE and a mask of 0.
  int32_t SupportedBaudRates(uint32_t& mask);

private:
  class CSinkUse;
  bool ConnectLocked(const gcstring& deviceId) VORLA_REQUIRES(m_lock);
  bool ReopenLocked() VORLA_REQUIRES(m_lock);
  bool CloseLocked(bool autoClose) VORLA_REQUIRES(m_lock);
  void CloseFullyLocked() VORLA_REQUIRES(m_lock);
  bool ConnectForCall(const gcstring& deviceId) VORLA_REQUIRES(m_lock);
  gcstring FetchXml(const gcstring& deviceId, const char* call, bool fresh) VORLA_REQUIRES(m_lock);
  void ReArm() VORLA_EXCLUDES(m_timerLock);
  void OnInactivity(CInactivityTimer::Ticket ticket);
  void FireRemoval(const gcstring& deviceId) VORLA_EXCLUDES(m_sinkLock);
  IVorlaCLSerRemovalSink* UseSink(bool forRemoval) VORLA_EXCLUDES(m_sinkLock);
  void EndSinkUse() VORLA_EXCLUDES(m_sinkLock);
  bool ProbeOpenDevice(gcstring& deviceId);
  bool LoadDriverLibrary(const gcstring& driverPath) VORLA_REQUIRES(m_lock);
  template <class Operation>
  void Access(const char* operationWord, Operation operation) VORLA_EXCLUDES(m_sinkLock);

  const GenApi::EAccessMode m_accessMode = GenApi::RW;
  // The port lock (6th in the product's lock order): taken by every operation on the connection
  // and by the inactivity worker. Recursive because a removal callback, run under it, may use
  // the port again. Owned by the port.
  mutable Platform::CRecursiveMutex m_lock;
  // Serialises everything the timer does: creating m_pTimer, storing the timeout with arming,
  // cancelling, and the worker's check that its close is still due. Taken after m_lock when both
  // are held; its holder waits only for the timer thread, never for the port lock. Owned by
  // the port.
  Platform::CMutex m_timerLock VORLA_ACQUIRED_AFTER(m_lock);
  // A leaf: guards the removal sink and who uses it outside the port lock. Owned by the port.
  Platform::CMutex m_sinkLock VORLA_ACQUIRED_AFTER(m_lock);
  std::condition_variable_any m_sinkIdle; // signalled when a use of the sink ends
  std::unique_ptr<CLProtocol::CCLPort> m_pConnection VORLA_GUARDED_BY(m_lock);
  IVorlaCLSerRemovalSink* m_pRemovalSink VORLA_GUARDED_BY(m_sinkLock) = nullptr;
  std::vector<std::thread::id> m_sinkUsers VORLA_GUARDED_BY(m_sinkLock);
  std::unique_ptr<Platform::CDynamicLibrary> m_pDriverLibrary VORLA_GUARDED_BY(m_lock);
  std::unique_ptr<CInactivityTimer> m_pTimer VORLA_GUARDED_BY(m_timerLock);
  const gcstring m_portId;
  gcstring m_deviceId VORLA_GUARDED_BY(m_lock);
  gcstring m_deviceName VORLA_GUARDED_BY(m_lock);
  gcstring m_cachedXml VORLA_GUARDED_BY(m_lock);
  std::atomic<uint32_t> m_autoCloseTimeout{0}; // written under m_timerLock
  std::atomic<bool> m_removed{false};          // read before the lock by Read/Write
};

} // namespace Vorla
