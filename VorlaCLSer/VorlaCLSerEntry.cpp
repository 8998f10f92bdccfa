// The library's entry points: the three exports the host's factory calls and the library entry
// point with its reason table.
#include "VorlaCLSerTl.h"

#include <platform/DynamicLibrary.h>
#include <platform/SystemPaths.h>
#include <vorla/VorlaCLSerDef.h>

#include <new>

namespace Vorla {
namespace {

class CCLSerTlInfo : public CTlInfo {
public:
  CCLSerTlInfo() {
    SetDeviceClass(CLSerDeviceClass);
    SetFullName(gcstring("Camera Link") + "/" + CLSerDeviceClass + " 2.3.5.2633");
    SetVendorName("Camera Link");
    SetFriendlyName("Camera Link");
  }
};

// The single transport layer; the host calls the exports from one thread at a time.
CVorlaCLSerTl* g_pTransportLayer = nullptr;
// This module while it is attached.
void* g_hModule = nullptr;

} // namespace

CTlInfo& GetCLSerTlInfo() {
  static CCLSerTlInfo info;
  return info;
}

} // namespace Vorla

using Vorla::CTlInfo;
using Vorla::ITransportLayer;

enum {
  DLL_PROCESS_DETACH = 0,
  DLL_PROCESS_ATTACH = 1,
  DLL_THREAD_ATTACH = 2,
  DLL_THREAD_DETACH = 3
};

extern "C" {

VORLACLSER_API ITransportLayer* Create(const CTlInfo& info) {
  if (info.GetDeviceClass() != Vorla::CLSerDeviceClass)
    return nullptr;
  if (!Vorla::g_pTransportLayer)
    Vorla::g_pTransportLayer = new (std::nothrow) Vorla::CVorlaCLSerTl;
  return Vorla::g_pTransportLayer;
}

VORLACLSER_API void Destroy(ITransportLayer* tl) {
  if (!tl)
    return;
  if (tl == Vorla::g_pTransportLayer)
    Vorla::g_pTransportLayer = nullptr;
  delete dynamic_cast<Vorla::CVorlaCLSerTl*>(tl);
}

// The host's loader expects exactly this export: C linkage for the name, a C++ reference as the
// result. Both sides are C++, so the compilers' "not C compatible" warning does not apply.
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage"
#elif defined(_MSC_VER)
#pragma warning(push)
#pragma warning(disable : 4190)
#endif
VORLACLSER_API CTlInfo& GetTLInfo() {
  return Vorla::GetCLSerTlInfo();
}
#if defined(__clang__)
#pragma clang diagnostic pop
#elif defined(_MSC_VER)
#pragma warning(pop)
#endif

//! The library entry point, with the reasons of the Windows loader.
VORLACLSER_API int DllMain(void* hModule, unsigned long reason, void* /*reserved*/) {
  switch (reason) {
  case DLL_PROCESS_ATTACH:
    Vorla::g_hModule = hModule;
    Vorla::Platform::CDynamicLibrary::DisableThreadNotifications(hModule);
    break;
  case DLL_PROCESS_DETACH:
    Vorla::g_hModule = nullptr;
    break;
  case DLL_THREAD_ATTACH:
  case DLL_THREAD_DETACH:
    break;
  default:
    Vorla::Platform::DebugOutput("*** Invalid ul_reason_for_call!!! ***");
    break;
  }
  return 1;
}

} // extern "C"

#if !defined(_WIN32)
// Off Windows the loader's constructor and destructor hooks stand in for the entry point.
__attribute__((constructor)) static void VorlaCLSerAttach() {
  DllMain(&Vorla::g_hModule, DLL_PROCESS_ATTACH, nullptr);
}
__attribute__((destructor)) static void VorlaCLSerDetach() {
  DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
#endif
