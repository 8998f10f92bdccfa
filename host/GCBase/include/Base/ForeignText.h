#pragma once
// Texts from outside the host that a GenICam convention reads as printf-style formats.
#include <Base/GCBaseDef.h>
#include <Base/GCString.h>

namespace GenICam {

//! Formats a text from outside the host (a plug-in's error text) as a printf-style format that
//! was given no arguments, into 256 bytes like FormatMessage256: "%%" gives '%', and numeric
//! conversions keep their flags, width and precision and print the value 0; conversions that
//! would read a string or a pointer, write memory or take a width from the arguments ("%s",
//! "%n", "%p", "%c", "%*d", unknown ones) stay as written. Thread-safe.
GCBASE_API gcstring FormatForeignText256(const char* text);

} // namespace GenICam
