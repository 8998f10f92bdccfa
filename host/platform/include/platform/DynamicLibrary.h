#pragma once
#include <platform/Visibility.h>

#include <string>

namespace Vorla {
namespace Platform {

//! One loaded dynamic library. Loading suppresses the system's critical-error dialogs (Windows)
//! and restores the previous error mode; a library already held is freed only after the new
//! one has loaded, so a failed load keeps the old one.
class VORLA_PLATFORM_API CDynamicLibrary {
public:
  CDynamicLibrary() = default;
  ~CDynamicLibrary();
  CDynamicLibrary(const CDynamicLibrary&) = delete;
  CDynamicLibrary& operator=(const CDynamicLibrary&) = delete;

  //! Loads `path` as given (the caller does any separator conversion).
  bool Load(const std::string& path);
  void Free();
  bool IsLoaded() const { return m_handle != nullptr; }
  void* Symbol(const char* name) const;
  //! The loader's text for the last failure of Load on this object.
  const std::string& LastError() const { return m_lastError; }

  //! Library file suffix of this platform: ".dll" or ".so".
  static const char* Suffix();
  //! Full path of the loaded library that contains `address`, empty if unknown.
  static std::string PathOfAddress(const void* address);
  //! Path separators as the platform's loader wants them ('/' -> '\' on Windows only).
  static std::string NativePath(std::string path);
  //! Stops thread attach/detach notifications to a library's entry point (Windows; elsewhere
  //! there are none).
  static void DisableThreadNotifications(void* module);

private:
  void* m_handle = nullptr;
  std::string m_lastError;
};

} // namespace Platform
} // namespace Vorla
