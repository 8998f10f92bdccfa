// A broken frame-grabber plug-in: it exports the create function but no destroy function.
#include <vorla/IFrameGrabber.h>

#include <atomic>

namespace {
std::atomic<int> s_CreateCalls{0};
}

VORLA_FG_PLUGIN_EXPORT Vorla::IFrameGrabber* CreateFrameGrabberObject(const char*) {
  ++s_CreateCalls;
  return nullptr;
}

//! How often create was called (the stream grabber must never call it).
VORLA_FG_PLUGIN_EXPORT int TestCreateCalls() {
  return s_CreateCalls;
}
