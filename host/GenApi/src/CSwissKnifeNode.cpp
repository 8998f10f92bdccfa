#include "CSwissKnifeNode.h"

namespace GenApi {

double CSwissKnifeNode::GetFloatV(bool verify, bool ignoreCache) {
  return Compute(ignoreCache);
}

} // namespace GenApi
