#include <GenApi/XercesScope.h>

#include <xercesc/util/PlatformUtils.hpp>

#include <atomic>
#include <mutex>

namespace GenApi {
namespace {

// Owner: the process (one instance, created by the first scope, destroyed at exit or when this
// library is unloaded).
struct SXercesProcess {
  std::once_flag Initialised; // Xerces' own count is not thread-safe: initialise exactly once
  bool Held = false;          // written once under Initialised
  std::atomic<uint64_t> Scopes{0};

  ~SXercesProcess() {
    // A scope still alive at exit (a detached thread mid-parse) keeps Xerces for its parse.
    if (Held && Scopes.load() == 0)
      xercesc::XMLPlatformUtils::Terminate();
  }
};

SXercesProcess& Process() {
  static SXercesProcess process;
  return process;
}

} // namespace

CXercesScope::CXercesScope() {
  SXercesProcess& process = Process();
  std::call_once(process.Initialised, [&process] {
    xercesc::XMLPlatformUtils::Initialize();
    process.Held = true;
  });
  process.Scopes.fetch_add(1);
}

CXercesScope::~CXercesScope() {
  Process().Scopes.fetch_sub(1);
}

uint64_t CXercesScope::Count() {
  return Process().Scopes.load();
}

} // namespace GenApi
