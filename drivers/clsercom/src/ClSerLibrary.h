#pragma once
// What the shared Camera Link serial functions need of clsercom: its port class and its name.
#include "ComPort.h"

namespace ClSerLibrary {
using CPort = ClSerCom::CComPort;
constexpr char kManufacturer[] = "COM";
} // namespace ClSerLibrary
