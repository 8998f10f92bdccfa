#pragma once
// The contract between the Camera Link transport layer and a frame-grabber plug-in.
//
// A frame-grabber plug-in is a shared library in the host's frame-grabber folder
// (getVorlaFolderPath(4)) that exports the two C functions below. The transport layer's stream
// grabber loads it, creates one IFrameGrabber with the device-specific string of the camera's
// port configuration, opens it with its own FgCallee, starts and stops acquisition, and receives
// frames through FgCallee::FrameReady. This header is self-contained: a plug-in needs nothing
// else of the SDK to build.
//
// Both interfaces are plain tables of functions in a fixed order (no virtual destructor, which
// would add slots): an object made by CreateFrameGrabberObject is ended only by
// DestroyFrameGrabberObject.
//
// Threads: IFrameGrabber is called by application threads, one call at a time (QueryValue and
// GetLastErrorText included); a call may wait for the plug-in's own threads. FgCallee is
// thread-safe: a plug-in calls it from threads of its own choosing between Open and Close, and
// from within Open and Close; node callbacks run on whatever thread changes the node, inside the
// camera node map's lock. A frame delivery never waits for an IFrameGrabber call to end.
#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define VORLA_FG_PLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define VORLA_FG_PLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace Vorla {

//! One frame as the plug-in hands it over. The layout crosses the library boundary and is fixed
//! (64-bit build, little-endian); the transport layer reads only the fields documented here. It
//! checks them before it copies: a line length of 0, a pitch below the line length, a negative
//! line count, no data, or lines that reach past m_TotalSize fail the frame's buffer.
struct FrameDescriptor {
  uint32_t m_Reserved0;    //!< free for the plug-in
  int32_t m_LineCount;     //!< lines in the frame: the most lines a pitched copy takes
  uint8_t m_Reserved1[16]; //!< free for the plug-in
  uint64_t m_LineLength;   //!< bytes of image data per line
  uint64_t m_LinePitch;    //!< bytes from one line's start to the next; == m_LineLength: contiguous
  uint8_t m_Reserved2[8];  //!< free for the plug-in
  uint64_t m_TotalSize;    //!< image bytes of the whole frame (the contiguous copy's length)
  const void* m_pData;  //!< the first image byte; m_TotalSize bytes valid until FrameReady returns
  int32_t m_FrameValue; //!< copied unchanged into the grab result
};

#if !defined(_WIN32) || defined(_WIN64)
static_assert(offsetof(FrameDescriptor, m_LineCount) == 4, "FrameDescriptor layout");
static_assert(offsetof(FrameDescriptor, m_LineLength) == 24, "FrameDescriptor layout");
static_assert(offsetof(FrameDescriptor, m_LinePitch) == 32, "FrameDescriptor layout");
static_assert(offsetof(FrameDescriptor, m_TotalSize) == 48, "FrameDescriptor layout");
static_assert(offsetof(FrameDescriptor, m_pData) == 56, "FrameDescriptor layout");
static_assert(offsetof(FrameDescriptor, m_FrameValue) == 64, "FrameDescriptor layout");
#endif

//! Called when a camera node that a plug-in registered for changes: the node's new value and
//! the context and cookie given at registration, unchanged.
using PluginNodeCallback = void (*)(int64_t value, uint64_t context, uint32_t cookie);

//! What the transport layer offers a plug-in. Thread-safe.
class FgCallee {
public:
  //! Copies one frame into the oldest queued buffer of the application. The answer carries no
  //! meaning (always false); a frame without a queued buffer is dropped.
  virtual bool FrameReady(const FrameDescriptor& descriptor) = 0;
  //! Calls `callback` whenever the camera node `nodeName` changes (integer and enumeration
  //! nodes). Returns a handle, 0 on failure.
  virtual uintptr_t RegisterNodeCallback(const char* nodeName, PluginNodeCallback callback,
                                         uint64_t context, uint32_t cookie) = 0;
  //! True when the registration of `handle` was removed.
  virtual bool DeregisterNodeCallback(uintptr_t handle) = 0;
  //! FrameReady with the frame's time stamp in nanoseconds on the grabber's clock, handed to the
  //! application in the grab result. Appended after the three slots above, so plug-ins built
  //! before it keep working through FrameReady (their frames carry the time stamp 0); a plug-in
  //! that calls it needs a transport layer that offers it.
  virtual bool FrameReadyAt(const FrameDescriptor& descriptor, uint64_t timeStampNs) = 0;
  //! A warning of the plug-in for the host's log, e.g. that frames stopped coming and what it
  //! waits on; `text` is plain text, never a format. Appended after FrameReadyAt, with the same
  //! rule: a plug-in that calls it needs a transport layer that offers it.
  virtual void Warning(const char* text) = 0;

protected:
  ~FgCallee() = default;
};

//! A plug-in's frame-grabber object.
class IFrameGrabber {
public:
  //! Opens the grabber; `parameters` is the device-specific string. False on failure, with the
  //! reason in GetLastErrorText.
  virtual bool Open(const char* parameters, FgCallee* callee) = 0;
  virtual void Close() = 0;
  //! Starts delivering frames through FgCallee::FrameReady. False on failure.
  virtual bool StartGrab() = 0;
  //! Stops delivering; no FrameReady call is under way or follows once it returns. False on
  //! failure.
  virtual bool StopGrab() = 0;
  //! The last error text. With (nullptr, 0): its length without the terminator. With a buffer:
  //! copies at most bufferSize - 1 characters and a terminating NUL, and returns the number of
  //! characters copied (the host terminates the text at that index).
  virtual size_t GetLastErrorText(char* buffer, size_t bufferSize) = 0;
  //! A value of the grabber by number; FgValuePixelClock is the detected pixel clock in Hz.
  virtual int64_t QueryValue(uint32_t valueNumber) = 0;

protected:
  ~IFrameGrabber() = default;
};

//! QueryValue number of the detected pixel clock (Hz).
constexpr uint32_t FgValuePixelClock = 0xC10C;

//! The plug-in library's two exports, by name.
constexpr const char* CreateFrameGrabberObjectName = "CreateFrameGrabberObject";
constexpr const char* DestroyFrameGrabberObjectName = "DestroyFrameGrabberObject";
using CreateFrameGrabberObjectFunction = IFrameGrabber* (*)(const char* parameters);
using DestroyFrameGrabberObjectFunction = void (*)(IFrameGrabber* frameGrabber);

} // namespace Vorla

// A plug-in defines both:
//   VORLA_FG_PLUGIN_EXPORT Vorla::IFrameGrabber* CreateFrameGrabberObject(const char* parameters);
//   VORLA_FG_PLUGIN_EXPORT void DestroyFrameGrabberObject(Vorla::IFrameGrabber* frameGrabber);
