#pragma once
#include "CNodeBase.h"
#include "CRegisterAccess.h"

#include <GenApi/IRegister.h>

namespace GenApi {

//! Register: raw bytes.
class CRegisterNode : public CNodeBase, public IRegister {
public:
  explicit CRegisterNode(CNodeMap& map) : CNodeBase(map, ENodeType::Register) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  CRegisterAccess& Register() { return m_Register; }
  void CollectOwned(std::vector<CNodeBase*>& owned) override { m_Register.CollectOwned(owned); }
  void Link() override;
  EAccessMode NaturalAccessMode() const override { return m_Register.Mode(); }
  void InvalidateOwn() override { m_Register.Invalidate(); }
  ECachingMode GetCachingMode() const override { return m_Register.CachingMode(); }
  bool IsValueCacheValid() const override { return m_Register.IsCacheValid(); }
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIRegister; }

  void Set(const uint8_t* pBuffer, int64_t Length, bool Verify = true) override;
  void Get(uint8_t* pBuffer, int64_t Length, bool Verify = false,
           bool IgnoreCache = false) override;
  int64_t GetLength() override;
  int64_t GetAddress() override;
  //! Hex digits, two per byte, in register order.
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
  void CheckLength(int64_t length);
  CRegisterAccess m_Register;
};

} // namespace GenApi
