#include "CRegisterAccess.h"

#include "CNodeMap.h"

#include <algorithm>
#include <cstring>

namespace GenApi {

bool CRegisterAccess::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  int64_t value = 0;
  switch (prop) {
  case EProp::Address:
    if (!ParseInt64(text, value))
      throw RUNTIME_EXCEPTION("Invalid address '%s'", text.c_str());
    // Several Address elements add up, wrapping like the device's address space.
    m_Literal =
        static_cast<int64_t>(static_cast<uint64_t>(m_Literal) + static_cast<uint64_t>(value));
    return true;
  case EProp::pAddress:
    m_Addresses.push_back(CRef{text, nullptr});
    return true;
  case EProp::pIndex: {
    Index index;
    index.Node.Name = text;
    if (!attr.Offset.empty()) {
      if (!ParseInt64(attr.Offset, index.Offset))
        throw RUNTIME_EXCEPTION("Invalid offset '%s'", attr.Offset.c_str());
      index.HasOffset = true;
    }
    index.OffsetNode.Name = attr.pOffset;
    m_Indexes.push_back(index);
    return true;
  }
  case EProp::Length:
    if (!ParseInt64(text, value) || value <= 0)
      throw RUNTIME_EXCEPTION("Invalid length '%s'", text.c_str());
    m_Length.HasLiteral = true;
    m_Length.Int = value;
    return true;
  case EProp::pLength:
    m_Length.Ref.Name = text;
    return true;
  case EProp::AccessMode:
    if (!ParseAccessMode(text, m_Mode))
      throw RUNTIME_EXCEPTION("Invalid access mode '%s'", text.c_str());
    return true;
  case EProp::pPort:
    m_Port.Name = text;
    return true;
  case EProp::Cachable:
    if (text == "NoCache")
      m_Caching = NoCache;
    else if (text == "WriteThrough")
      m_Caching = WriteThrough;
    else if (text == "WriteAround")
      m_Caching = WriteAround;
    else
      throw RUNTIME_EXCEPTION("Invalid caching mode '%s'", text.c_str());
    return true;
  default:
    return false;
  }
}

void CRegisterAccess::CollectOwned(std::vector<CNodeBase*>& owned) {
  for (const auto& term : m_Terms)
    owned.push_back(term.get());
}

void CRegisterAccess::Link(CNodeBase& owner) {
  m_pOwner = &owner;
  for (CRef& ref : m_Addresses) {
    owner.Resolve(ref, "pAddress");
    owner.AddChild(ref.p);
  }
  for (const auto& term : m_Terms)
    owner.AddChild(term.get());
  for (Index& index : m_Indexes) {
    owner.Resolve(index.Node, "pIndex");
    owner.Resolve(index.OffsetNode, "pOffset");
    owner.AddChild(index.Node.p);
    owner.AddChild(index.OffsetNode.p);
  }
  owner.Resolve(m_Length.Ref, "pLength");
  owner.AddChild(m_Length.Ref.p);
  if (!m_Length.IsSet())
    throw GENAPI_OWNER_ERROR(RuntimeException, owner)("Node '%s' has no Length",
                                                      owner.Name().c_str());
  if (!m_Port.IsSet())
    throw CMissingReference{"'" + owner.Name() + "' has no pPort"};
  owner.Resolve(m_Port, "pPort");
  if (m_Port.p && m_Port.p->Type() != ENodeType::Port)
    throw GENAPI_OWNER_ERROR(RuntimeException, owner)("Node '%s': pPort '%s' is not a Port node",
                                                      owner.Name().c_str(), m_Port.Name.c_str());
  owner.AddChild(m_Port.p, false);
  for (CRef* ref : {&m_Length.Ref})
    if (ref->p && !ref->p->IsNumeric())
      throw GENAPI_OWNER_ERROR(RuntimeException, owner)(
          "Node '%s': '%s' is not an integer-like node", owner.Name().c_str(), ref->Name.c_str());
}

