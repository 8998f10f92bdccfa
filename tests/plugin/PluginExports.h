#pragma once
// The plug-in's exports, as the host's factory sees them.
#include <VorlaBase/ITransportLayer.h>

extern "C" {
Vorla::ITransportLayer* Create(const Vorla::CTlInfo& info);
void Destroy(Vorla::ITransportLayer* tl);
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wreturn-type-c-linkage" // C linkage, C++ result: as exported
#endif
Vorla::CTlInfo& GetTLInfo();
#if defined(__clang__)
#pragma clang diagnostic pop
#endif
int DllMain(void* hModule, unsigned long reason, void* reserved);
}
