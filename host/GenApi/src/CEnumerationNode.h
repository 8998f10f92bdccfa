#pragma once
#include "CEnumEntryNode.h"
#include "CValueSource.h"

#include <GenApi/IEnumeration.h>

#include <memory>

namespace GenApi {

//! Enumeration: maps entry names to the integer value of a literal or a pValue node.
class CEnumerationNode : public CNodeBase, public IEnumeration {
public:
  explicit CEnumerationNode(CNodeMap& map)
      : CNodeBase(map, ENodeType::Enumeration), m_Source(false) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  void AddEntry(std::unique_ptr<CEnumEntryNode> entry);
  void CollectOwned(std::vector<CNodeBase*>& owned) override;
  void Link() override;
  bool IsNumeric() const override { return true; }
  int64_t GetIntV(bool verify, bool ignoreCache) override;
  void SetIntV(int64_t value, bool verify) override;
  EAccessMode NaturalAccessMode() const override;
  void InvalidateOwn() override;
  ECachingMode GetCachingMode() const override;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIEnumeration; }
  CEnumEntryNode* FindSymbolic(const std::string& symbolic) const;

  void GetSymbolics(gcstring_vector& Symbolics) override;
  void GetEntries(NodeList_t& Entries) override;
  void SetIntValue(int64_t Value, bool Verify = true) override;
  int64_t GetIntValue(bool Verify = false, bool IgnoreCache = false) override;
  IEnumEntry* GetEntryByName(const gcstring& Symbolic) override;
  IEnumEntry* GetEntry(int64_t IntValue) override;
  IEnumEntry* GetCurrentEntry(bool Verify = false, bool IgnoreCache = false) override;
  gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
  void FromString(const gcstring& ValueStr, bool Verify = true) override;

private:
  CEnumEntryNode* FindValue(int64_t value) const;

  CValueSource m_Source;
  std::vector<std::unique_ptr<CEnumEntryNode>> m_Entries;
};

} // namespace GenApi
