// Entry points of the Melsor frame-grabber plug-in.
#include "FrameGrabber.h"

VORLA_FG_PLUGIN_EXPORT Vorla::IFrameGrabber* CreateFrameGrabberObject(const char*) {
  try {
    return new FrameGrabber::CFrameGrabber("Melsor", FrameGrabber::ELineLayout::Contiguous);
  } catch (...) {
    return nullptr;
  }
}

VORLA_FG_PLUGIN_EXPORT void DestroyFrameGrabberObject(Vorla::IFrameGrabber* frameGrabber) {
  delete static_cast<FrameGrabber::CFrameGrabber*>(frameGrabber);
}
