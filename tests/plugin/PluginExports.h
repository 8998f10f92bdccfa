#pragma once
// The plug-in's exports, as the host's factory sees them.
#include <VorlaBase/ITransportLayer.h>

extern "C" {
Vorla::ITransportLayer* Create(const Vorla::CTlInfo& info);
void Destroy(Vorla::ITransportLayer* tl);
Vorla::CTlInfo& GetTLInfo();
int DllMain(void* hModule, unsigned long reason, void* reserved);
}
