// The XML bindings file as a user or an installer may leave it, read the way device creation
// does (folder from VORLA_XML_BINDINGS, parse, first matching entry). Only GenICam exceptions may
// leave; nothing outside the file is read and no text grows past the reader's bounds.
#include <VorlaBase/ConfigFileRegistry.h>
#include <VorlaBase/DeviceInfo.h>
#include <VorlaBase/Logging.h>

#include <Base/GCException.h>

#include "FuzzScratch.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {
std::string g_path;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const std::string folder = FuzzScratchFolder();
  setenv("VORLA_XML_BINDINGS", folder.c_str(), 1);
  g_path = folder + "/XmlFileBindings.xml";
  vxlog::LogSetFilter("4096");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Vorla::CConfigFileRegistry& registry = Vorla::CConfigFileRegistry::GetInstance();
  // A missing file empties the registry's cache, so that every input is parsed.
  unlink(g_path.c_str());
  registry.GetXmlFileBinding(Vorla::CDeviceInfo());
  FILE* file = std::fopen(g_path.c_str(), "wb");
  if (!file)
    std::abort();
  std::fwrite(data, 1, size, file);
  std::fclose(file);

  Vorla::CDeviceInfo camera;
  camera.SetVendorName("Hexmar");
  camera.SetModelName("HX1300");
  try {
    registry.GetXmlFileBinding(camera);
  } catch (const GenICam::GenericException&) {
  }
  return 0;
}
