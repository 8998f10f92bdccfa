#include <gencp/ByteOrder.h>
#include <gencp/Checksum.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>

namespace GenCP {

CPacket CPacket::ReadMem(std::uint16_t requestId, std::uint64_t address, std::uint16_t length) {
  CPacket p;
  p.m_FlagsOrStatus = FlagRequestAck;
  p.m_CommandId = ReadMemCmd;
  p.m_RequestId = requestId;
  p.m_Scd.resize(12);
  PutBE(p.m_Scd.data(), address, 8);
  PutBE(p.m_Scd.data() + 10, length, 2);
  return p;
}

CPacket CPacket::WriteMem(std::uint16_t requestId, std::uint64_t address, const std::uint8_t* data,
                          std::size_t size) {
  CPacket p;
  p.m_FlagsOrStatus = FlagRequestAck;
  p.m_CommandId = WriteMemCmd;
  p.m_RequestId = requestId;
  p.m_Scd.resize(8 + size);
  PutBE(p.m_Scd.data(), address, 8);
  if (size)
    std::copy(data, data + size, p.m_Scd.begin() + 8);
  return p;
}

CPacket CPacket::Ack(std::uint16_t status, std::uint16_t commandId, std::uint16_t requestId,
                     std::vector<std::uint8_t> scd) {
  CPacket p;
  p.m_FlagsOrStatus = status;
  p.m_CommandId = commandId;
  p.m_RequestId = requestId;
  p.m_Scd = std::move(scd);
  return p;
}

CPacket CPacket::Pending(std::uint16_t requestId, std::uint16_t timeoutMs) {
  std::vector<std::uint8_t> scd(4, 0);
  PutBE(scd.data() + 2, timeoutMs, 2);
  return Ack(StatusSuccess, PendingAck, requestId, std::move(scd));
}

std::vector<std::uint8_t> CPacket::Encode() const {
  std::vector<std::uint8_t> out(HeaderSize + m_Scd.size());
  std::uint8_t* p = out.data();
  p[0] = Preamble0;
  p[1] = Preamble1;
  PutBE(p + 6, m_ChannelId, 2);
  PutBE(p + 8, m_FlagsOrStatus, 2);
  PutBE(p + 10, m_CommandId, 2);
  PutBE(p + 12, m_Scd.size(), 2);
  PutBE(p + 14, m_RequestId, 2);
  std::copy(m_Scd.begin(), m_Scd.end(), out.begin() + HeaderSize);
  PutBE(p + 2, Checksum(p + 6, 10), 2);
  PutBE(p + 4, Checksum(p + 6, 10 + m_Scd.size()), 2);
  return out;
}

CPacket::EDecode CPacket::CheckHeader(const std::uint8_t* h, std::size_t& scdSize) {
  if (h[0] != Preamble0 || h[1] != Preamble1)
    return EDecode::BadPreamble;
  if (GetBE16(h + 2) != Checksum(h + 6, 10))
    return EDecode::BadCcd;
  scdSize = GetBE16(h + 12);
  if (scdSize > MaxScdSize)
    return EDecode::BadCcd;
  return EDecode::Ok;
}

CPacket::EDecode CPacket::Decode(const std::uint8_t* data, std::size_t size, CPacket& out,
                                 std::size_t& used) {
  if (size >= 1 && data[0] != Preamble0)
    return EDecode::BadPreamble;
  if (size >= 2 && data[1] != Preamble1)
    return EDecode::BadPreamble;
  if (size < HeaderSize)
    return EDecode::Incomplete;
  std::size_t scdSize = 0;
  const EDecode header = CheckHeader(data, scdSize);
  if (header != EDecode::Ok)
    return header;
  if (size < HeaderSize + scdSize)
    return EDecode::Incomplete;
  if (GetBE16(data + 4) != Checksum(data + 6, 10 + scdSize))
    return EDecode::BadScd;
  out.m_ChannelId = GetBE16(data + 6);
  out.m_FlagsOrStatus = GetBE16(data + 8);
  out.m_CommandId = GetBE16(data + 10);
  out.m_RequestId = GetBE16(data + 14);
  out.m_Scd.assign(data + HeaderSize, data + HeaderSize + scdSize);
  used = HeaderSize + scdSize;
  return EDecode::Ok;
}

} // namespace GenCP
