// The XML bindings file as a user or an installer may leave it, read the way device creation
// does (folder from VORLA_XML_BINDINGS, parse, first matching entry). Only GenICam exceptions may
// leave; nothing outside the file is read and no text grows past the reader's bounds.
#include <VorlaBase/ConfigFileRegistry.h>
#include <VorlaBase/DeviceInfo.h>
#include <VorlaBase/Logging.h>

#include "FuzzSupport.h"

#include <cstdint>
#include <string>

namespace {
std::string g_path;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_path = FuzzScratchFile("VORLA_XML_BINDINGS", "XmlFileBindings.xml");
  vxlog::LogSetFilter("4096");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Vorla::CConfigFileRegistry& registry = Vorla::CConfigFileRegistry::GetInstance();
  // A missing file empties the registry's cache, so that every input is parsed.
  unlink(g_path.c_str());
  registry.GetXmlFileBinding(Vorla::CDeviceInfo());
  FuzzWriteFile(g_path, data, size);

  Vorla::CDeviceInfo camera;
  camera.SetVendorName("Hexmar");
  camera.SetModelName("HX1300");
  FuzzTry([&] { registry.GetXmlFileBinding(camera); });
  return 0;
}
