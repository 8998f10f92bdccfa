#include "CBooleanNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

namespace GenApi {

bool CBooleanNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::OnValue || prop == EProp::OffValue) {
    if (!ParseInt64(text, prop == EProp::OnValue ? m_On : m_Off))
      throw RUNTIME_EXCEPTION("Invalid integer '%s'", text.c_str());
    return true;
  }
  if (prop == EProp::Value && (text == "true" || text == "false"))
    return m_Source.SetProperty(prop, text == "true" ? "1" : "0", attr);
  return m_Source.SetProperty(prop, text, attr) || CNodeBase::SetProperty(prop, text, attr);
}

int64_t CBooleanNode::GetIntV(bool verify, bool ignoreCache) {
  return m_Source.GetInt(verify, ignoreCache) == m_On ? 1 : 0;
}

void CBooleanNode::SetIntV(int64_t value, bool verify) {
  m_pMap->PreWrite(this);
  m_Source.SetInt(value ? m_On : m_Off, verify);
  m_pMap->PostWrite(this);
}

EAccessMode CBooleanNode::NaturalAccessMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetAccessMode() : RW;
}

void CBooleanNode::InvalidateOwn() {
  if (CNodeBase* value = m_Source.ValueNode())
    value->InvalidateOwn();
}

void CBooleanNode::SetValue(bool Value, bool Verify) {
  CEntryGuard guard(*this, "SetValue");
  CheckWritable();
  SetIntV(Value ? 1 : 0, Verify);
  guard.Done();
}

bool CBooleanNode::GetValue(bool Verify, bool IgnoreCache) const {
  auto& self = const_cast<CBooleanNode&>(*this);
  CEntryGuard guard(*this, "GetValue");
  CheckReadable();
  const bool value = self.GetIntV(Verify, IgnoreCache || Verify) != 0;
  guard.Done();
  return value;
}

gcstring CBooleanNode::ToString(bool Verify, bool IgnoreCache) {
  return GetValue(Verify, IgnoreCache) ? "1" : "0";
}

void CBooleanNode::FromString(const gcstring& ValueStr, bool Verify) {
  if (ValueStr == "1" || ValueStr == "true" || ValueStr == "True")
    return SetValue(true, Verify);
  if (ValueStr == "0" || ValueStr == "false" || ValueStr == "False")
    return SetValue(false, Verify);
  throw GENAPI_NODE_ERROR(InvalidArgumentException)(
      "Node '%s' : cannot convert string '%s' to bool.", m_Name.c_str(), ValueStr.c_str());
}

} // namespace GenApi
