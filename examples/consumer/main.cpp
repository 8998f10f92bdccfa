// Lists the transport layers of an installed SDK; fails when the Camera Link one is missing.
#include <VorlaBase/VorlaBase.h>

#include <cstdio>

int main() {
  Vorla::TlInfoList tls;
  Vorla::CTlFactory::GetInstance().EnumerateTls(tls);
  for (const Vorla::CTlInfo& tl : tls) {
    std::printf("%s: %s\n", tl.GetDeviceClass().c_str(), tl.GetFullName().c_str());
    if (tl.GetDeviceClass() == "HexmarCameraLink")
      return 0;
  }
  std::fprintf(stderr, "no Camera Link transport layer in %s\n",
               Vorla::CTlFactory::GetInstance().GetPluginFolder().c_str());
  return 1;
}
