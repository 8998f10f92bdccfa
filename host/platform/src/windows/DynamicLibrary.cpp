#include <platform/DynamicLibrary.h>

#include <windows.h>

namespace Vorla {
namespace Platform {

CDynamicLibrary::~CDynamicLibrary() { Free(); }

bool CDynamicLibrary::Load(const std::string& path) {
  if (path.empty()) {
    m_lastError = "empty library path";
    return false;
  }
  const UINT previous = ::SetErrorMode(SEM_FAILCRITICALERRORS);
  HMODULE handle = ::LoadLibraryA(path.c_str());
  ::SetErrorMode(previous);
  if (!handle) {
    m_lastError = "LoadLibrary failed with error " + std::to_string(::GetLastError());
    return false;
  }
  Free();
  m_handle = handle;
  m_lastError.clear();
  return true;
}

void CDynamicLibrary::Free() {
  if (m_handle) {
    ::FreeLibrary(static_cast<HMODULE>(m_handle));
    m_handle = nullptr;
  }
}

void* CDynamicLibrary::Symbol(const char* name) const {
  return m_handle ? reinterpret_cast<void*>(::GetProcAddress(static_cast<HMODULE>(m_handle), name))
                  : nullptr;
}

const char* CDynamicLibrary::Suffix() { return ".dll"; }

std::string CDynamicLibrary::PathOfAddress(const void* address) {
  HMODULE module = nullptr;
  if (!::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCSTR>(address), &module))
    return std::string();
  char buffer[MAX_PATH];
  const DWORD n = ::GetModuleFileNameA(module, buffer, MAX_PATH);
  return std::string(buffer, n);
}

std::string CDynamicLibrary::NativePath(std::string path) {
  for (char& c : path)
    if (c == '/')
      c = '\\';
  return path;
}

void CDynamicLibrary::DisableThreadNotifications(void* module) {
  ::DisableThreadLibraryCalls(static_cast<HMODULE>(module));
}

} // namespace Platform
} // namespace Vorla
