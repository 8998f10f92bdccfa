#include "CPortNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace GenApi {

bool CPortNode::SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) {
  if (prop == EProp::SwapEndianess)
    return ParseYesNo(text, m_SwapEndianess), true;
  if (prop == EProp::ChunkID || prop == EProp::pChunkID)
    return true; // chunk data is not parsed by this engine
  return CNodeBase::SetProperty(prop, text, attr);
}

EAccessMode CPortNode::NaturalAccessMode() const {
  return m_pPort ? m_pPort->GetAccessMode() : NI;
}

void CPortNode::SetPort(IPort* port) {
  m_pPort = port;
  InvalidateCache();
}

CPortNode::CacheEntry& CPortNode::Entry(uint64_t address, int64_t length) {
  m_MaxLength = std::max(m_MaxLength, length);
  return m_Cache[{address, length}];
}

void CPortNode::InvalidateCache() {
  for (auto& entry : m_Cache)
    entry.second.Valid = false;
}

void CPortNode::Swap(uint8_t* buffer, int64_t length) const {
  if (!m_SwapEndianess)
    return;
  for (int64_t i = 0; i + 4 <= length; i += 4) {
    std::swap(buffer[i], buffer[i + 3]);
    std::swap(buffer[i + 1], buffer[i + 2]);
  }
}

void CPortNode::DeviceRead(uint8_t* buffer, int64_t address, int64_t length) {
  m_pPort->Read(buffer, address, length);
  Swap(buffer, length);
}

void CPortNode::DeviceWrite(const uint8_t* buffer, uint64_t address, int64_t length,
                            bool writeThrough) {
  if (m_SwapEndianess) {
    std::vector<uint8_t> swapped(buffer, buffer + length);
    Swap(swapped.data(), length);
    m_pPort->Write(swapped.data(), static_cast<int64_t>(address), length);
  } else {
    m_pPort->Write(buffer, static_cast<int64_t>(address), length);
  }
  // Slots overlapping the write start in [address - maxLength, address + length), taken modulo
  // 2^64; a window that wraps is visited in two pieces.
  const uint64_t first = address - static_cast<uint64_t>(m_MaxLength);
  const uint64_t last = address + static_cast<uint64_t>(length) - 1;
  if (first <= last) {
    UpdateSlots(buffer, address, length, writeThrough, first, last);
  } else {
    UpdateSlots(buffer, address, length, writeThrough, first, UINT64_MAX);
    UpdateSlots(buffer, address, length, writeThrough, 0, last);
  }
}

void CPortNode::UpdateSlots(const uint8_t* buffer, uint64_t address, int64_t length,
                            bool writeThrough, uint64_t first, uint64_t last) {
  const auto size = static_cast<uint64_t>(length);
  for (auto it = m_Cache.lower_bound({first, 0}); it != m_Cache.end() && it->first.first <= last;
       ++it) {
    const uint64_t slot = it->first.first;
    const auto slotSize = static_cast<uint64_t>(it->first.second);
    // Distances modulo 2^64: one range starts inside the other exactly when they overlap.
    if (!it->second.Valid || (slot - address >= size && address - slot >= slotSize))
      continue;
    if (!writeThrough) {
      it->second.Valid = false;
      continue;
    }
    for (uint64_t i = 0; i < slotSize; ++i) {
      const uint64_t offset = slot + i - address;
      if (offset < size)
        it->second.Bytes[i] = buffer[offset];
    }
  }
}

void CPortNode::Read(void* pBuffer, int64_t Address, int64_t Length) {
  CEntryGuard guard(*this, "Read");
  if (!m_pPort)
    throw GENAPI_NODE_ERROR(AccessException)("Port '%s' is not connected", m_Name.c_str());
  m_pPort->Read(pBuffer, Address, Length);
  guard.Done();
}

void CPortNode::Write(const void* pBuffer, int64_t Address, int64_t Length) {
  CEntryGuard guard(*this, "Write");
  if (!m_pPort)
    throw GENAPI_NODE_ERROR(AccessException)("Port '%s' is not connected", m_Name.c_str());
  m_pPort->Write(pBuffer, Address, Length);
  m_pMap->PreWrite(this);
  m_pMap->PostWrite(this);
  guard.Done();
}

} // namespace GenApi
