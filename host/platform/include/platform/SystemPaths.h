#pragma once
#include <platform/Visibility.h>

#include <string>

namespace Vorla {
namespace Platform {
//! The folder of an installation root that holds the host libraries and, below vorla/, the
//! run-time loaded modules: DLLs sit in bin on Windows.
#if defined(_WIN32)
inline constexpr char kLibraryFolder[] = "bin";
#else
inline constexpr char kLibraryFolder[] = "lib";
#endif
//! The machine-wide application data folder (Windows: common application data; elsewhere the
//! first entry of XDG_CONFIG_DIRS, default /etc/xdg). Empty when it cannot be determined.
VORLA_PLATFORM_API std::string MachineConfigFolder();
//! Appends one path element with the platform's separator.
VORLA_PLATFORM_API std::string PathAppend(const std::string& base, const std::string& more);
//! Writes one line to the debugger output (standard error off Windows).
VORLA_PLATFORM_API void DebugOutput(const char* text);
} // namespace Platform
} // namespace Vorla
