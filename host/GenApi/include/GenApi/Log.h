#pragma once
// Where the GenApi library's own warnings go.
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

} // namespace GenApi
