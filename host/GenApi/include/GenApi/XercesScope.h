#pragma once
// The process's one use of Xerces-C, shared by every library that parses XML.
#include <GenApi/GenApiDll.h>

#include <cstdint>

namespace GenApi {

//! Keeps Xerces-C usable while it lives. The node-map loader and the transport layer's
//! configuration reader hold one around each parse instead of calling
//! XMLPlatformUtils::Initialize/Terminate themselves.
//!
//! The first scope of the process initialises Xerces (about a millisecond); every later scope
//! only counts. Xerces then stays initialised until the process ends or this library is
//! unloaded, so that a program loading many small descriptions pays the initialisation once.
//! Applications may still pair Initialize/Terminate calls of their own: Xerces counts them, and
//! the one held here keeps their Terminate from pulling Xerces away from a running parse.
//!
//! Thread-safe: scopes may be created and destroyed on any thread, also concurrently.
class GENAPI_API CXercesScope {
public:
  //! Initialises Xerces when no scope of the process has done so yet; lets the
  //! xercesc::XMLException of a failed initialisation pass, and a later scope tries again.
  CXercesScope();
  ~CXercesScope();
  CXercesScope(const CXercesScope&) = delete;
  CXercesScope& operator=(const CXercesScope&) = delete;

  //! The number of scopes alive now.
  static uint64_t Count();
};

} // namespace GenApi
