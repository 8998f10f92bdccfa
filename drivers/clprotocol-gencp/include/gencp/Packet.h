#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace GenCP {

//! One GenCP packet, command or acknowledge, with its serial prefix.
class CPacket {
public:
  enum class EDecode {
    Ok,
    Incomplete,  //!< more bytes are needed
    BadPreamble, //!< not a GenCP packet start
    BadCcd,      //!< header checksum wrong or length impossible
    BadScd       //!< data checksum wrong
  };

  //! For a command the flags, for an acknowledge the status code.
  std::uint16_t m_FlagsOrStatus = 0;
  std::uint16_t m_CommandId = 0;
  std::uint16_t m_RequestId = 0;
  std::uint16_t m_ChannelId = 0;
  std::vector<std::uint8_t> m_Scd;

  static CPacket ReadMem(std::uint16_t requestId, std::uint64_t address, std::uint16_t length);
  static CPacket WriteMem(std::uint16_t requestId, std::uint64_t address, const std::uint8_t* data,
                          std::size_t size);
  static CPacket Ack(std::uint16_t status, std::uint16_t commandId, std::uint16_t requestId,
                     std::vector<std::uint8_t> scd = {});
  static CPacket Pending(std::uint16_t requestId, std::uint16_t timeoutMs);

  //! Wire bytes with prefix and both checksums.
  std::vector<std::uint8_t> Encode() const;
  std::size_t WireSize() const { return 16 + m_Scd.size(); }

  //! Decodes the packet that starts at data[0]. On Ok, `used` holds its size.
  static EDecode Decode(const std::uint8_t* data, std::size_t size, CPacket& out,
                        std::size_t& used);
  //! Checks a 16-byte header; on success returns the length of the data that follows.
  static EDecode CheckHeader(const std::uint8_t* header, std::size_t& scdSize);

  bool IsAck() const { return (m_CommandId & 1) != 0; }
};

} // namespace GenCP
