#include "CFloatNode.h"

namespace GenApi {

double CFloatNode::GetFloatV(bool verify, bool ignoreCache) {
  return Read(verify, ignoreCache);
}

void CFloatNode::SetFloatV(double value, bool verify) {
  Write(value, verify);
}

double CFloatNode::GetFloatMinV() {
  return Minimum();
}

double CFloatNode::GetFloatMaxV() {
  return Maximum();
}

bool CFloatNode::GetFloatIncV(double& inc) {
  if (!m_Inc.IsSet())
    return false;
  inc = Limit(m_Inc);
  return true;
}

} // namespace GenApi
