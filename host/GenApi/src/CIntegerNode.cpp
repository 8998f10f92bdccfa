#include "CIntegerNode.h"

namespace GenApi {

int64_t CIntegerNode::GetIntV(bool verify, bool ignoreCache) {
  return Read(verify, ignoreCache);
}

void CIntegerNode::SetIntV(int64_t value, bool verify) {
  Write(value, verify);
}

int64_t CIntegerNode::GetIntMinV() {
  return Minimum();
}

int64_t CIntegerNode::GetIntMaxV() {
  return Maximum();
}

int64_t CIntegerNode::GetIntIncV() {
  if (m_Inc.IsSet())
    return Limit(m_Inc);
  CNodeBase* value = m_Source.ValueNode();
  return value && !value->IsFloatValue() ? value->GetIntIncV() : 1;
}

} // namespace GenApi
