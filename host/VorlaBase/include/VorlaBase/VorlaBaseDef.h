#pragma once
#include <platform/Visibility.h>

#ifdef VORLABASE_EXPORTS
#define VORLABASE_API VORLA_DLL_EXPORT
#else
#define VORLABASE_API VORLA_DLL_IMPORT
#endif
