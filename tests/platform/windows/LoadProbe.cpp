// A DLL that records, while Windows loads it, the process error mode and the path it was loaded
// from: what the loader saw during LoadLibraryA, observed from inside.
#include <windows.h>

extern "C" {
__declspec(dllexport) UINT g_errorModeAtLoad = 0xFFFFFFFFu;
__declspec(dllexport) char g_loadedFrom[MAX_PATH] = {};
}

BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_errorModeAtLoad = ::GetErrorMode();
    ::GetModuleFileNameA(self, g_loadedFrom, MAX_PATH);
  }
  return TRUE;
}
