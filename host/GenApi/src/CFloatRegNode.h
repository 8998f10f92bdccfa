#pragma once
#include "CFloatBase.h"
#include "CRegisterAccess.h"

namespace GenApi {

//! FloatReg: an IEEE single (4 bytes) or double (8 bytes) in a register.
class CFloatRegNode : public CFloatBase {
public:
  explicit CFloatRegNode(CNodeMap& map) : CFloatBase(map, ENodeType::FloatReg) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  CRegisterAccess& Register() { return m_Register; }
  void CollectOwned(std::vector<CNodeBase*>& owned) override { m_Register.CollectOwned(owned); }
  void Link() override;
  double GetFloatV(bool verify, bool ignoreCache) override;
  void SetFloatV(double value, bool verify) override;
  EAccessMode NaturalAccessMode() const override { return m_Register.Mode(); }
  void InvalidateOwn() override { m_Register.Invalidate(); }
  ECachingMode GetCachingMode() const override { return m_Register.CachingMode(); }
  bool IsValueCacheValid() const override { return m_Register.IsCacheValid(); }

private:
  int64_t Length(bool ignoreCache) const;

  CRegisterAccess m_Register;
  bool m_BigEndian = false;
};

} // namespace GenApi
