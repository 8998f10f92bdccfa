#pragma once
#include "CNodeBase.h"
#include "CRegisterBase.h"

#include <GenApi/IRegister.h>

namespace GenApi {

//! Register: raw bytes.
class CRegisterNode : public CRegisterBase<CNodeBase, IRegister> {
public:
  explicit CRegisterNode(CNodeMap& map) : CRegisterBase(map, ENodeType::Register) {}
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
};

} // namespace GenApi
