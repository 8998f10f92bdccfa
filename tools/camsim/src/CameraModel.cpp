#include <camsim/CameraModel.h>
#include <camsim/CameraXml.h>

#include <gencp/ByteOrder.h>
#include <gencp/MemoryZip.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>
#include <gencp/Sha1.h>

#include <videocable/CableLayout.h>

#include <algorithm>
#include <cstring>

namespace camsim {
namespace {

namespace Abrm = GenCP::Abrm;
using GenCP::CPacket;
using Bytes = std::vector<std::uint8_t>;

// Device registers, offsets from DeviceBase.
enum EDevice : std::uint64_t {
  Width = 0x00,
  Height = 0x04,
  OffsetX = 0x08,
  OffsetY = 0x0C,
  PixelFormat = 0x10,
  PayloadSize = 0x14,
  TLParamsLocked = 0x18,
  ClTapGeometry = 0x1C,
  BinningHorizontal = 0x20,
  BinningVertical = 0x24,
  ClSerialPortBaudRate = 0x28,
  WidthMax = 0x2C,
  HeightMax = 0x30,
  SensorWidth = 0x34,
  SensorHeight = 0x38,
  AcquisitionMode = 0x3C,
  AcquisitionStart = 0x40,
  AcquisitionStop = 0x44,
  AcquisitionStatus = 0x48,
  TriggerMode = 0x4C,
  TriggerSource = 0x50,
  TriggerSoftware = 0x54,
  ExposureTime = 0x58,
  Gain = 0x60,
  AcquisitionFrameRate = 0x68,
  DeviceTemperature = 0x70,
  UserSetSave = 0x78,
  AcquisitionFrameCount = 0x80,
  ClPixelClock = 0x84,
};

enum class EAccess { RO, RW, WO };
struct SRegister {
  std::uint64_t m_Offset;
  std::size_t m_Size;
  EAccess m_Access;
  bool m_LockedWhileGrabbing; // read-only while TLParamsLocked is 1
};

constexpr SRegister DeviceRegisters[] = {
    {Width, 4, EAccess::RW, true},
    {Height, 4, EAccess::RW, true},
    {OffsetX, 4, EAccess::RW, false},
    {OffsetY, 4, EAccess::RW, false},
    {PixelFormat, 4, EAccess::RW, true},
    {PayloadSize, 4, EAccess::RO, false},
    {TLParamsLocked, 4, EAccess::RW, false},
    {ClTapGeometry, 4, EAccess::RW, true},
    {BinningHorizontal, 4, EAccess::RW, true},
    {BinningVertical, 4, EAccess::RW, true},
    {ClSerialPortBaudRate, 4, EAccess::RW, false},
    {WidthMax, 4, EAccess::RO, false},
    {HeightMax, 4, EAccess::RO, false},
    {SensorWidth, 4, EAccess::RO, false},
    {SensorHeight, 4, EAccess::RO, false},
    {AcquisitionMode, 4, EAccess::RW, false},
    {AcquisitionStart, 4, EAccess::WO, false},
    {AcquisitionStop, 4, EAccess::WO, false},
    {AcquisitionStatus, 4, EAccess::RO, false},
    {TriggerMode, 4, EAccess::RW, false},
    {TriggerSource, 4, EAccess::RW, false},
    {TriggerSoftware, 4, EAccess::WO, false},
    {ExposureTime, 8, EAccess::RW, false},
    {Gain, 8, EAccess::RW, false},
    {AcquisitionFrameRate, 8, EAccess::RW, false},
    {DeviceTemperature, 8, EAccess::RO, false},
    {UserSetSave, 4, EAccess::WO, false},
    {AcquisitionFrameCount, 4, EAccess::RW, false},
    {ClPixelClock, 4, EAccess::RW, false},
};

bool IsPixelFormat(std::uint32_t v) {
  switch (v) {
  case 0x01080001: // Mono8
  case 0x01100003: // Mono10
  case 0x01100005: // Mono12
  case 0x01100007: // Mono16
  case 0x01080009: // BayerRG8
  case 0x02180014: // RGB8
    return true;
  default:
    return false;
  }
}

std::uint64_t DoubleBits(double v) {
  std::uint64_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return bits;
}
double BitsDouble(std::uint64_t bits) {
  double v;
  std::memcpy(&v, &bits, sizeof v);
  return v;
}

void PutString(std::vector<std::uint8_t>& block, std::uint64_t address, const std::string& text) {
  const std::size_t n = std::min(text.size(), Abrm::StringSize);
  std::memcpy(block.data() + address, text.data(), n);
}

// Range tests never add to an address: a range reaching past 2^64 must not wrap to the bottom.
bool Overlaps(std::uint64_t a, std::uint64_t aSize, std::uint64_t b, std::uint64_t bSize) {
  return a >= b ? a - b < bSize : b - a < aSize;
}

//! [address, address + size) lies within [base, base + blockSize).
bool Within(std::uint64_t address, std::uint64_t size, std::uint64_t base,
            std::uint64_t blockSize) {
  return address >= base && size <= blockSize && address - base <= blockSize - size;
}

// Bootstrap registers that this camera does not have (timestamp, deprecated endianness,
// software interface version) and the reserved rest.
bool TouchesAbsentAbrm(std::uint64_t address, std::size_t size) {
  return Overlaps(address, size, Abrm::Timestamp, Abrm::AccessPrivilege - Abrm::Timestamp) ||
         Overlaps(address, size, 0x208, 4) || Overlaps(address, size, 0x210, 0x40);
}

} // namespace

CCameraModel::CCameraModel(SCameraOptions options)
    : m_Options(std::move(options)), m_Abrm(Abrm::Size, 0), m_Device(DeviceSize, 0),
      m_UserValues(4 * std::size_t{std::min(m_Options.m_ExtraFeatures, MaxExtraFeatures)}, 0),
      m_Faults(m_Options.m_Faults) {
  m_Created = m_LastAccess = m_BusyUntil = m_InLineFree = m_OutLineFree = Now();
  m_Options.m_SupportedBaudBits = (m_Options.m_SupportedBaudBits | GenCP::Baud9600) & 0xFF;

  // Bootstrap registers
  GenCP::PutBE(m_Abrm.data() + Abrm::GenCPVersion, 0x00010003, 4);
  PutString(m_Abrm, Abrm::ManufacturerName, m_Options.m_Manufacturer);
  PutString(m_Abrm, Abrm::ModelName, m_Options.m_Model);
  PutString(m_Abrm, Abrm::FamilyName, m_Options.m_Family);
  PutString(m_Abrm, Abrm::DeviceVersion, m_Options.m_Version);
  PutString(m_Abrm, Abrm::ManufacturerInfo, "Vorla camera simulator");
  PutString(m_Abrm, Abrm::SerialNumber, m_Options.m_Serial);
  GenCP::PutBE(m_Abrm.data() + Abrm::DeviceCapability,
               GenCP::CapUserDefinedName | GenCP::CapHeartbeat | GenCP::CapFamilyName |
                   GenCP::CapSbrm | GenCP::CapEndianness | GenCP::CapWriteLength,
               8);
  GenCP::PutBE(m_Abrm.data() + Abrm::MaxDeviceResponseTime, m_Options.m_MaxResponseMs, 4);
  GenCP::PutBE(m_Abrm.data() + Abrm::ManifestTableAddress, ManifestAddress, 8);
  GenCP::PutBE(m_Abrm.data() + Abrm::SbrmAddress, SbrmAddress, 8);
  GenCP::PutBE(m_Abrm.data() + Abrm::DeviceConfiguration, 1, 8); // heartbeat enabled
  GenCP::PutBE(m_Abrm.data() + Abrm::HeartbeatTimeout, 3000, 4);
  GenCP::PutBE(m_Abrm.data() + Abrm::ImplementationEndianness, 0, 4); // big

  // The description and its manifest entry
  const std::string xml = CameraXml(static_cast<std::uint32_t>(m_UserValues.size() / 4));
  m_XmlFile.assign(xml.begin(), xml.end());
  if (m_Options.m_Zip)
    m_XmlFile = GenCP::CMemoryZip::Zip("HexmarCamSim.xml", m_XmlFile);
  const GenCP::Sha1Digest sha = GenCP::Sha1(m_XmlFile.data(), m_XmlFile.size());
  if (m_Options.m_CorruptXmlFile)
    m_XmlFile[m_XmlFile.size() / 2] ^= 0x20;
  m_Manifest.assign(8 + GenCP::ManifestEntrySize, 0);
  GenCP::PutBE(m_Manifest.data(), 1, 8);
  std::uint8_t* entry = m_Manifest.data() + 8;
  GenCP::PutBE(entry, 1u << 24, 4); // file version 1.0.0
  const std::uint32_t format = m_Options.m_Zip ? GenCP::FileFormatZip : GenCP::FileFormatPlain;
  GenCP::PutBE(entry + 4, (1u << 24) | (1u << 16) | (format << 10), 4); // schema 1.1, device XML
  GenCP::PutBE(entry + 8, XmlAddress, 8);
  GenCP::PutBE(entry + 16, m_XmlFile.size(), 8);
  if (m_Options.m_PublishSha1)
    std::copy(sha.begin(), sha.end(), entry + 24);

  // Device registers
  SetDev(SensorWidth, m_Options.m_SensorWidth);
  SetDev(SensorHeight, m_Options.m_SensorHeight);
  SetDev(Width, m_Options.m_SensorWidth);
  SetDev(Height, m_Options.m_SensorHeight);
  SetDev(PixelFormat, 0x01080001);
  SetDev(BinningHorizontal, 1);
  SetDev(BinningVertical, 1);
  SetDev(ExposureTime, DoubleBits(10000.0), 8);
  SetDev(Gain, DoubleBits(0.0), 8);
  SetDev(AcquisitionFrameRate, DoubleBits(30.0), 8);
  SetDev(DeviceTemperature, DoubleBits(42.5), 8);
  SetDev(AcquisitionFrameCount, 10);
  SetDev(ClPixelClock, 85000000);
  if (m_Options.m_Video) {
    // A slot holds the largest picture: the whole sensor in RGB8.
    const std::uint64_t capacity =
        std::uint64_t(m_Options.m_SensorWidth) * m_Options.m_SensorHeight * 3;
    m_Video = std::make_unique<CVideoSource>(
        VideoCable::CableName(m_Options.m_VideoBoard, m_Options.m_VideoChannel),
        m_Options.m_VideoSlots, capacity, VideoSettings());
  }
  UpdateDerived();
}

CCameraModel::~CCameraModel() = default;

SVideoSettings CCameraModel::VideoSettings() const {
  SVideoSettings v;
  v.m_Geometry.m_Width = static_cast<std::uint32_t>(Dev(Width));
  v.m_Geometry.m_Height = static_cast<std::uint32_t>(Dev(Height));
  v.m_Geometry.m_OffsetX = static_cast<std::uint32_t>(Dev(OffsetX));
  v.m_Geometry.m_OffsetY = static_cast<std::uint32_t>(Dev(OffsetY));
  v.m_Geometry.m_PixelFormat = static_cast<std::uint32_t>(Dev(PixelFormat));
  v.m_FrameRate = BitsDouble(Dev(AcquisitionFrameRate, 8));
  v.m_ExposureUs = BitsDouble(Dev(ExposureTime, 8));
  v.m_Mode = static_cast<std::uint32_t>(Dev(AcquisitionMode));
  v.m_FrameCount = static_cast<std::uint32_t>(Dev(AcquisitionFrameCount));
  v.m_SoftwareTrigger = Dev(TriggerMode) == 1 && Dev(TriggerSource) == 0;
  v.m_PixelClock = Dev(ClPixelClock);
  return v;
}

std::uint64_t CCameraModel::Dev(std::uint64_t offset, std::size_t size) const {
  return GenCP::GetBE(m_Device.data() + offset, size);
}

void CCameraModel::SetDev(std::uint64_t offset, std::uint64_t value, std::size_t size) {
  GenCP::PutBE(m_Device.data() + offset, value, size);
}

void CCameraModel::UpdateDerived() {
  const std::uint64_t bytesPerPixel = ((Dev(PixelFormat) >> 16) & 0xFF) / 8;
  SetDev(PayloadSize, Dev(Width) * Dev(Height) * bytesPerPixel);
  SetDev(WidthMax, m_Options.m_SensorWidth / Dev(BinningHorizontal));
  SetDev(HeightMax, m_Options.m_SensorHeight / Dev(BinningVertical));
  SetDev(ClSerialPortBaudRate,
         static_cast<std::uint64_t>(GenCP::Hexmar::FeatureValueOfBaudBit(m_Baud)));
  // Single and multi-frame acquisitions end by themselves.
  if (m_Video)
    SetDev(AcquisitionStatus, m_Video->Running() ? 1 : 0);
}

CCameraModel::Clock::duration CCameraModel::ByteTime(std::uint32_t baudBit) const {
  const std::uint32_t rate = std::max<std::uint32_t>(GenCP::BaudRateOf(baudBit), 9600);
  return std::chrono::duration_cast<Clock::duration>(
      std::chrono::nanoseconds(10'000'000'000LL / rate));
}

void CCameraModel::SetBaud(std::uint32_t bit) {
  if (bit == m_Baud)
    return;
  m_Baud = bit;
  if (m_BaudListener)
    m_BaudListener(bit);
}

void CCameraModel::FallBackToDefaults() {
  // Heartbeat expiry or release: back to the power-up line settings, acquisition stopped.
  GenCP::PutBE(m_Abrm.data() + Abrm::AccessPrivilege, 0, 4);
  SetDev(AcquisitionStatus, 0);
  if (m_Video)
    m_Video->Stop();
  m_SwitchPending = false;
  SetBaud(GenCP::Baud9600);
}

void CCameraModel::Tick(Clock::time_point now) {
  if (!m_Vanished && m_Options.m_Faults.m_VanishAfter.count() > 0 &&
      now - m_Created >= m_Options.m_Faults.m_VanishAfter)
    m_Vanished = true;
  if (m_SwitchPending && now > m_SwitchDeadline) {
    // No confirmation at the new rate: back to the old one.
    m_SwitchPending = false;
    SetBaud(m_SwitchFrom);
  }
  const bool open = GenCP::GetBE32(m_Abrm.data() + Abrm::AccessPrivilege) == 1;
  const bool heartbeat = GenCP::GetBE64(m_Abrm.data() + Abrm::DeviceConfiguration) & 1;
  const auto timeout =
      std::chrono::milliseconds(GenCP::GetBE32(m_Abrm.data() + Abrm::HeartbeatTimeout));
  // The heartbeat is suspended while a command is still being processed.
  if (open && heartbeat && now >= m_BusyUntil &&
      now - std::max(m_LastAccess, m_BusyUntil) > timeout)
    FallBackToDefaults();
  if (m_Vanished) {
    m_Out.clear();
    m_In.clear();
  }
}

void CCameraModel::Write(const std::uint8_t* data, std::size_t size, std::uint32_t lineBaudBit) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const Clock::time_point now = Now();
  Tick(now);
  if (m_Vanished || size == 0)
    return;
  m_Stats.m_BytesIn += size;
  m_Stats.m_WireTime += ByteTime(m_Baud) * static_cast<int>(size);
  Clock::time_point arrival = now;
  if (m_Options.m_Pace) {
    arrival = std::max(now, m_InLineFree) + ByteTime(m_Baud) * static_cast<int>(size);
    m_InLineFree = arrival;
  }
  // A packet that does not complete within one packet transfer time is dropped.
  const auto packetTime =
      ByteTime(m_Baud) * static_cast<int>(GenCP::MaxPacketSize) + std::chrono::milliseconds(200);
  if (!m_In.empty() && now - m_InFirstByte > packetTime) {
    m_In.clear();
    ++m_Stats.m_DiscardedPackets;
  }
  if (m_In.empty())
    m_InFirstByte = now;
  const bool garbled = lineBaudBit && lineBaudBit != m_Baud;
  for (std::size_t i = 0; i < size; ++i)
    m_In.push_back(garbled ? static_cast<std::uint8_t>(data[i] ^ 0x5A) : data[i]);
  ProcessInput(arrival);
  m_Changed.notify_all();
}

void CCameraModel::ProcessInput(Clock::time_point at) {
  for (;;) {
    // Resynchronise on the preamble.
    std::size_t start = 0;
    while (start < m_In.size() &&
           !(m_In[start] == GenCP::Preamble0 &&
             (start + 1 == m_In.size() || m_In[start + 1] == GenCP::Preamble1)))
      ++start;
    m_In.erase(m_In.begin(), m_In.begin() + static_cast<std::ptrdiff_t>(start));
    if (m_In.empty())
      return;
    CPacket packet;
    std::size_t used = 0;
    const CPacket::EDecode r = CPacket::Decode(m_In.data(), m_In.size(), packet, used);
    if (r == CPacket::EDecode::Incomplete)
      return;
    if (r != CPacket::EDecode::Ok) {
      // A damaged packet is dropped without an answer, together with the rest of its burst.
      m_In.clear();
      ++m_Stats.m_DiscardedPackets;
      return;
    }
    std::vector<std::uint8_t> bytes(m_In.begin(), m_In.begin() + static_cast<std::ptrdiff_t>(used));
    m_In.erase(m_In.begin(), m_In.begin() + static_cast<std::ptrdiff_t>(used));
    HandleCommand(bytes, at);
  }
}

void CCameraModel::HandleCommand(const std::vector<std::uint8_t>& bytes, Clock::time_point at) {
  CPacket cmd;
  std::size_t used = 0;
  CPacket::Decode(bytes.data(), bytes.size(), cmd, used);
  if (m_Vanished || cmd.IsAck())
    return;
  ++m_Stats.m_Commands;
  if (m_Faults.m_VanishAfterCommands && m_Stats.m_Commands > m_Faults.m_VanishAfterCommands) {
    m_Vanished = true;
    m_Out.clear();
    return;
  }
  m_LastAccess = at;
  const bool wantsAck = (cmd.m_FlagsOrStatus & GenCP::FlagRequestAck) != 0;
  // What identifies "the same command again": command id and data, without the flags.
  std::vector<std::uint8_t> key(bytes.begin() + 10, bytes.end());
  key[2] = key[3] = key[4] = key[5] = 0; // length and request id do not count

  if (cmd.m_RequestId != 0 && m_HaveCache && cmd.m_RequestId == m_CacheRequestId &&
      key == m_CacheKey) {
    if (at < m_BusyUntil) {
      Queue(CPacket::Pending(cmd.m_RequestId, m_CachePendingMs).Encode(), at);
      ++m_Stats.m_PendingAcks;
    } else if (wantsAck && !m_CacheAck.empty()) {
      ++m_AckCount;
      Bytes ack = m_CacheAck;
      if (!TakeFault(m_Faults.m_DropNext, m_Faults.m_DropEvery)) {
        if (TakeFault(m_Faults.m_CorruptNext, m_Faults.m_CorruptEvery))
          ack[9] ^= 0x5A;
        Queue(ack, at);
      }
      ++m_Stats.m_CachedResends;
    }
    return;
  }
  SAfterAck after;
  const std::uint16_t ackId = static_cast<std::uint16_t>(cmd.m_CommandId | 1);
  if (at < m_BusyUntil) {
    if (wantsAck)
      Emit(GenCP::StatusBusy, ackId, cmd.m_RequestId, {}, key, after, at);
    return;
  }
  if ((cmd.m_FlagsOrStatus & 0x3FFF) != 0 || cmd.m_ChannelId != 0) {
    if (wantsAck)
      Emit(GenCP::StatusInvalidHeader, ackId, cmd.m_RequestId, {}, key, after, at);
    return;
  }
  std::uint16_t status = GenCP::StatusSuccess;
  std::vector<std::uint8_t> scd;
  switch (cmd.m_CommandId) {
  case GenCP::ReadMemCmd: {
    if (cmd.m_Scd.size() != 12) {
      status = GenCP::StatusInvalidHeader;
      break;
    }
    const std::uint64_t address = GenCP::GetBE64(cmd.m_Scd.data());
    const std::size_t length = GenCP::GetBE16(cmd.m_Scd.data() + 10);
    status = length > GenCP::MaxScdSize ? GenCP::StatusInvalidParameter
                                        : ReadMemory(address, length, scd);
    if (status != GenCP::StatusSuccess)
      scd.clear();
    break;
  }
  case GenCP::WriteMemCmd: {
    if (cmd.m_Scd.size() < 8) {
      status = GenCP::StatusInvalidHeader;
      break;
    }
    // Writes must carry a request id; 0 is for fresh reads only.
    status = cmd.m_RequestId == 0 ? GenCP::StatusInvalidParameter
                                  : WriteMemory(GenCP::GetBE64(cmd.m_Scd.data()),
                                                cmd.m_Scd.data() + 8, cmd.m_Scd.size() - 8, after);
    scd.assign(4, 0);
    if (status == GenCP::StatusSuccess)
      GenCP::PutBE(scd.data() + 2, cmd.m_Scd.size() - 8, 2);
    break;
  }
  default:
    status = GenCP::StatusNotImplemented;
    break;
  }
  if (wantsAck)
    Emit(status, ackId, cmd.m_RequestId, std::move(scd), key, after, at);
}

void CCameraModel::Emit(std::uint16_t status, std::uint16_t commandId, std::uint16_t requestId,
                        std::vector<std::uint8_t> scd, const std::vector<std::uint8_t>& key,
                        const SAfterAck& after, Clock::time_point at) {
  ++m_AckCount;
  ++m_Stats.m_Acks;
  const bool drop = TakeFault(m_Faults.m_DropNext, m_Faults.m_DropEvery);
  const bool corrupt = TakeFault(m_Faults.m_CorruptNext, m_Faults.m_CorruptEvery);
  const bool delay = TakeFault(m_Faults.m_DelayNext, m_Faults.m_DelayEvery);
  const std::uint32_t workMs = after.m_WorkMs + (delay ? m_Faults.m_DelayMs : 0);

  std::vector<std::uint8_t> ack =
      CPacket::Ack(status, commandId, requestId, std::move(scd)).Encode();
  m_HaveCache = true;
  m_CacheRequestId = requestId;
  m_CacheKey = key;
  m_CacheAck = ack;
  m_CachePendingMs = 0;

  Clock::time_point sendAt = at + std::chrono::milliseconds(workMs);
  if (workMs > m_Options.m_MaxResponseMs) {
    // Longer than promised: say so with a pending acknowledge, then answer when done.
    m_CachePendingMs = static_cast<std::uint16_t>(std::min<std::uint32_t>(workMs + 50, 0xFFFF));
    Queue(CPacket::Pending(requestId, m_CachePendingMs).Encode(), at);
    ++m_Stats.m_PendingAcks;
    m_BusyUntil = sendAt;
  }
  if (corrupt)
    ack[9] ^= 0x5A; // breaks the header checksum
  const Clock::time_point ackEnd = drop ? sendAt : Queue(ack, sendAt);

  if (status != GenCP::StatusSuccess)
    return;
  if (after.m_SwitchTo) {
    // The acknowledge leaves at the old rate; the new one must be confirmed in time.
    m_SwitchFrom = m_Baud;
    m_SwitchPending = true;
    m_SwitchDeadline = ackEnd + m_Options.m_BaudConfirmWindow;
    SetBaud(after.m_SwitchTo);
  } else if (after.m_FallBack) {
    FallBackToDefaults();
  }
}

bool CCameraModel::TakeFault(std::uint32_t& next, std::uint32_t every) const {
  if (next) {
    --next;
    return true;
  }
  return every && m_AckCount % every == 0;
}

CCameraModel::Clock::time_point CCameraModel::Queue(const std::vector<std::uint8_t>& bytes,
                                                    Clock::time_point at) {
  Clock::time_point due = at;
  if (m_Options.m_Pace)
    due = std::max(at, m_OutLineFree);
  const auto byteTime = ByteTime(m_Baud);
  // A packet goes out before answers that are due later (a pending ack before a slow result).
  auto position =
      std::find_if(m_Out.begin(), m_Out.end(), [&](const SOutByte& b) { return b.m_Due > due; });
  for (std::uint8_t b : bytes) {
    if (m_Options.m_Pace)
      due += byteTime;
    position = m_Out.insert(position, SOutByte{b, due, m_Baud}) + 1;
  }
  if (m_Options.m_Pace)
    m_OutLineFree = due;
  m_Changed.notify_all();
  return due;
}

std::uint16_t CCameraModel::ReadMemory(std::uint64_t address, std::size_t size,
                                       std::vector<std::uint8_t>& out) {
  const auto from = [&](const std::vector<std::uint8_t>& block, std::uint64_t base) {
    if (!Within(address, size, base, block.size()))
      return false;
    out.assign(block.begin() + static_cast<std::ptrdiff_t>(address - base),
               block.begin() + static_cast<std::ptrdiff_t>(address - base + size));
    return true;
  };
  if (Within(address, size, 0, Abrm::Size)) {
    if (TouchesAbsentAbrm(address, size))
      return GenCP::StatusInvalidAddress;
    return from(m_Abrm, 0) ? GenCP::StatusSuccess : GenCP::StatusInvalidAddress;
  }
  if (Within(address, size, SbrmAddress, GenCP::Sbrm::Size)) {
    std::vector<std::uint8_t> sbrm(GenCP::Sbrm::Size);
    GenCP::PutBE(sbrm.data(), m_Options.m_SupportedBaudBits, 4);
    GenCP::PutBE(sbrm.data() + 4, m_Baud, 4);
    return from(sbrm, SbrmAddress) ? GenCP::StatusSuccess : GenCP::StatusInvalidAddress;
  }
  if (Within(address, size, DeviceBase, DeviceSize)) {
    UpdateDerived();
    return from(m_Device, DeviceBase) ? GenCP::StatusSuccess : GenCP::StatusInvalidAddress;
  }
  if (from(m_UserValues, UserValuesBase) || from(m_Manifest, ManifestAddress) ||
      from(m_XmlFile, XmlAddress))
    return GenCP::StatusSuccess;
  return GenCP::StatusInvalidAddress;
}

std::uint16_t CCameraModel::RequestBaud(std::uint32_t bit, SAfterAck& after) {
  if (!bit || (bit & (bit - 1)) || !(bit & m_Options.m_SupportedBaudBits))
    return GenCP::StatusInvalidParameter;
  if (m_SwitchPending) {
    // The confirming write at the new rate.
    if (bit != m_Baud)
      return GenCP::StatusInvalidParameter;
    m_SwitchPending = false;
    return GenCP::StatusSuccess;
  }
  if (bit != m_Baud)
    after.m_SwitchTo = bit;
  return GenCP::StatusSuccess;
}

std::uint16_t CCameraModel::WriteMemory(std::uint64_t address, const std::uint8_t* data,
                                        std::size_t size, SAfterAck& after) {
  if (Within(address, size, 0, Abrm::Size))
    return WriteAbrm(address, data, size, after);
  if (Within(address, size, SbrmAddress, GenCP::Sbrm::Size)) {
    if (address != SbrmAddress + GenCP::Sbrm::CurrentBaudrate || size != 4)
      return address == SbrmAddress ? GenCP::StatusWriteProtect : GenCP::StatusInvalidParameter;
    return RequestBaud(GenCP::GetBE32(data), after);
  }
  if (Within(address, size, DeviceBase, DeviceSize))
    return WriteDevice(address - DeviceBase, data, size, after);
  // Without extra features the block is empty and has no storage to copy into, even for 0 bytes.
  if (!m_UserValues.empty() && Within(address, size, UserValuesBase, m_UserValues.size())) {
    std::memcpy(m_UserValues.data() + (address - UserValuesBase), data, size);
    return GenCP::StatusSuccess;
  }
  if (Overlaps(address, size, ManifestAddress, m_Manifest.size()) ||
      Overlaps(address, size, XmlAddress, m_XmlFile.size()))
    return GenCP::StatusWriteProtect;
  return GenCP::StatusInvalidAddress;
}

std::uint16_t CCameraModel::WriteAbrm(std::uint64_t address, const std::uint8_t* data,
                                      std::size_t size, SAfterAck& after) {
  if (TouchesAbsentAbrm(address, size))
    return GenCP::StatusInvalidAddress;
  if (Within(address, size, Abrm::UserDefinedName, Abrm::StringSize)) {
    std::memcpy(m_Abrm.data() + address, data, size);
    return GenCP::StatusSuccess;
  }
  const std::uint64_t value = GenCP::GetBE(data, std::min<std::size_t>(size, 8));
  if (address == Abrm::DeviceConfiguration && size == 8) {
    GenCP::PutBE(m_Abrm.data() + address, value & 1, 8);
    return GenCP::StatusSuccess;
  }
  if (address == Abrm::HeartbeatTimeout && size == 4) {
    GenCP::PutBE(m_Abrm.data() + address, std::max<std::uint64_t>(value, 500), 4);
    return GenCP::StatusSuccess;
  }
  if (address == Abrm::MessageChannelId && size == 4) {
    GenCP::PutBE(m_Abrm.data() + address, value, 4);
    return GenCP::StatusSuccess;
  }
  if (address == Abrm::AccessPrivilege && size == 4) {
    if (value > 1)
      return GenCP::StatusInvalidParameter;
    const bool wasOpen = GenCP::GetBE32(m_Abrm.data() + address) == 1;
    GenCP::PutBE(m_Abrm.data() + address, value, 4);
    // Release falls back to the defaults once the acknowledge is out.
    after.m_FallBack = wasOpen && value == 0;
    return GenCP::StatusSuccess;
  }
  return GenCP::StatusWriteProtect;
}

std::uint16_t CCameraModel::WriteDevice(std::uint64_t offset, const std::uint8_t* data,
                                        std::size_t size, SAfterAck& after) {
  const auto reg = std::find_if(std::begin(DeviceRegisters), std::end(DeviceRegisters),
                                [&](const SRegister& r) { return r.m_Offset == offset; });
  if (reg == std::end(DeviceRegisters))
    return GenCP::StatusInvalidAddress;
  if (reg->m_Size != size)
    return GenCP::StatusInvalidParameter;
  if (reg->m_Access == EAccess::RO)
    return GenCP::StatusWriteProtect;
  if (reg->m_LockedWhileGrabbing && Dev(TLParamsLocked) == 1)
    return GenCP::StatusAccessDenied;
  const std::uint64_t v = GenCP::GetBE(data, size);
  const std::uint64_t wMax = m_Options.m_SensorWidth / Dev(BinningHorizontal);
  const std::uint64_t hMax = m_Options.m_SensorHeight / Dev(BinningVertical);
  bool ok = true;
  switch (offset) {
  case Width:
    ok = v >= 16 && v % 4 == 0 && v + Dev(OffsetX) <= wMax;
    break;
  case Height:
    ok = v >= 1 && v + Dev(OffsetY) <= hMax;
    break;
  case OffsetX:
    ok = v % 4 == 0 && v + Dev(Width) <= wMax;
    break;
  case OffsetY:
    ok = v + Dev(Height) <= hMax;
    break;
  case PixelFormat:
    ok = IsPixelFormat(static_cast<std::uint32_t>(v));
    break;
  case TLParamsLocked:
    ok = v <= 1;
    break;
  case ClTapGeometry:
    ok = v <= 5;
    break;
  case BinningHorizontal:
  case BinningVertical:
    ok = v >= 1 && v <= 4;
    break;
  case ClSerialPortBaudRate: {
    const std::uint32_t bit = GenCP::Hexmar::BaudBitOfFeatureValue(static_cast<std::int64_t>(v));
    return RequestBaud(bit, after);
  }
  case AcquisitionMode:
    ok = v <= 2;
    break;
  case TriggerMode:
    ok = v <= 1;
    break;
  case TriggerSource:
    ok = v <= 2;
    break;
  case AcquisitionStart:
    SetDev(AcquisitionStatus, 1);
    if (m_Video)
      m_Video->Start();
    return GenCP::StatusSuccess;
  case AcquisitionStop:
    SetDev(AcquisitionStatus, 0);
    if (m_Video)
      m_Video->Stop();
    return GenCP::StatusSuccess;
  case TriggerSoftware:
    if (m_Video)
      m_Video->Trigger();
    return GenCP::StatusSuccess;
  case AcquisitionFrameCount:
    ok = v >= 1 && v <= 65535;
    break;
  case ClPixelClock:
    ok = v >= 20000000 && v <= 85000000;
    break;
  case UserSetSave:
    after.m_WorkMs = m_Options.m_UserSetSaveMs;
    return GenCP::StatusSuccess;
  case ExposureTime:
    ok = BitsDouble(v) >= 10.0 && BitsDouble(v) <= 1e6;
    break;
  case Gain:
    ok = BitsDouble(v) >= 0.0 && BitsDouble(v) <= 24.0;
    break;
  case AcquisitionFrameRate:
    ok = BitsDouble(v) >= 1.0 && BitsDouble(v) <= 5000.0;
    break;
  default:
    break;
  }
  if (!ok)
    return GenCP::StatusInvalidParameter;
  SetDev(offset, v, size);
  if (offset == BinningHorizontal || offset == BinningVertical) {
    // Keep the region inside the binned sensor.
    const std::uint64_t wLimit = m_Options.m_SensorWidth / Dev(BinningHorizontal);
    const std::uint64_t hLimit = m_Options.m_SensorHeight / Dev(BinningVertical);
    SetDev(OffsetX, 0);
    SetDev(OffsetY, 0);
    SetDev(Width, std::min(Dev(Width), wLimit - wLimit % 4));
    SetDev(Height, std::min(Dev(Height), hLimit));
  }
  UpdateDerived();
  if (m_Video)
    m_Video->Update(VideoSettings());
  return GenCP::StatusSuccess;
}

bool CCameraModel::ReadExact(std::uint8_t* data, std::size_t size,
                             std::chrono::milliseconds timeout, std::uint32_t lineBaudBit) {
  std::unique_lock<std::mutex> lock(m_Mutex);
  const Clock::time_point realDeadline = Clock::now() + timeout;
  for (;;) {
    const Clock::time_point now = Now();
    Tick(now);
    if (m_Vanished || m_Out.size() < size)
      return false; // nothing more is on its way
    const Clock::time_point due = size ? m_Out[size - 1].m_Due : now;
    if (due <= now) {
      for (std::size_t i = 0; i < size; ++i) {
        const SOutByte& b = m_Out.front();
        // Bytes sent at another rate than the line listens at arrive garbled.
        data[i] = (lineBaudBit && b.m_Baud != lineBaudBit)
                      ? static_cast<std::uint8_t>(b.m_Byte ^ 0x5A)
                      : b.m_Byte;
        m_Stats.m_WireTime += ByteTime(b.m_Baud);
        m_Out.pop_front();
      }
      m_Stats.m_BytesOut += size;
      return true;
    }
    if (Clock::now() >= realDeadline)
      return false;
    m_Changed.wait_until(lock, std::min(realDeadline, due - m_TimeOffset));
  }
}

std::size_t CCameraModel::ReadSome(std::uint8_t* data, std::size_t max,
                                   Clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(m_Mutex);
  for (;;) {
    const Clock::time_point now = Now();
    Tick(now);
    std::size_t n = 0;
    while (n < max && !m_Out.empty() && m_Out.front().m_Due <= now) {
      data[n++] = m_Out.front().m_Byte;
      m_Stats.m_WireTime += ByteTime(m_Out.front().m_Baud);
      m_Out.pop_front();
    }
    if (n) {
      m_Stats.m_BytesOut += n;
      return n;
    }
    if (Clock::now() >= deadline)
      return 0;
    Clock::time_point wake = deadline;
    if (!m_Out.empty())
      wake = std::min(wake, m_Out.front().m_Due - m_TimeOffset);
    // Timers (baud confirmation, heartbeat) need a look now and then even without output.
    wake = std::min(wake, Clock::now() + std::chrono::milliseconds(50));
    m_Changed.wait_until(lock, wake);
  }
}

std::size_t CCameraModel::BytesAvailable() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const Clock::time_point now = Now();
  Tick(now);
  return static_cast<std::size_t>(
      std::count_if(m_Out.begin(), m_Out.end(), [&](const SOutByte& b) { return b.m_Due <= now; }));
}

void CCameraModel::FlushOutput() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  const Clock::time_point now = Now();
  while (!m_Out.empty() && m_Out.front().m_Due <= now)
    m_Out.pop_front();
}

