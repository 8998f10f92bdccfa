#pragma once
#include <CLProtocol/ClSerialTypes.h>

#include <string>

namespace CLProtocol {

class CProtocolDriver;
class CSerialLibrary;

//! The text of a Camera Link status: the driver's own text first, then the serial library's,
//! then the standard one. Either source may be null.
std::string ErrorText(CLINT32 code, const CProtocolDriver* driver, CLUINT32 cookie,
                      const CSerialLibrary* library);

} // namespace CLProtocol
