#pragma once
#include <platform/Visibility.h>

#ifdef VORLA_CAMSIM_EXPORTS
#define CAMSIM_API VORLA_DLL_EXPORT
#else
#define CAMSIM_API VORLA_DLL_IMPORT
#endif
