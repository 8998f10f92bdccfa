#pragma once
#include "CIntegerBase.h"
#include "CRegisterBase.h"

namespace GenApi {

//! IntReg, MaskedIntReg and StructEntry: an integer in a register, whole or as a bit field.
class CIntRegNode : public CRegisterBase<CIntegerBase> {
public:
  CIntRegNode(CNodeMap& map, ENodeType type) : CRegisterBase(map, type) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  int64_t GetIntMinV() override;
  int64_t GetIntMaxV() override;

private:
  int64_t Length(bool ignoreCache) const;
  //! Field position in little-endian bit numbering (bit 0 = least significant); throws when the
  //! field does not lie within `length` bytes (the length may come from the device).
  void Field(int64_t length, int& lsb, int& width) const;

  bool m_Signed = false;
  bool m_BigEndian = false;
  bool m_Masked = false;
  int64_t m_Lsb = -1, m_Msb = -1;
};

} // namespace GenApi
