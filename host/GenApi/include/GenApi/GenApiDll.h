#pragma once
#include <platform/Visibility.h>

#ifdef GENAPI_EXPORTS
#define GENAPI_API VORLA_DLL_EXPORT
#else
#define GENAPI_API VORLA_DLL_IMPORT
#endif