bool CCameraModel::Vanished() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  Tick(Now());
  return m_Vanished;
}

std::uint32_t CCameraModel::BaudBit() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  Tick(Now());
  return m_Baud;
}

void CCameraModel::SetBaudRateListener(std::function<void(std::uint32_t)> listener) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_BaudListener = std::move(listener);
}

void CCameraModel::AdvanceTime(std::chrono::milliseconds step) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_TimeOffset += step;
  Tick(Now());
  m_Changed.notify_all();
}

void CCameraModel::InjectFaults(const SFaultPlan& faults) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  m_Faults.m_DropNext += faults.m_DropNext;
  m_Faults.m_CorruptNext += faults.m_CorruptNext;
  m_Faults.m_DelayNext += faults.m_DelayNext;
  m_Faults.m_DropEvery = faults.m_DropEvery;
  m_Faults.m_CorruptEvery = faults.m_CorruptEvery;
  m_Faults.m_DelayEvery = faults.m_DelayEvery;
  if (faults.m_DelayMs)
    m_Faults.m_DelayMs = faults.m_DelayMs;
  if (faults.m_VanishAfterCommands)
    m_Faults.m_VanishAfterCommands = m_Stats.m_Commands + faults.m_VanishAfterCommands;
}

CCameraModel::SStatistics CCameraModel::Statistics() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Stats;
}

std::uint32_t CCameraModel::DeviceRegister(std::uint64_t offset) {
  std::lock_guard<std::mutex> lock(m_Mutex);
  UpdateDerived();
  return offset <= DeviceSize - 4 ? static_cast<std::uint32_t>(Dev(offset)) : 0;
}

std::vector<std::uint8_t> CCameraModel::ServedXmlFile() {
  std::lock_guard<std::mutex> lock(m_Mutex);
  return m_XmlFile;
}

} // namespace camsim
