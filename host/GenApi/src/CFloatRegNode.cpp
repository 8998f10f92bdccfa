#include "CFloatRegNode.h"

#include "CNodeMap.h"

#include <algorithm>
#include <cstring>

namespace GenApi {

bool CFloatRegNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::Endianess) {
    if (text != "BigEndian" && text != "LittleEndian")
      throw RUNTIME_EXCEPTION("Invalid byte order '%s'", text.c_str());
    m_BigEndian = text == "BigEndian";
    return true;
  }
  if (prop == EProp::Sign)
    return true; // some files give one; a float has its own sign
  return CRegisterBase::SetProperty(prop, text, attr);
}

void CFloatRegNode::Link() {
  CRegisterBase::Link();
  if (m_Register.HasLiteralLength())
    Length(false);
}

int64_t CFloatRegNode::Length(bool ignoreCache) const {
  const int64_t length =
      m_Register.HasLiteralLength() ? m_Register.LiteralLength() : m_Register.Length(ignoreCache);
  if (length != 4 && length != 8)
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': Length %lld is neither 4 nor 8",
                                              m_Name.c_str(), static_cast<long long>(length));
  return length;
}

double CFloatRegNode::GetFloatV(bool verify, bool ignoreCache) {
  const int64_t length = Length(ignoreCache);
  uint8_t bytes[8];
  m_Register.Read(*this, bytes, length, ignoreCache);
  if (m_BigEndian)
    std::reverse(bytes, bytes + length);
  if (length == 4) {
    float value;
    std::memcpy(&value, bytes, 4);
    return value;
  }
  double value;
  std::memcpy(&value, bytes, 8);
  return value;
}

void CFloatRegNode::SetFloatV(double value, bool verify) {
  m_pMap->PreWrite(this);
  const int64_t length = Length(false);
  uint8_t bytes[8];
  if (length == 4) {
    const auto single = static_cast<float>(value);
    std::memcpy(bytes, &single, 4);
  } else {
    std::memcpy(bytes, &value, 8);
  }
  if (m_BigEndian)
    std::reverse(bytes, bytes + length);
  m_Register.Write(*this, bytes, length);
  m_pMap->PostWrite(this);
}

} // namespace GenApi
