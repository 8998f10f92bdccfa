#pragma once
// Where the warnings of the GenApi and CLProtocol libraries go.
#include <GenApi/GenApiDll.h>

namespace GenApi {

//! Receives one warning of the GenApi library, e.g. category "GenApi.Loader" and text "The
//! description refers to the missing node 'Device' ...". Called on the thread that caused the
//! warning, possibly on several threads at once; must not throw.
using LogFunction = void (*)(const char* category, const char* text);

//! Installs the receiver of the warnings and returns the previous one; null restores the
//! default, one line on standard error. The host's logging installs itself while it is loaded.
//! Thread-safe.
GENAPI_API LogFunction SetLogFunction(LogFunction function);

//! Formats a warning printf-style and hands it to the installed receiver; the host libraries
//! (GenApi, CLProtocol) warn through it. Thread-safe.
GENAPI_API void LogWarning(const char* category, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;

} // namespace GenApi
