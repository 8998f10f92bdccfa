#pragma once
// How tests steer the test frame-grabber plug-in: it exports TestFrameGrabberControl, which
// returns the control of the object it created last (null when none is alive).
#include <vorla/IFrameGrabber.h>

#include <cstdint>

namespace testfg {

class IControl {
public:
  //! The next call of `operation` ("Open", "StartGrab", "StopGrab") fails with `text`.
  virtual void FailNext(const char* operation, const char* text) = 0;
  //! The frame that Deliver hands over (frame value aside); the memory stays the caller's.
  virtual void SetFrame(const Vorla::FrameDescriptor& frame) = 0;
  //! Delivers `count` more frames from the plug-in's thread while grabbing, frame values 1, 2, ...
  virtual void Deliver(uint64_t count) = 0;
  //! Waits until the frames asked for are delivered or grabbing stops; false after 10 s.
  virtual bool WaitDelivered() = 0;
  virtual uint64_t Delivered() = 0;
  //! How often `operation` was called.
  virtual int Calls(const char* operation) = 0;
  //! What QueryValue answers; it records the number asked for.
  virtual void SetQueryAnswer(int64_t value) = 0;
  virtual uint32_t LastQueryNumber() = 0;

protected:
  ~IControl() = default;
};

using ControlFunction = IControl* (*)();
constexpr const char* ControlFunctionName = "TestFrameGrabberControl";

} // namespace testfg
