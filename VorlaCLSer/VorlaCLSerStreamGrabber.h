#pragma once
#include "AcquisitionParameters.h"
#include "FrameGrabberPlugin.h"
#include "NodeCallbackTable.h"
#include "StreamBufferTable.h"
#include "VorlaCLSerStreamPort.h"

#include <Base/GCString.h>
#include <GenApi/NodeMapRef.h>
#include <VorlaBase/AlertableWaitObject.h>
#include <VorlaBase/GrabResult.h>
#include <VorlaBase/IStreamGrabber.h>
#include <platform/Mutex.h>
#include <vorla/IFrameGrabber.h>

#include <memory>

namespace Vorla {

using GenICam::gcstring;

class IVorlaDevice;

//! The stream of one Camera Link camera: frames from the frame-grabber plug-in that the device's
//! device-specific string names, copied once each into the application's queued buffers. Also
//! serves the plug-in's callee interface (frames, camera node callbacks) and offers the stream's
//! parameter node map.
//!
//! Thread-safe, in three parts with a lock each: the stream grabber's lock serialises the
//! application's calls (the state machine); the plug-in passes every call through its control
//! mutex, one at a time; the buffer table and the node-callback table, which the plug-in's
//! threads reach, are leaves. Frame deliveries and node callbacks never take the stream
//! grabber's lock or the control mutex, so a plug-in call may wait for them.
class CVorlaCLSerStreamGrabber final : public IStreamGrabber, public FgCallee {
public:
  //! Loads and creates the frame grabber. Throws RuntimeException when the string names no
  //! plug-in, the plug-in is missing or incomplete, or it creates no object.
  CVorlaCLSerStreamGrabber(const gcstring& deviceSpecificString, IVorlaDevice* device);
  ~CVorlaCLSerStreamGrabber();
  CVorlaCLSerStreamGrabber(const CVorlaCLSerStreamGrabber&) = delete;
  CVorlaCLSerStreamGrabber& operator=(const CVorlaCLSerStreamGrabber&) = delete;

  // IStreamGrabber
  void Open() override;
  void Close() override;
  bool IsOpen() const override;
  StreamBufferHandle RegisterBuffer(void* pBuffer, size_t bufferSize) override;
  void* DeregisterBuffer(StreamBufferHandle hBuffer) override;
  void PrepareGrab() override;
  void FinishGrab() override;
  void QueueBuffer(StreamBufferHandle hBuffer, uint64_t context) override;
  void CancelGrab() override;
  bool RetrieveResult(GrabResult& result) override;
  AlertableWaitObject& GetWaitObject() override;
  GenApi::INodeMap* GetNodeMap() override;

  // FgCallee
  bool FrameReady(const FrameDescriptor& descriptor) override;
  uintptr_t RegisterNodeCallback(const char* nodeName, PluginNodeCallback callback,
                                 uint64_t context, uint32_t cookie) override;
  bool DeregisterNodeCallback(uintptr_t handle) override;
  bool FrameReadyAt(const FrameDescriptor& descriptor, uint64_t timeStampNs) override;
  //! Logs the plug-in's text at level 128 as "Frame grabber: <text>".
  void Warning(const char* text) override;

private:
  enum EState : int32_t { Closed = 0, Opened = 1, Prepared = 2 };

  void CheckState(const char* operation, bool legal) const VORLA_REQUIRES(m_Lock);
  void StopGrab() VORLA_REQUIRES(m_Lock);
  void CancelGrabLocked() VORLA_REQUIRES(m_Lock);
  //! One frame into the oldest queued buffer (plug-in threads, no lock of the stream grabber).
  void Deliver(const FrameDescriptor& descriptor, uint64_t timeStampNs);

  const gcstring m_DeviceSpecificString;
  IVorlaDevice* const m_pDevice;
  std::unique_ptr<CAcquisitionParameters> m_pAcquisitionParameters;
  CFrameGrabberPlugin m_Plugin;
  CVorlaCLSerStreamPort m_Port{m_Plugin};
  GenApi::CNodeMapRef m_NodeMap{"Device"};
  CStreamBufferTable m_Buffers;
  CNodeCallbackTable m_NodeCallbacks{*m_pDevice};

  // The stream grabber's lock (3 in the product's lock order): held by every IStreamGrabber
  // operation for its whole run, plug-in calls included (the plug-in's threads never take it).
  // Owned by the stream grabber; guards the state below.
  mutable Platform::CRecursiveMutex m_Lock;
  int32_t m_State VORLA_GUARDED_BY(m_Lock) = Closed;
  bool m_AcquisitionStarted VORLA_GUARDED_BY(m_Lock) = false;
};

} // namespace Vorla
