// Linked into every test program: no test reads or fills the user's description cache, however
// it is started. Tests of the cache point it at a folder of their own.
#include <cstdlib>

namespace {

struct SNoDescriptionCache {
  SNoDescriptionCache() { ::setenv("VORLA_DESCRIPTION_CACHE", "off", 1); }
} const g_NoDescriptionCache;

} // namespace
