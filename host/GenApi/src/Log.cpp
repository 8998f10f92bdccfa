#include "Log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace GenApi {
namespace {

void ToStandardError(const char* category, const char* text) {
  std::fprintf(stderr, "%s: %s\n", category, text);
}

// Owner: the library; swapped atomically, so warnings need no lock.
std::atomic<LogFunction> g_LogFunction{nullptr};

} // namespace

LogFunction SetLogFunction(LogFunction function) {
  return g_LogFunction.exchange(function);
}

void LogWarning(const char* category, const char* format, ...) {
  char text[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  const LogFunction function = g_LogFunction.load();
  (function ? function : ToStandardError)(category, text);
}

} // namespace GenApi
