#pragma once
#include "CNodeBase.h"

#include <GenApi/IString.h>

namespace GenApi {

//! String: an in-memory text, or the value of another string node (pValue).
class CStringNode : public CNodeBase, public IString {
public:
  explicit CStringNode(CNodeMap& map) : CNodeBase(map, ENodeType::String) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override;
  EAccessMode NaturalAccessMode() const override;
  void InvalidateOwn() override;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }

  void SetValue(const gcstring& Value, bool Verify = true) override;
  gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override;
  int64_t GetMaxLength() override;
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
  IString* Target() const;

  std::string m_Value;
  CRef m_pValue;
};

} // namespace GenApi
