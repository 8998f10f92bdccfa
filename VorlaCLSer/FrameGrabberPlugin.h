#pragma once
#include <Base/GCString.h>
#include <platform/DynamicLibrary.h>
#include <platform/Mutex.h>
#include <vorla/IFrameGrabber.h>

namespace Vorla {

using GenICam::gcstring;

//! The frame-grabber plug-in of one stream grabber: its library, its object, and the control
//! mutex through which every IFrameGrabber call passes, one at a time. A call may wait for the
//! plug-in's delivery threads; those reach the stream grabber only through its buffer table,
//! its node-callback table and the camera's node map, never through the control mutex, and the
//! callers make no call while holding one of those. Thread-safe.
class CFrameGrabberPlugin {
public:
  CFrameGrabberPlugin() = default;
  ~CFrameGrabberPlugin() { Unload(); }
  CFrameGrabberPlugin(const CFrameGrabberPlugin&) = delete;
  CFrameGrabberPlugin& operator=(const CFrameGrabberPlugin&) = delete;

  //! Loads the library that the device-specific string names and creates its object with that
  //! string. Throws RuntimeException when the string names no plug-in, the library is missing or
  //! incomplete, or it creates no object.
  void Load(const gcstring& deviceSpecificString) VORLA_EXCLUDES(m_Control);
  //! Destroys the object (when the library exports its destroy function) and frees the library.
  void Unload() VORLA_EXCLUDES(m_Control);

  // The object's calls. A false answer comes with the object's last error text, read while the
  // call still holds the control mutex.
  bool Open(const gcstring& parameters, FgCallee* callee, gcstring& error)
      VORLA_EXCLUDES(m_Control);
  //! Whatever the object's Close throws passes on.
  void Close() VORLA_EXCLUDES(m_Control);
  bool StartGrab(gcstring& error) VORLA_EXCLUDES(m_Control);
  bool StopGrab(gcstring& error) VORLA_EXCLUDES(m_Control);
  //! False when there is no object to ask.
  bool QueryValue(uint32_t valueNumber, int64_t& value) VORLA_EXCLUDES(m_Control);

private:
  //! The object's last error text, read in its two steps.
  gcstring LastErrorText() VORLA_REQUIRES(m_Control);
  //! StartGrab or StopGrab under the control mutex, with the error text of a false answer.
  bool Control(bool (IFrameGrabber::*operation)(), gcstring& error) VORLA_EXCLUDES(m_Control);

  // The plug-in control lock (4 in the product's lock order): held for every call into the
  // object and while the object or library changes. Owned by this object.
  Platform::CMutex m_Control;
  Platform::CDynamicLibrary m_Library VORLA_GUARDED_BY(m_Control);
  IFrameGrabber* m_pObject VORLA_GUARDED_BY(m_Control) = nullptr;
};

} // namespace Vorla
