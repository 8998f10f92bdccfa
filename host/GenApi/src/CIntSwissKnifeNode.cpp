#include "CIntSwissKnifeNode.h"

namespace GenApi {

int64_t CIntSwissKnifeNode::GetIntV(bool verify, bool ignoreCache) {
  return Compute(ignoreCache);
}

} // namespace GenApi
