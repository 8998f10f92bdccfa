#pragma once
// One opened camera as Python sees it.
#include "CameraSelector.h"
#include "CameraSession.h"

#include <VorlaBase/IVorlaDevice.h>
#include <platform/Mutex.h>

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

namespace VorlaPy {

class CGrab;

//! A camera selected as `vorla-cl -c` selects one, with its device opened for control and
//! stream. The camera's lock serialises every use of the device between Python threads; it is
//! taken only with the GIL released (never the other way round), so a removal callback that
//! needs the GIL never waits for a thread that waits for this lock. In the product's lock order
//! it comes before all of the SDK's locks. Thread-safe.
class CCamera {
public:
  //! Selects and opens the camera; `text` and `first` as `vorla-cl -c TEXT [--first]`.
  CCamera(const std::string& text, bool first);
  ~CCamera();
  CCamera(const CCamera&) = delete;
  CCamera& operator=(const CCamera&) = delete;

  //! Stops a running grab, removes the removal callbacks, closes and releases the device. Safe
  //! to call again.
  void Close() VORLA_EXCLUDES(m_Lock);
  bool IsOpen() VORLA_EXCLUDES(m_Lock);
  //! The camera's name for messages: its friendly name, kept after Close.
  const std::string& Name() const { return m_Name; }

  //! Runs `call(device)` with the GIL released and the camera's lock held; throws CameraClosed
  //! when the camera is closed.
  template <class TCall> auto Call(TCall&& call) VORLA_EXCLUDES(m_Lock) {
    pybind11::gil_scoped_release released;
    Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
    return call(Device());
  }

  //! The record, every property as text.
  pybind11::dict Info();
  //! The camera's description as the transport layer provides it.
  std::string Xml();
  //! As Call, for a caller that released the GIL already.
  template <class TCall> auto CallReleased(TCall&& call) VORLA_EXCLUDES(m_Lock) {
    Vorla::Platform::CLockGuard<Vorla::Platform::CMutex> guard(m_Lock);
    return call(Device());
  }

  //! Registers `callable` to run (without arguments) when the camera is removed.
  void OnRemoved(pybind11::object callable);

  //! The grab that owns the stream now, if any; a new grab refuses while another runs.
  void SetGrab(CGrab* grab) VORLA_EXCLUDES(m_Lock);
  void ClearGrab(CGrab* grab) VORLA_EXCLUDES(m_Lock);

  //! The device, for callers holding the lock; throws CameraClosed without one.
  Vorla::IVorlaDevice& Device() VORLA_REQUIRES(m_Lock);

private:
  void CloseLocked() VORLA_REQUIRES(m_Lock);

  Vorla::Platform::CMutex m_Lock;
  std::unique_ptr<VorlaCl::CCameraSelector> m_pSelector; // before the session that refers to it
  std::unique_ptr<VorlaCl::CCameraSession> m_pSession VORLA_GUARDED_BY(m_Lock);
  Vorla::IVorlaDevice* m_pDevice VORLA_GUARDED_BY(m_Lock) = nullptr;
  std::vector<Vorla::DeviceCallbackHandle> m_Callbacks VORLA_GUARDED_BY(m_Lock);
  CGrab* m_pGrab VORLA_GUARDED_BY(m_Lock) = nullptr;
  std::string m_Name;
};

} // namespace VorlaPy
