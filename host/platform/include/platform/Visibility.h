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

// Interfaces that cross library boundaries keep one type identity (typeinfo, vtable) in every
// module, so dynamic_cast works between the host, plug-ins and drivers.
#if defined(_WIN32)
#define VORLA_INTERFACE
#else
#define VORLA_INTERFACE __attribute__((visibility("default")))
#endif
