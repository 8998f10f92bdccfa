#pragma once
// dlopen and friends over LoadLibraryA for the test suites' Windows build.
#include <windows.h>

#define RTLD_NOW 2
#define RTLD_NOLOAD 4

inline void* dlopen(const char* path, int flags) {
  HMODULE module = nullptr;
  if (flags & RTLD_NOLOAD) // only a module that is loaded already, with one more reference
    ::GetModuleHandleExA(0, path, &module);
  else
    module = ::LoadLibraryA(path);
  return module;
}

inline void* dlsym(void* module, const char* name) {
  return reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(module), name));
}

inline int dlclose(void* module) {
  return ::FreeLibrary(static_cast<HMODULE>(module)) ? 0 : -1;
}
