#include <platform/DynamicLibrary.h>

#include <dlfcn.h>

namespace Vorla {
namespace Platform {

CDynamicLibrary::~CDynamicLibrary() { Free(); }

bool CDynamicLibrary::Load(const std::string& path) {
  if (path.empty()) {
    m_lastError = "empty library path";
    return false;
  }
  void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    const char* err = ::dlerror();
    m_lastError = err ? err : "unknown error";
    return false;
  }
  Free();
  m_handle = handle;
  m_lastError.clear();
  return true;
}

void CDynamicLibrary::Free() {
  if (m_handle) {
    ::dlclose(m_handle);
    m_handle = nullptr;
  }
}

void* CDynamicLibrary::Symbol(const char* name) const {
  return m_handle ? ::dlsym(m_handle, name) : nullptr;
}

const char* CDynamicLibrary::Suffix() { return ".so"; }

std::string CDynamicLibrary::PathOfAddress(const void* address) {
  Dl_info info{};
  if (::dladdr(const_cast<void*>(address), &info) == 0 || !info.dli_fname)
    return std::string();
  return info.dli_fname;
}

std::string CDynamicLibrary::NativePath(std::string path) { return path; }

void CDynamicLibrary::DisableThreadNotifications(void*) {}

} // namespace Platform
} // namespace Vorla
