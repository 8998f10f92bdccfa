#include "ErrorText.h"

#include "ProtocolDriver.h"
#include "SerialLibrary.h"

#include <CLProtocol/ClErrorText.h>

namespace CLProtocol {

std::string ErrorText(CLINT32 code, const CProtocolDriver* driver, CLUINT32 cookie,
                      const CSerialLibrary* library) {
  std::string text;
  if (driver && driver->ErrorText(code, cookie, text))
    return text;
  if (library && library->ErrorText(code, text))
    return text;
  if (const char* standard = StandardErrorText(code))
    return standard;
  return "Camera Link error " + std::to_string(code);
}

} // namespace CLProtocol
