// DeviceID strings as drivers and configuration files hand them over: parse, and use every
// accessor, including the expansion of "$(VAR)" references in the driver directory.
#include <CLProtocol/DeviceID.h>

#include <Base/GCException.h>

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CLProtocol::CDeviceID id;
  try {
    if (!id.FromString(text)) {
      if (id.GetNumTokens() != 0 || !id.GetCameraManufacturer().empty())
        __builtin_trap(); // a refused text leaves every token empty
      return 0;
    }
    CLProtocol::CDeviceID again;
    // What was accepted is written out again in a form that parses to the same tokens.
    if (!again.FromString(id.ToString()) || again.ToString() != id.ToString())
      __builtin_trap();
    (void)id.GetDriverPath(true);
    (void)id.GetDriverPath(false);
    (void)id.GetShortDeviceID();
    (void)id.GetCameraSerialNumber();
  } catch (const GenICam::GenericException&) {
  }
  return 0;
}
