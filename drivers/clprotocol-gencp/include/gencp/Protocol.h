#pragma once
// Constants of GenCP over a serial line: packet layout, command ids, status codes and the
// bootstrap register map. Serial GenCP is big-endian throughout.
#include <cstddef>
#include <cstdint>

namespace GenCP {

// Packet layout: prefix (8) + common command data (8) + command specific data.
constexpr std::size_t PrefixSize = 8;
constexpr std::size_t CcdSize = 8;
constexpr std::size_t HeaderSize = PrefixSize + CcdSize;
constexpr std::size_t MaxPacketSize = 1024;
constexpr std::size_t MaxScdSize = MaxPacketSize - HeaderSize;
// Data per ReadMem/WriteMem; a WriteMem of this size plus its address fills a packet exactly.
constexpr std::size_t MaxChunkSize = 1000;
constexpr std::uint8_t Preamble0 = 0x01;
constexpr std::uint8_t Preamble1 = 0x00;

// Command flags
constexpr std::uint16_t FlagRequestAck = 0x4000;
constexpr std::uint16_t FlagCommandResend = 0x8000;

// Command ids
constexpr std::uint16_t ReadMemCmd = 0x0800;
constexpr std::uint16_t ReadMemAck = 0x0801;
constexpr std::uint16_t WriteMemCmd = 0x0802;
constexpr std::uint16_t WriteMemAck = 0x0803;
constexpr std::uint16_t PendingAck = 0x0805;
constexpr std::uint16_t EventCmd = 0x0C00;
constexpr std::uint16_t EventAck = 0x0C01;

// Status codes
constexpr std::uint16_t StatusSuccess = 0x0000;
constexpr std::uint16_t StatusNotImplemented = 0x8001;
constexpr std::uint16_t StatusInvalidParameter = 0x8002;
constexpr std::uint16_t StatusInvalidAddress = 0x8003;
constexpr std::uint16_t StatusWriteProtect = 0x8004;
constexpr std::uint16_t StatusBadAlignment = 0x8005;
constexpr std::uint16_t StatusAccessDenied = 0x8006;
constexpr std::uint16_t StatusBusy = 0x8007;
constexpr std::uint16_t StatusMsgTimeout = 0x800B;
constexpr std::uint16_t StatusInvalidHeader = 0x800E;
constexpr std::uint16_t StatusWrongConfig = 0x800F;
constexpr std::uint16_t StatusGenericError = 0x8FFF;

// Technology-agnostic bootstrap registers
namespace Abrm {
constexpr std::uint64_t GenCPVersion = 0x0000;
constexpr std::uint64_t ManufacturerName = 0x0004;
constexpr std::uint64_t ModelName = 0x0044;
constexpr std::uint64_t FamilyName = 0x0084;
constexpr std::uint64_t DeviceVersion = 0x00C4;
constexpr std::uint64_t ManufacturerInfo = 0x0104;
constexpr std::uint64_t SerialNumber = 0x0144;
constexpr std::uint64_t UserDefinedName = 0x0184;
constexpr std::uint64_t DeviceCapability = 0x01C4;
constexpr std::uint64_t MaxDeviceResponseTime = 0x01CC;
constexpr std::uint64_t ManifestTableAddress = 0x01D0;
constexpr std::uint64_t SbrmAddress = 0x01D8;
constexpr std::uint64_t DeviceConfiguration = 0x01E0;
constexpr std::uint64_t HeartbeatTimeout = 0x01E8;
constexpr std::uint64_t MessageChannelId = 0x01EC;
constexpr std::uint64_t Timestamp = 0x01F0;
constexpr std::uint64_t TimestampLatch = 0x01F8;
constexpr std::uint64_t TimestampIncrement = 0x01FC;
constexpr std::uint64_t AccessPrivilege = 0x0204;
constexpr std::uint64_t ImplementationEndianness = 0x020C;
constexpr std::uint64_t Size = 0x0250;
constexpr std::size_t StringSize = 64;
} // namespace Abrm

// Device capability bits
constexpr std::uint64_t CapUserDefinedName = 1u << 0;
constexpr std::uint64_t CapHeartbeat = 1u << 1;
constexpr std::uint64_t CapFamilyName = 1u << 8;
constexpr std::uint64_t CapSbrm = 1u << 9;
constexpr std::uint64_t CapEndianness = 1u << 10;
constexpr std::uint64_t CapWriteLength = 1u << 11;

// Serial technology-specific bootstrap registers, relative to the SBRM address
namespace Sbrm {
constexpr std::uint64_t SupportedBaudrates = 0x0;
constexpr std::uint64_t CurrentBaudrate = 0x4;
constexpr std::uint64_t Size = 0x8;
} // namespace Sbrm

// Manifest entry fields
constexpr std::size_t ManifestEntrySize = 64;
constexpr std::uint32_t FileFormatPlain = 0;
constexpr std::uint32_t FileFormatZip = 1;

// Baud-rate bits of the SBRM; the same values as the Camera Link serial API's.
constexpr std::uint32_t Baud9600 = 0x01;
constexpr std::uint32_t BaudAllRates = 0xFF;
//! The baud rate of a single bit, 0 for anything else.
constexpr std::uint32_t BaudRateOf(std::uint32_t bit) {
  switch (bit) {
  case 0x01:
    return 9600;
  case 0x02:
    return 19200;
  case 0x04:
    return 38400;
  case 0x08:
    return 57600;
  case 0x10:
    return 115200;
  case 0x20:
    return 230400;
  case 0x40:
    return 460800;
  case 0x80:
    return 921600;
  default:
    return 0;
  }
}

// Hexmar cameras publish the serial baud rate as an enumeration register ("ClSerialPortBaudRate",
// values 15 and 17..23 for 9600..921600). The protocol driver intercepts writes to it so that both
// ends of the line switch together.
namespace Hexmar {
constexpr const char* Manufacturer = "Hexmar";
constexpr std::uint64_t BaudRateFeatureRegister = 0x00010028;
//! Enumeration value to baud bit; 0 when the value has no rate (16 deliberately has none).
constexpr std::uint32_t BaudBitOfFeatureValue(std::int64_t value) {
  return value == 15 ? 0x01 : (value >= 17 && value <= 23) ? (1u << (value - 16)) : 0;
}
constexpr std::int64_t FeatureValueOfBaudBit(std::uint32_t bit) {
  for (std::int64_t v = 17; v <= 23; ++v)
    if (BaudBitOfFeatureValue(v) == bit)
      return v;
  return bit == 0x01 ? 15 : 0;
}
} // namespace Hexmar

} // namespace GenCP
