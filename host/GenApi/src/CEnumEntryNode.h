#pragma once
#include "CNodeBase.h"

#include <GenApi/IEnumEntry.h>

namespace GenApi {

//! An entry of an Enumeration; found in the map as "<Enumeration>_<Entry>".
class CEnumEntryNode : public CNodeBase, public IEnumEntry {
public:
  explicit CEnumEntryNode(CNodeMap& map) : CNodeBase(map, ENodeType::EnumEntry) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void SetSymbolic(const std::string& symbolic) { m_Symbolic = symbolic; }
  const std::string& Symbolic() const { return m_Symbolic; }
  int64_t Value() const { return m_Value; }
  bool IsNumeric() const override { return true; }
  int64_t GetIntV(bool verify, bool ignoreCache) override { return m_Value; }
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumEntry; }

  int64_t GetValue() override { return m_Value; }
  gcstring GetSymbolic() const override { return m_Symbolic; }
  double GetNumericValue() override { return m_HasNumeric ? m_Numeric : double(m_Value); }
  bool IsSelfClearing() override { return m_SelfClearing; }
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override { return m_Symbolic; }

private:
  std::string m_Symbolic;
  int64_t m_Value = 0;
  bool m_HasValue = false;
  double m_Numeric = 0;
  bool m_HasNumeric = false;
  bool m_SelfClearing = false;

public:
  bool HasValue() const { return m_HasValue; }
};

} // namespace GenApi
