#pragma once
#include <platform/Visibility.h>

#ifdef CLPROTOCOL_EXPORTS
#define CLPROTOCOL_API VORLA_DLL_EXPORT
#else
#define CLPROTOCOL_API VORLA_DLL_IMPORT
#endif
