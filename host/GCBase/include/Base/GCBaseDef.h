#pragma once
#include <platform/Visibility.h>

#ifdef GCBASE_EXPORTS
#define GCBASE_API VORLA_DLL_EXPORT
#else
#define GCBASE_API VORLA_DLL_IMPORT
#endif
