#pragma once
// The few POSIX calls the test suites make, and where they find the debugger output, in Windows
// terms, so that the suites build for Windows unchanged. The Windows build force-includes this
// header into every test source and puts this folder on the include path (for <dlfcn.h> and
// <poll.h>).
#define _USE_MATH_DEFINES // M_PI and friends, as <cmath> has them on POSIX systems
#ifndef NOMINMAX
#define NOMINMAX // std::min and std::max stay functions
#endif
#include <windows.h>

#include <direct.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

// Both the C runtime's copy of the environment (getenv) and the process's (what the host reads
// with GetEnvironmentVariableA); an empty value stays set in the latter.
inline int setenv(const char* name, const char* value, int overwrite) {
  if (!overwrite && std::getenv(name))
    return 0;
  ::_putenv_s(name, value);
  return ::SetEnvironmentVariableA(name, value) ? 0 : -1;
}

inline int unsetenv(const char* name) {
  ::_putenv_s(name, "");
  return ::SetEnvironmentVariableA(name, nullptr) ? 0 : -1;
}

inline char* mkdtemp(char* pattern) {
  if (::_mktemp_s(pattern, std::strlen(pattern) + 1) != 0 || ::_mkdir(pattern) != 0)
    return nullptr;
  return pattern;
}

// Windows file systems have no FIFOs: the FIFO cases meet a missing file instead.
inline int mkfifo(const char*, int) {
  return -1;
}

// The debugger output where POSIX systems write it: OutputDebugStringA raises this exception,
// which a first vectored handler sees before the system does; it becomes a line on stderr.
inline LONG CALLBACK vorla_debug_output_to_stderr(EXCEPTION_POINTERS* e) {
  if (e->ExceptionRecord->ExceptionCode != DBG_PRINTEXCEPTION_C)
    return EXCEPTION_CONTINUE_SEARCH;
  const auto* text = reinterpret_cast<const char*>(e->ExceptionRecord->ExceptionInformation[1]);
  std::fprintf(stderr, "%s\n", text);
  return EXCEPTION_CONTINUE_EXECUTION;
}
[[gnu::used]] inline void* const vorla_debug_output =
    ::AddVectoredExceptionHandler(1, &vorla_debug_output_to_stderr);
