// The port configuration file as a user or a tool may leave it: read it the way enumeration does
// (path from VORLA_CL_BINDINGS, parse, table). Only GenICam exceptions may leave, and every entry
// of the table has an id.
#include "PortConfiguration.h"

#include <VorlaBase/Logging.h>

#include <xercesc/util/PlatformUtils.hpp>

#include "FuzzSupport.h"

#include <cstdint>
#include <string>

namespace {
std::string g_path;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_path = FuzzScratchFile("VORLA_CL_BINDINGS", "PortConfiguration_x64.xml");
  vxlog::LogSetFilter("4096"); // parse errors are expected by the thousand
  xercesc::XMLPlatformUtils::Initialize();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzWriteFile(g_path, data, size);

  Vorla::Platform::CRecursiveMutex lock;
  Vorla::CPortConfiguration configuration(lock);
  try {
    configuration.LoadPortConfiguration();
  } catch (const GenICam::GenericException&) {
    return 0;
  }
  for (const Vorla::SPortConfigurationEntry& entry : configuration.GetTable())
    if (entry.ID.empty())
      __builtin_trap();
  return 0;
}
