#pragma once
#include <GenApi/Log.h>

namespace GenApi {

//! Formats printf-style and hands the warning to the installed receiver.
void LogWarning(const char* category, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 2, 3)))
#endif
    ;

} // namespace GenApi
