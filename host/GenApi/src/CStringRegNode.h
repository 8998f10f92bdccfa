#pragma once
#include "CNodeBase.h"
#include "CRegisterAccess.h"

#include <GenApi/IString.h>

namespace GenApi {

//! StringReg: NUL-terminated text in a fixed-length register.
class CStringRegNode : public CNodeBase, public IString {
public:
  explicit CStringRegNode(CNodeMap& map) : CNodeBase(map, ENodeType::StringReg) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  CRegisterAccess& Register() { return m_Register; }
  void CollectOwned(std::vector<CNodeBase*>& owned) override { m_Register.CollectOwned(owned); }
  void Link() override;
  EAccessMode NaturalAccessMode() const override { return m_Register.Mode(); }
  void InvalidateOwn() override { m_Register.Invalidate(); }
  ECachingMode GetCachingMode() const override { return m_Register.CachingMode(); }
  bool IsValueCacheValid() const override { return m_Register.IsCacheValid(); }
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }

  void SetValue(const gcstring& Value, bool Verify = true) override;
  gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override;
  int64_t GetMaxLength() override;
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
  CRegisterAccess m_Register;
};

} // namespace GenApi
