#include "CPortNode.h"

#include "CEntryGuard.h"
#include "CNodeMap.h"

#include <algorithm>
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

CPortNode::CacheEntry& CPortNode::Entry(int64_t address, int64_t length) {
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

void CPortNode::DeviceWrite(const uint8_t* buffer, int64_t address, int64_t length,
                            bool writeThrough) {
  if (m_SwapEndianess) {
    std::vector<uint8_t> swapped(buffer, buffer + length);
    Swap(swapped.data(), length);
    m_pPort->Write(swapped.data(), address, length);
  } else {
    m_pPort->Write(buffer, address, length);
  }
  // Every slot overlapping [address, address + length) starts at or after address - maxLength.
  const int64_t end = address + length;
  for (auto it = m_Cache.lower_bound({address - m_MaxLength, 0});
       it != m_Cache.end() && it->first.first < end; ++it) {
    const int64_t slotStart = it->first.first;
    const int64_t slotEnd = slotStart + it->first.second;
    if (slotEnd <= address || !it->second.Valid)
      continue;
    if (!writeThrough) {
      it->second.Valid = false;
      continue;
    }
    const int64_t from = std::max(slotStart, address);
    const int64_t to = std::min(slotEnd, end);
    std::memcpy(it->second.Bytes.data() + (from - slotStart), buffer + (from - address),
                static_cast<size_t>(to - from));
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
