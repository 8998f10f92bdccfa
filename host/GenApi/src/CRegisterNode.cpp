#include "CRegisterNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

#include <cstdio>

namespace GenApi {

void CRegisterNode::CheckLength(int64_t length) {
  const int64_t own = m_Register.Length(false);
  if (length != own)
    throw GENAPI_NODE_ERROR(OutOfRangeException)("Node '%s': buffer of %lld bytes for %lld",
                                                 m_Name.c_str(), static_cast<long long>(length),
                                                 static_cast<long long>(own));
}

void CRegisterNode::Set(const uint8_t* pBuffer, int64_t Length, bool Verify) {
  CEntryGuard guard(*this, "Set");
  ThrowIfNotImplemented();
  if (!GenApi::IsWritable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not writable");
  CheckLength(Length);
  m_pMap->PreWrite(this);
  m_Register.Write(*this, pBuffer, Length);
  m_pMap->PostWrite(this);
  guard.Done();
}

void CRegisterNode::Get(uint8_t* pBuffer, int64_t Length, bool Verify, bool IgnoreCache) {
  CEntryGuard guard(*this, "Get");
  ThrowIfNotImplemented();
  if (!GenApi::IsReadable(GetAccessMode()))
    throw GENAPI_NODE_ERROR(AccessException)("Node is not readable");
  CheckLength(Length);
  m_Register.Read(*this, pBuffer, Length, IgnoreCache || Verify);
  guard.Done();
}

int64_t CRegisterNode::GetLength() {
  CEntryGuard guard(*this, "GetLength");
  const int64_t length = m_Register.Length(false);
  guard.Done();
  return length;
}

int64_t CRegisterNode::GetAddress() {
  CEntryGuard guard(*this, "GetAddress");
  const int64_t address = m_Register.Address(false);
  guard.Done();
  return address;
}

gcstring CRegisterNode::ToString(bool Verify, bool IgnoreCache) {
  std::vector<uint8_t> bytes(static_cast<size_t>(GetLength()));
  Get(bytes.data(), static_cast<int64_t>(bytes.size()), Verify, IgnoreCache);
  gcstring text;
  char hex[3];
  for (uint8_t byte : bytes) {
    std::snprintf(hex, sizeof hex, "%02x", byte);
    text += hex;
  }
  return text;
}

void CRegisterNode::FromString(const gcstring& ValueStr, bool Verify) {
  std::vector<uint8_t> bytes(static_cast<size_t>(GetLength()));
  if (ValueStr.size() != 2 * bytes.size())
    throw GENAPI_NODE_ERROR(InvalidArgumentException)(
        "Node '%s' : cannot convert string '%s' to %zu bytes.", m_Name.c_str(), ValueStr.c_str(),
        bytes.size());
  for (size_t i = 0; i < bytes.size(); ++i) {
    unsigned byte = 0;
    if (std::sscanf(ValueStr.c_str() + 2 * i, "%2x", &byte) != 1)
      throw GENAPI_NODE_ERROR(InvalidArgumentException)(
          "Node '%s' : cannot convert string '%s' to bytes.", m_Name.c_str(), ValueStr.c_str());
    bytes[i] = static_cast<uint8_t>(byte);
  }
  Set(bytes.data(), static_cast<int64_t>(bytes.size()), Verify);
}

} // namespace GenApi
