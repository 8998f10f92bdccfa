#include "CIntConverterNode.h"

namespace GenApi {

int64_t CIntConverterNode::GetIntV(bool verify, bool ignoreCache) {
  return Convert(verify, ignoreCache);
}

void CIntConverterNode::SetIntV(int64_t value, bool verify) {
  ConvertBack(value, verify);
}

int64_t CIntConverterNode::GetIntMinV() {
  int64_t min = 0, max = 0;
  Limits(min, max);
  return min;
}

int64_t CIntConverterNode::GetIntMaxV() {
  int64_t min = 0, max = 0;
  Limits(min, max);
  return max;
}

} // namespace GenApi
