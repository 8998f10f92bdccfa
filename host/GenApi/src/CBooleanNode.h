#pragma once
#include "CNodeBase.h"
#include "CValueSource.h"

#include <GenApi/IBoolean.h>

namespace GenApi {

//! Boolean: true exactly when the value equals OnValue.
class CBooleanNode : public CNodeBase, public IBoolean {
public:
  explicit CBooleanNode(CNodeMap& map) : CNodeBase(map, ENodeType::Boolean), m_Source(false) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void Link() override { CNodeBase::Link(), m_Source.Link(*this); }
  bool IsNumeric() const override { return true; }
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  int64_t GetIntMinV() override { return 0; }
  int64_t GetIntMaxV() override { return 1; }
  EAccessMode NaturalAccessMode() const override;
  void InvalidateOwn() override;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIBoolean; }

  void SetValue(bool Value, bool Verify = true) override;
  bool GetValue(bool Verify = false, bool IgnoreCache = false) const override;
  //! "1" or "0"; FromString also takes true/false.
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
  CValueSource m_Source;
  int64_t m_On = 1, m_Off = 0;
};

} // namespace GenApi
