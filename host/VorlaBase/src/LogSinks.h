#pragma once
#include <VorlaBase/Logging.h>

#include <mutex>

namespace vxlog {
// A capture receives every line from registration until it unregisters itself.
void RegisterCapture(CLogCapture* capture);
void UnregisterCapture(CLogCapture* capture);
// The one lock of the logging state; captures keep their lines under it too, so that logging
// never nests two locks.
std::unique_lock<std::mutex> LockSinks();
} // namespace vxlog
