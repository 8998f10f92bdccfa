#pragma once
#include "AcquisitionParameters.h"
#include "VorlaCLSerStreamPort.h"

#include <Base/GCString.h>
#include <GenApi/NodeMapRef.h>
#include <GenApi/Types.h>
#include <VorlaBase/AlertableWaitObject.h>
#include <VorlaBase/GrabResult.h>
#include <VorlaBase/IStreamGrabber.h>
#include <platform/DynamicLibrary.h>
#include <vorla/IFrameGrabber.h>

#include <boost/thread/recursive_mutex.hpp>

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace GenApi {
struct INode;
}

namespace Vorla {

using GenICam::gcstring;

class IVorlaDevice;

//! The stream of one Camera Link camera: frames from the frame-grabber plug-in that the device's
//! device-specific string names, copied once each into the application's queued buffers. Also
//! serves the plug-in's callee interface (frames, camera node callbacks) and offers the stream's
//! parameter node map.
//!
//! Thread-safe: application threads call IStreamGrabber, plug-in threads call FgCallee; one
//! recursive lock serialises them, and is released around plug-in calls that may wait for the
//! plug-in's threads (StopGrab, Close) and around each frame's copy. Node callbacks have a lock of
//! their own.
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

private:
  enum EState : int32_t { Closed = 0, Opened = 1, Prepared = 2 };

  struct BufferRecord {
    GrabResult m_Result;
    uint64_t m_BufferSize = 0; // as registered
  };
  // Shared so that a frame being copied outside the lock keeps its record alive even when the
  // application closes the stream meanwhile.
  using BufferMap = std::map<StreamBufferHandle, std::shared_ptr<BufferRecord>>;

  struct NodeCallbackEntry {
    GenApi::INode* m_pNode = nullptr; // null: a free row
    PluginNodeCallback m_Callback = nullptr;
    GenApi::CallbackHandleType m_hCallback = 0;
    uint64_t m_Context = 0;
    uint32_t m_Cookie = 0;
  };

  void CheckState(const char* operation, bool legal) const;
  void LoadFrameGrabber();
  bool LoadPluginLibrary(const gcstring& path);
  void UnloadFrameGrabber();
  //! The frame grabber's last error text, read in its two steps.
  gcstring LastErrorText();
  void StopGrab();
  void OnNodeChanged(GenApi::INode* node);

  using Guard = boost::recursive_mutex::scoped_lock;

  const gcstring m_DeviceSpecificString;
  IVorlaDevice* const m_pDevice;
  std::unique_ptr<CAcquisitionParameters> m_pAcquisitionParameters;
  CVorlaCLSerStreamPort m_Port;
  GenApi::CNodeMapRef m_NodeMap{"Device"};
  Platform::CDynamicLibrary m_PluginLibrary;
  IFrameGrabber* m_pFrameGrabber = nullptr;

  // The stream grabber's lock: taken by every operation and FgCallee call; guards everything
  // below. Owned by the stream grabber.
  mutable boost::recursive_mutex m_Lock;
  int32_t m_State = Closed;
  bool m_AcquisitionStarted = false;
  BufferMap m_Buffers;
  std::deque<StreamBufferHandle> m_InputQueue;
  std::deque<StreamBufferHandle> m_OutputQueue;

  // Guards the plug-in's node callback table, and nothing else. Not the stream grabber's lock:
  // node changes call in under the camera node map's lock, and the stream grabber's lock is held
  // while the camera's parameters are locked (which takes the node map's lock), so the two would
  // meet in opposite orders. Held only around table accesses, never across a call. Owned by the
  // stream grabber.
  std::mutex m_NodeCallbacksLock;
  std::vector<NodeCallbackEntry> m_NodeCallbacks;
  // Signalled while OutputQueue holds results; thread-safe on its own.
  AlertableWaitObject m_WaitObject{true, false};
};

} // namespace Vorla
