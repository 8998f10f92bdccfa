#include <platform/SystemPaths.h>

#include <shlobj.h>
#include <shlwapi.h>
#include <windows.h>
// shlwapi.h maps PathAppend to PathAppendA: the DLL must export the name its header declares.
#undef PathAppend

namespace Vorla {
namespace Platform {

std::string MachineConfigFolder() {
  char buffer[MAX_PATH];
  if (FAILED(::SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA | CSIDL_FLAG_CREATE, nullptr, 0,
                                buffer)))
    return std::string();
  return buffer;
}

std::string PathAppend(const std::string& base, const std::string& more) {
  char buffer[MAX_PATH];
  lstrcpynA(buffer, base.c_str(), MAX_PATH);
  ::PathAppendA(buffer, more.c_str());
  return buffer;
}

void DebugOutput(const char* text) { ::OutputDebugStringA(text ? text : ""); }

} // namespace Platform
} // namespace Vorla
