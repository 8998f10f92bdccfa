#pragma once
// Xerces-C counts XMLPlatformUtils::Initialize/Terminate calls without a lock of its own. Every
// library of the process that starts or stops Xerces (the node-map loader, the transport layer's
// configuration reader) takes this one lock around those calls, so no count is lost.
#include <GenApi/GenApiDll.h>

#include <mutex>

namespace GenApi {
GENAPI_API std::mutex& XercesLifetimeLock();
} // namespace GenApi
