#pragma once
// Symbol visibility of the host libraries and modules: everything is hidden unless marked.
#if defined(_WIN32)
#define VORLA_DLL_EXPORT __declspec(dllexport)
#define VORLA_DLL_IMPORT __declspec(dllimport)
#else
#define VORLA_DLL_EXPORT __attribute__((visibility("default")))
#define VORLA_DLL_IMPORT __attribute__((visibility("default")))
#endif

#ifdef VORLA_PLATFORM_EXPORTS
#define VORLA_PLATFORM_API VORLA_DLL_EXPORT
#else
#define VORLA_PLATFORM_API VORLA_DLL_IMPORT
#endif
