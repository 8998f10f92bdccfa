#pragma once
#include "CNodeBase.h"

#include <GenApi/IPort.h>

#include <map>
#include <utility>
#include <vector>

namespace GenApi {

//! A Port node: forwards to the IPort the application connects, and keeps the register cache of
//! that port, shared by every register node on it (so that fields of one register written
//! through different nodes stay consistent).
class CPortNode : public CNodeBase, public IPort {
public:
  struct CacheEntry {
    std::vector<uint8_t> Bytes;
    bool Valid = false;
  };

  explicit CPortNode(CNodeMap& map) : CNodeBase(map, ENodeType::Port) {}
  bool SetProperty(EProp prop, const std::string& text, const CPropAttr& attr) override;
  EAccessMode NaturalAccessMode() const override;
  EInterfaceType GetPrincipalInterfaceType() const override { return intfIPort; }

  void SetPort(IPort* port);
  bool IsConnected() const { return m_pPort != nullptr; }
  //! The cache slot of exactly this range; slots live as long as the node map. Addresses are
  //! unsigned and wrap at 2^64, as the register address sums do.
  CacheEntry& Entry(uint64_t address, int64_t length);
  void DeviceRead(uint8_t* buffer, int64_t address, int64_t length);
  //! Writes to the device and brings overlapping cache slots up to date (write-through) or drops
  //! them (other modes).
  void DeviceWrite(const uint8_t* buffer, uint64_t address, int64_t length, bool writeThrough);
  void InvalidateCache();

  // IPort
  void Read(void* pBuffer, int64_t Address, int64_t Length) override;
  void Write(const void* pBuffer, int64_t Address, int64_t Length) override;

private:
  void Swap(uint8_t* buffer, int64_t length) const;

  IPort* m_pPort = nullptr;
  bool m_SwapEndianess = false;
  void UpdateSlots(const uint8_t* buffer, uint64_t address, int64_t length, bool writeThrough,
                   uint64_t first, uint64_t last);

  std::map<std::pair<uint64_t, int64_t>, CacheEntry> m_Cache;
  int64_t m_MaxLength = 0;
};

} // namespace GenApi
