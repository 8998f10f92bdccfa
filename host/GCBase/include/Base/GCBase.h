#pragma once
// Umbrella header of the GenICam base: strings, exceptions and utilities.
#include <Base/GCException.h>
#include <Base/GCString.h>
#include <Base/GCUtilities.h>
