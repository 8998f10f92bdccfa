#pragma once
// What the shared Camera Link serial functions need of clsertty: its port class and its name.
#include "TtyPort.h"

namespace ClSerLibrary {
using CPort = ClSerTty::CTtyPort;
constexpr char kManufacturer[] = "TTY";
} // namespace ClSerLibrary
