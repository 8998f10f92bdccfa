#pragma once
#include "CRegisterAccess.h"

namespace GenApi {

//! What the register node types (IntReg, MaskedIntReg, StructEntry, FloatReg, StringReg,
//! Register) share: the register elements, and access mode and caching taken from the register.
//! TBase is the node base, TInterfaces the public interfaces the node adds to it.
template <class TBase, class... TInterfaces>
class CRegisterBase : public TBase, public TInterfaces... {
public:
  CRegisterBase(CNodeMap& map, ENodeType type) : TBase(map, type) {}

  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override {
    return m_Register.SetProperty(prop, text, attr) || TBase::SetProperty(prop, text, attr);
  }
  CRegisterAccess& Register() { return m_Register; }
  void CollectOwned(std::vector<CNodeBase*>& owned) override { m_Register.CollectOwned(owned); }
  void Link() override {
    TBase::Link();
    m_Register.Link(*this);
  }
  EAccessMode NaturalAccessMode() const override { return m_Register.Mode(); }
  void InvalidateOwn() override { m_Register.Invalidate(); }
  ECachingMode GetCachingMode() const override { return m_Register.CachingMode(); }
  bool IsValueCacheValid() const override { return m_Register.IsCacheValid(); }

protected:
  CRegisterAccess m_Register;
};

} // namespace GenApi
