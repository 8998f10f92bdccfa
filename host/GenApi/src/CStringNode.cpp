#include "CStringNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

namespace GenApi {

bool CStringNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::Value)
    return m_Value = text, true;
  if (prop == EProp::pValue)
    return m_pValue.Name = text, true;
  return CNodeBase::SetProperty(prop, text, attr);
}

void CStringNode::Link() {
  CNodeBase::Link();
  Resolve(m_pValue, "pValue");
  if (m_pValue.p && !dynamic_cast<IString*>(m_pValue.p))
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': '%s' is not a string node",
                                              m_Name.c_str(), m_pValue.Name.c_str());
  AddChild(m_pValue.p);
}

IString* CStringNode::Target() const {
  return m_pValue.p ? dynamic_cast<IString*>(m_pValue.p) : nullptr;
}

EAccessMode CStringNode::NaturalAccessMode() const {
  return m_pValue.p ? m_pValue.p->GetAccessMode() : RW;
}

void CStringNode::InvalidateOwn() {
  if (m_pValue.p)
    m_pValue.p->InvalidateOwn();
}

void CStringNode::SetValue(const gcstring& Value, bool Verify) {
  CEntryGuard guard(*this, "SetValue");
  ThrowIfNotImplemented();
  if (!GenApi::IsWritable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not writable");
  m_pMap->PreWrite(this);
  if (IString* target = Target())
    target->SetValue(Value, Verify);
  else
    m_Value = Value;
  m_pMap->PostWrite(this);
  guard.Done();
}

gcstring CStringNode::GetValue(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "GetValue");
  ThrowIfNotImplemented();
  if (!GenApi::IsReadable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not readable");
  IString* target = Target();
  gcstring value = target ? target->GetValue(Verify, IgnoreCache) : m_Value;
  guard.Done();
  return value;
}

int64_t CStringNode::GetMaxLength() {
  IString* target = Target();
  return target ? target->GetMaxLength() : 1 << 16;
}

gcstring CStringNode::ToString(bool Verify, bool IgnoreCache) {
  return GetValue(Verify, IgnoreCache);
}

void CStringNode::FromString(const gcstring& ValueStr, bool Verify) {
  SetValue(ValueStr, Verify);
}

} // namespace GenApi
