#include "CIntRegNode.h"

#include "CNodeMap.h"

#include <algorithm>
#include <limits>

namespace GenApi {

bool CIntRegNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  switch (prop) {
  case EProp::Sign:
    if (text != "Signed" && text != "Unsigned")
      throw RUNTIME_EXCEPTION("Invalid sign '%s'", text.c_str());
    m_Signed = text == "Signed";
    return true;
  case EProp::Endianess:
    if (text != "BigEndian" && text != "LittleEndian")
      throw RUNTIME_EXCEPTION("Invalid byte order '%s'", text.c_str());
    m_BigEndian = text == "BigEndian";
    return true;
  case EProp::Bit:
  case EProp::LSB:
  case EProp::MSB: {
    int64_t bit = 0;
    if (!ParseInt64(text, bit) || bit < 0 || bit > 63)
      throw RUNTIME_EXCEPTION("Invalid bit number '%s'", text.c_str());
    if (prop != EProp::MSB)
      m_Lsb = bit;
    if (prop != EProp::LSB)
      m_Msb = bit;
    m_Masked = true;
    return true;
  }
  default:
    return CRegisterBase::SetProperty(prop, text, attr);
  }
}

void CIntRegNode::Link() {
  CRegisterBase::Link();
  if (m_Register.HasLiteralLength() &&
      (m_Register.LiteralLength() < 1 || m_Register.LiteralLength() > 8))
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': Length %lld is not 1..8 bytes",
                                              m_Name.c_str(),
                                              static_cast<long long>(m_Register.LiteralLength()));
  if (m_Type == ENodeType::MaskedIntReg || m_Type == ENodeType::StructEntry) {
    if (m_Lsb < 0 || m_Msb < 0)
      throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s' has no Bit or LSB/MSB", m_Name.c_str());
    if (m_Register.HasLiteralLength()) {
      int lsb = 0, width = 0;
      Field(m_Register.LiteralLength(), lsb, width);
    }
    m_Masked = true;
  } else {
    m_Masked = false;
  }
}

int64_t CIntRegNode::Length(bool ignoreCache) const {
  const int64_t length = m_Register.Length(ignoreCache);
  if (length < 1 || length > 8)
    throw GENAPI_NODE_ERROR(RuntimeException)("Node '%s': Length %lld is not 1..8 bytes",
                                              m_Name.c_str(), static_cast<long long>(length));
  return length;
}

void CIntRegNode::Field(int64_t length, int& lsb, int& width) const {
  int64_t low = m_Lsb, high = m_Msb;
  if (m_BigEndian) { // bit 0 is the most significant bit of the register
    low = 8 * length - 1 - m_Lsb;
    high = 8 * length - 1 - m_Msb;
  }
  if (low > high)
    std::swap(low, high);
  if (low < 0 || high >= 8 * length)
    throw GENAPI_NODE_ERROR(RuntimeException)(
        "Node '%s': bits %lld..%lld outside the register of %lld bytes", m_Name.c_str(),
        static_cast<long long>(m_Lsb), static_cast<long long>(m_Msb),
        static_cast<long long>(length));
  lsb = static_cast<int>(low);
  width = static_cast<int>(high - low + 1);
}

namespace {

uint64_t Assemble(const uint8_t* bytes, int64_t length, bool bigEndian) {
  uint64_t raw = 0;
  for (int64_t i = 0; i < length; ++i)
    raw |= static_cast<uint64_t>(bytes[bigEndian ? length - 1 - i : i]) << (8 * i);
  return raw;
}

void Disassemble(uint64_t raw, uint8_t* bytes, int64_t length, bool bigEndian) {
  for (int64_t i = 0; i < length; ++i)
    bytes[bigEndian ? length - 1 - i : i] = static_cast<uint8_t>(raw >> (8 * i));
}

uint64_t Mask(int width) {
  return width >= 64 ? ~uint64_t(0) : (uint64_t(1) << width) - 1;
}

int64_t Extend(uint64_t value, int width, bool isSigned) {
  if (isSigned && width < 64 && (value >> (width - 1) & 1))
    value |= ~Mask(width);
  return static_cast<int64_t>(value);
}

} // namespace

int64_t CIntRegNode::GetIntV(bool verify, bool ignoreCache) {
  const int64_t length = Length(ignoreCache);
  uint8_t bytes[8];
  m_Register.Read(*this, bytes, length, ignoreCache);
  const uint64_t raw = Assemble(bytes, length, m_BigEndian);
  int lsb = 0, width = static_cast<int>(8 * length);
  if (m_Masked)
    Field(length, lsb, width);
  return Extend(raw >> lsb & Mask(width), width, m_Signed);
}

void CIntRegNode::SetIntV(int64_t value, bool verify) {
  m_pMap->PreWrite(this);
  const int64_t length = Length(false);
  uint8_t bytes[8] = {};
  uint64_t raw = static_cast<uint64_t>(value);
  if (m_Masked) {
    int lsb = 0, width = 0;
    Field(length, lsb, width);
    uint64_t current = 0;
    if (GenApi::IsReadable(m_Register.XmlMode())) { // read-modify-write keeps the other fields
      m_Register.Read(*this, bytes, length, true);
      current = Assemble(bytes, length, m_BigEndian);
    }
    const uint64_t mask = Mask(width) << lsb;
    raw = (current & ~mask) | (static_cast<uint64_t>(value) << lsb & mask);
  }
  Disassemble(raw, bytes, length, m_BigEndian);
  m_Register.Write(*this, bytes, length);
  m_pMap->PostWrite(this);
}

int64_t CIntRegNode::GetIntMinV() {
  const int64_t length = Length(false);
  int lsb = 0, width = static_cast<int>(8 * length);
  if (m_Masked)
    Field(length, lsb, width);
  if (!m_Signed)
    return 0;
  return width >= 64 ? std::numeric_limits<int64_t>::min() : -(int64_t(1) << (width - 1));
}

int64_t CIntRegNode::GetIntMaxV() {
  const int64_t length = Length(false);
  int lsb = 0, width = static_cast<int>(8 * length);
  if (m_Masked)
    Field(length, lsb, width);
  if (m_Signed)
    return width >= 64 ? std::numeric_limits<int64_t>::max() : (int64_t(1) << (width - 1)) - 1;
  return width >= 63 ? std::numeric_limits<int64_t>::max() : (int64_t(1) << width) - 1;
}

} // namespace GenApi
