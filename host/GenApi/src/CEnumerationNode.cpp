#include "CEnumerationNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

namespace GenApi {

bool CEnumerationNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  return m_Source.SetProperty(prop, text, attr) || CNodeBase::SetProperty(prop, text, attr);
}

void CEnumerationNode::AddEntry(std::unique_ptr<CEnumEntryNode> entry) {
  if (entry->Symbolic().empty())
    entry->SetSymbolic(entry->Name());
  entry->SetName(m_Name + "_" + entry->Name());
  m_Entries.push_back(std::move(entry));
}

void CEnumerationNode::CollectOwned(std::vector<CNodeBase*>& owned) {
  for (const auto& entry : m_Entries)
    owned.push_back(entry.get());
}

void CEnumerationNode::Link() {
  CNodeBase::Link();
  m_Source.Link(*this);
  if (m_Entries.empty())
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s' has no EnumEntry", m_Name.c_str());
  for (const auto& entry : m_Entries) {
    if (!entry->HasValue())
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': entry '%s' has no Value",
                                                m_Name.c_str(), entry->Symbolic().c_str());
    AddChild(entry.get(), false);
  }
}

CEnumEntryNode* CEnumerationNode::FindSymbolic(const std::string& symbolic) const {
  for (const auto& entry : m_Entries)
    if (entry->Symbolic() == symbolic)
      return entry.get();
  return nullptr;
}

CEnumEntryNode* CEnumerationNode::FindValue(int64_t value) const {
  for (const auto& entry : m_Entries)
    if (entry->Value() == value)
      return entry.get();
  return nullptr;
}

int64_t CEnumerationNode::GetIntV(bool verify, bool ignoreCache) {
  return m_Source.GetInt(verify, ignoreCache);
}

void CEnumerationNode::SetIntV(int64_t value, bool verify) {
  m_pMap->PreWrite(this);
  m_Source.SetInt(value, verify);
  m_pMap->PostWrite(this);
}

EAccessMode CEnumerationNode::NaturalAccessMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetAccessMode() : RW;
}

void CEnumerationNode::InvalidateOwn() {
  if (CNodeBase* value = m_Source.ValueNode())
    value->InvalidateOwn();
}

ECachingMode CEnumerationNode::GetCachingMode() const {
  CNodeBase* value = m_Source.ValueNode();
  return value ? value->GetCachingMode() : WriteThrough;
}

void CEnumerationNode::GetSymbolics(gcstring_vector& Symbolics) {
  AutoLock lock(m_pMap->GetLock());
  Symbolics.clear();
  for (const auto& entry : m_Entries)
    if (GenApi::IsAvailable(entry->GetAccessMode()))
      Symbolics.push_back(entry->Symbolic());
}

void CEnumerationNode::GetEntries(NodeList_t& Entries) {
  Entries.clear();
  for (const auto& entry : m_Entries)
    Entries.push_back(entry.get());
}

void CEnumerationNode::SetIntValue(int64_t Value, bool Verify) {
  CEntryGuard guard(*this, "SetIntValue");
  CheckWritable();
  CEnumEntryNode* entry = FindValue(Value);
  if (!entry)
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "Feature '%s' : cannot set value %lld, it is no entry of the enumeration.", m_Name.c_str(),
        static_cast<long long>(Value));
  if (Verify && !GenApi::IsAvailable(entry->GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)(
        "Feature '%s' : cannot set value %lld, the entry is not available.", m_Name.c_str(),
        static_cast<long long>(Value));
  SetIntV(Value, Verify);
  guard.Done();
}

int64_t CEnumerationNode::GetIntValue(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "GetIntValue");
  CheckReadable();
  const int64_t value = GetIntV(Verify, IgnoreCache || Verify);
  if (Verify && !FindValue(value))
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "Feature '%s' : the value %lld is no entry of the enumeration.", m_Name.c_str(),
        static_cast<long long>(value));
  guard.Done();
  return value;
}

IEnumEntry* CEnumerationNode::GetEntryByName(const gcstring& Symbolic) {
  return FindSymbolic(Symbolic);
}

IEnumEntry* CEnumerationNode::GetEntry(int64_t IntValue) {
  return FindValue(IntValue);
}

IEnumEntry* CEnumerationNode::GetCurrentEntry(bool Verify, bool IgnoreCache) {
  return FindValue(GetIntValue(Verify, IgnoreCache));
}

gcstring CEnumerationNode::ToString(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "ToString");
  CheckReadable();
  const int64_t value = GetIntV(Verify, IgnoreCache || Verify);
  CEnumEntryNode* entry = FindValue(value);
  if (!entry)
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "Feature '%s' : the value %lld is no entry of the enumeration.", m_Name.c_str(),
        static_cast<long long>(value));
  guard.Done();
  return entry->Symbolic();
}

void CEnumerationNode::FromString(const gcstring& ValueStr, bool Verify) {
  CEntryGuard guard(*this, "FromString");
  CheckWritable();
  CEnumEntryNode* entry = FindSymbolic(ValueStr);
  if (!entry)
    throw GENAPI_NODE_ERROR(InvalidArgumentException)(
        "Feature '%s' : cannot convert value '%s', the value is invalid.", m_Name.c_str(),
        ValueStr.c_str());
  if (!GenApi::IsAvailable(entry->GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)(
        "Feature '%s' : cannot convert value '%s', the value is not available.", m_Name.c_str(),
        ValueStr.c_str());
  SetIntV(entry->Value(), Verify);
  guard.Done();
}

} // namespace GenApi
