#include "CConverterNode.h"

namespace GenApi {

double CConverterNode::GetFloatV(bool verify, bool ignoreCache) {
  return Convert(verify, ignoreCache);
}

void CConverterNode::SetFloatV(double value, bool verify) {
  ConvertBack(value, verify);
}

double CConverterNode::GetFloatMinV() {
  double min = 0, max = 0;
  Limits(min, max);
  return min;
}

double CConverterNode::GetFloatMaxV() {
  double min = 0, max = 0;
  Limits(min, max);
  return max;
}

} // namespace GenApi