int64_t CRegisterAccess::Address(bool ignoreCache) const {
  m_pOwner->ThrowIfNotImplemented();                   // an address node may be missing
  uint64_t address = static_cast<uint64_t>(m_Literal); // wraps like the device's address space
  if (m_Addresses.empty() && m_Terms.empty() && m_Indexes.empty())
    return static_cast<int64_t>(address);
  m_pOwner->Map().Step();
  for (const CRef& ref : m_Addresses)
    address += static_cast<uint64_t>(ref.p->GetIntV(false, ignoreCache));
  for (const auto& term : m_Terms)
    address += static_cast<uint64_t>(term->GetIntV(false, ignoreCache));
  for (const Index& index : m_Indexes) {
    const int64_t offset = index.OffsetNode.p ? index.OffsetNode.p->GetIntV(false, ignoreCache)
                           : index.HasOffset  ? index.Offset
                                              : Length(ignoreCache);
    address += static_cast<uint64_t>(index.Node.p->GetIntV(false, ignoreCache)) *
               static_cast<uint64_t>(offset);
  }
  return static_cast<int64_t>(address);
}

int64_t CRegisterAccess::Length(bool ignoreCache) const {
  m_pOwner->ThrowIfNotImplemented(); // the length node may be missing
  const int64_t length = m_Length.GetInt(ignoreCache);
  if (length < 1 || length > MaxLength)
    throw GENAPI_OWNER_ERROR(OutOfRangeException, *m_pOwner)(
        "Node '%s': register length %lld is outside 1..%lld bytes", m_pOwner->Name().c_str(),
        static_cast<long long>(length), static_cast<long long>(MaxLength));
  return length;
}

EAccessMode CRegisterAccess::Mode() const {
  return m_Port.p ? Combine(m_Mode, m_Port.p->GetAccessMode()) : NI;
}

CPortNode& CRegisterAccess::Port(CNodeBase& owner) const {
  auto* port = static_cast<CPortNode*>(m_Port.p);
  if (!port)
    throw GENAPI_OWNER_ERROR(AccessException, owner)("Node '%s' has no port", owner.Name().c_str());
  if (!port->IsConnected())
    throw GENAPI_OWNER_ERROR(AccessException, owner)("Node '%s': port '%s' is not connected",
                                                     owner.Name().c_str(), m_Port.Name.c_str());
  return *port;
}

void CRegisterAccess::Remember(CPortNode::CacheEntry* entry) {
  if (std::find(m_Entries.begin(), m_Entries.end(), entry) == m_Entries.end())
    m_Entries.push_back(entry);
}

void CRegisterAccess::Read(CNodeBase& owner, uint8_t* buffer, int64_t length, bool ignoreCache) {
  CPortNode& port = Port(owner);
  const int64_t address = Address(ignoreCache);
  CPortNode::CacheEntry* entry = nullptr;
  if (m_Caching != NoCache) {
    entry = &port.Entry(static_cast<uint64_t>(address), length);
    Remember(entry);
    if (entry->Valid && !ignoreCache) {
      std::memcpy(buffer, entry->Bytes.data(), static_cast<size_t>(length));
      return;
    }
  }
  port.DeviceRead(buffer, address, length);
  if (entry) {
    entry->Bytes.assign(buffer, buffer + length);
    entry->Valid = true;
  }
}

void CRegisterAccess::Write(CNodeBase& owner, const uint8_t* buffer, int64_t length) {
  CPortNode& port = Port(owner);
  const int64_t address = Address(false);
  port.DeviceWrite(buffer, static_cast<uint64_t>(address), length, m_Caching == WriteThrough);
  if (m_Caching == NoCache)
    return;
  CPortNode::CacheEntry& entry = port.Entry(static_cast<uint64_t>(address), length);
  Remember(&entry);
  if (m_Caching == WriteThrough) {
    entry.Bytes.assign(buffer, buffer + length);
    entry.Valid = true;
  } else {
    entry.Valid = false;
  }
}

void CRegisterAccess::Invalidate() {
  for (CPortNode::CacheEntry* entry : m_Entries)
    entry->Valid = false;
}

bool CRegisterAccess::IsCacheValid() const {
  return !m_Entries.empty() &&
         std::all_of(m_Entries.begin(), m_Entries.end(), [](auto* e) { return e->Valid; });
}

} // namespace GenApi
