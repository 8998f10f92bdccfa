#pragma once
#include <platform/Visibility.h>

#ifdef VORLACLSER_EXPORTS
#define VORLACLSER_API VORLA_DLL_EXPORT
#else
#define VORLACLSER_API VORLA_DLL_IMPORT
#endif
