#pragma once
// Where the lines that CLProtocol drivers log go.
#include <CLProtocol/CLProtocol.h>
#include <CLProtocol/CLProtocolDef.h>

namespace CLProtocol {

//! Receives one line a CLProtocol driver logs, with the driver's level (a CLP_LOG_LEVEL_VALUE:
//! lower is more severe). Called on the thread the driver logs on, possibly on several at once;
//! must not throw.
using DriverLogFunction = void (*)(CLINT32 level, const char* text);

//! Installs the receiver of every driver line down to notices and returns the previous one. Null
//! restores the default: warnings and errors as the platform's debug output. Thread-safe.
CLPROTOCOL_API DriverLogFunction SetDriverLogFunction(DriverLogFunction function);

} // namespace CLProtocol
