#pragma once
#include "CNumRef.h"
#include "CPortNode.h"

#include <memory>
#include <vector>

namespace GenApi {

//! The register part shared by IntReg, MaskedIntReg, StructEntry, FloatReg, StringReg and
//! Register nodes: address sum, length, access mode, port and caching.
class CRegisterAccess {
public:
  //! Takes the register child elements; false for others.
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr);
  //! An unnamed IntSwissKnife whose value is one more address term.
  void AddAddressTerm(std::unique_ptr<CNodeBase> term) { m_Terms.push_back(std::move(term)); }
  void CollectOwned(std::vector<CNodeBase*>& owned);
  void Link(CNodeBase& owner);

  //! Longest register a description may ask for: lengths come from the device or the file and
  //! become allocation sizes, so anything longer is refused before allocating.
  static constexpr int64_t MaxLength = int64_t(1) << 20;

  int64_t Address(bool ignoreCache) const;
  //! The length in bytes; throws OutOfRangeException naming the node unless 1..MaxLength.
  int64_t Length(bool ignoreCache) const;
  bool HasLiteralLength() const { return m_Length.HasLiteral; }
  int64_t LiteralLength() const { return m_Length.Int; }
  EAccessMode XmlMode() const { return m_Mode; }
  EAccessMode Mode() const;
  ECachingMode CachingMode() const { return m_Caching; }
  //! Reads `length` bytes, from the cache when allowed and valid.
  void Read(CNodeBase& owner, uint8_t* buffer, int64_t length, bool ignoreCache);
  void Write(CNodeBase& owner, const uint8_t* buffer, int64_t length);
  void Invalidate();
  bool IsCacheValid() const;

private:
  CPortNode& Port(CNodeBase& owner) const;
  void Remember(CPortNode::CacheEntry* entry);

  struct Index {
    CRef Node;
    bool HasOffset = false;
    int64_t Offset = 0;
    CRef OffsetNode;
  };
  int64_t m_Literal = 0; // sum of the Address elements
  std::vector<CRef> m_Addresses;
  std::vector<std::unique_ptr<CNodeBase>> m_Terms;
  std::vector<Index> m_Indexes;
  CNumRef m_Length;
  EAccessMode m_Mode = RO;
  CRef m_Port;
  const CNodeBase* m_pOwner = nullptr; // the register node, for errors
  ECachingMode m_Caching = WriteThrough;
  std::vector<CPortNode::CacheEntry*> m_Entries; // every slot this register used
};

} // namespace GenApi
