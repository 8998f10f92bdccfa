#include "CStringRegNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

#include <cstring>

namespace GenApi {

gcstring CStringRegNode::GetValue(bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "GetValue");
  ThrowIfNotImplemented();
  if (!GenApi::IsReadable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not readable");
  const int64_t length = m_Register.Length(IgnoreCache || Verify);
  std::vector<uint8_t> bytes(static_cast<size_t>(length));
  m_Register.Read(*this, bytes.data(), length, IgnoreCache || Verify);
  const auto* text = reinterpret_cast<const char*>(bytes.data());
  gcstring value(text, strnlen(text, bytes.size()));
  guard.Done();
  return value;
}

void CStringRegNode::SetValue(const gcstring& Value, bool Verify) {
  CEntryGuard guard(*this, "SetValue");
  ThrowIfNotImplemented();
  if (!GenApi::IsWritable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not writable");
  const int64_t length = m_Register.Length(false);
  if (static_cast<int64_t>(Value.size()) > length)
    throw GENAPI_NODE_ERROR(OutOfRangeException)(
        "Node '%s': the string is %zu characters long but the register holds only %lld",
        m_Name.c_str(), Value.size(), static_cast<long long>(length));
  m_pMap->PreWrite(this);
  std::vector<uint8_t> bytes(static_cast<size_t>(length), 0); // zero-padded, NUL when room
  std::memcpy(bytes.data(), Value.data(), Value.size());
  m_Register.Write(*this, bytes.data(), length);
  m_pMap->PostWrite(this);
  guard.Done();
}

int64_t CStringRegNode::GetMaxLength() {
  CEntryGuard guard(*this, "GetMaxLength");
  const int64_t length = m_Register.Length(false);
  guard.Done();
  return length;
}

gcstring CStringRegNode::ToString(bool Verify, bool IgnoreCache) {
  return GetValue(Verify, IgnoreCache);
}

void CStringRegNode::FromString(const gcstring& ValueStr, bool Verify) {
  SetValue(ValueStr, Verify);
}

} // namespace GenApi
