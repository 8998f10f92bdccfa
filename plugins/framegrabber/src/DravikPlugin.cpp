// Entry points of the Dravik frame-grabber plug-in.
#include "FrameGrabber.h"

VORLA_FG_PLUGIN_EXPORT Vorla::IFrameGrabber* CreateFrameGrabberObject(const char*) {
  try {
    return new FrameGrabber::CFrameGrabber("Dravik", FrameGrabber::ELineLayout::Pitched);
  } catch (...) {
    return nullptr;
  }
}

VORLA_FG_PLUGIN_EXPORT void DestroyFrameGrabberObject(Vorla::IFrameGrabber* frameGrabber) {
  delete static_cast<FrameGrabber::CFrameGrabber*>(frameGrabber);
}
