#pragma once
#include "CFloatBase.h"
#include "CRegisterBase.h"

namespace GenApi {

//! FloatReg: an IEEE single (4 bytes) or double (8 bytes) in a register.
class CFloatRegNode : public CRegisterBase<CFloatBase> {
public:
  explicit CFloatRegNode(CNodeMap& map) : CRegisterBase(map, ENodeType::FloatReg) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  double GetFloatV(bool verify, bool ignoreCache) override;
  void SetFloatV(double value, bool verify) override;

private:
  int64_t Length(bool ignoreCache) const;

  bool m_BigEndian = false;
};

} // namespace GenApi
