#pragma once
#include "CNodeBase.h"
#include "CRegisterBase.h"

#include <GenApi/IString.h>

namespace GenApi {

//! StringReg: NUL-terminated text in a fixed-length register.
class CStringRegNode : public CRegisterBase<CNodeBase, IString> {
public:
  explicit CStringRegNode(CNodeMap& map) : CRegisterBase(map, ENodeType::StringReg) {}
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIString; }

  void SetValue(const gcstring& Value, bool Verify = true) override;
  gcstring GetValue(bool Verify = false, bool IgnoreCache = false) override;
  int64_t GetMaxLength() override;
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;
};

} // namespace GenApi
