#pragma once
#include <VorlaBase/Logging.h>

namespace vxlog {
// A capture receives every line from registration until it unregisters itself.
void RegisterCapture(CLogCapture* capture);
void UnregisterCapture(CLogCapture* capture);
} // namespace vxlog
