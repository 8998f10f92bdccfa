// The camera model on the wire: how it answers, what it discards, and its timers.
#include <camsim/CameraModel.h>
#include <gencp/ByteOrder.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>

#include <gtest/gtest.h>

using camsim::CCameraModel;
using GenCP::CPacket;
using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;

namespace {

class CameraModel : public ::testing::Test {
protected:
  void Send(const CPacket& p, std::uint32_t lineBaud = 0) {
    const Bytes b = p.Encode();
    m_Camera.Write(b.data(), b.size(), lineBaud);
  }
  //! The next packet the camera sends, or nothing.
  bool Receive(CPacket& p, std::uint32_t lineBaud = 0) {
    std::uint8_t h[GenCP::MaxPacketSize];
    if (!m_Camera.ReadExact(h, 16, milliseconds(100), lineBaud))
      return false;
    const std::size_t n = GenCP::GetBE16(h + 12);
    if (n && !m_Camera.ReadExact(h + 16, n, milliseconds(100), lineBaud))
      return false;
    std::size_t used = 0;
    return CPacket::Decode(h, 16 + n, p, used) == CPacket::EDecode::Ok;
  }
  std::uint16_t Write32(std::uint16_t id, std::uint64_t address, std::uint32_t value,
                        std::uint32_t lineBaud = 0) {
    std::uint8_t b[4];
    GenCP::PutBE(b, value, 4);
    Send(CPacket::WriteMem(id, address, b, 4), lineBaud);
    CPacket ack;
    return Receive(ack, lineBaud) ? ack.m_FlagsOrStatus : 0xFFFF;
  }
  std::uint16_t Read(std::uint16_t id, std::uint64_t address, std::uint16_t size, Bytes& data) {
    Send(CPacket::ReadMem(id, address, size));
    CPacket ack;
    if (!Receive(ack))
      return 0xFFFF;
    data = ack.m_Scd;
    return ack.m_FlagsOrStatus;
  }

  CCameraModel m_Camera;
};

constexpr std::uint64_t Sbrm = CCameraModel::SbrmAddress;
constexpr std::uint64_t Dev = CCameraModel::DeviceBase;

} // namespace

TEST_F(CameraModel, BootstrapRegistersFollowTheStandardLayoutAndBadCommandsGetTheirStatus) {
  Bytes d;
  ASSERT_EQ(Read(0, GenCP::Abrm::GenCPVersion, 4, d), GenCP::StatusSuccess);
  EXPECT_EQ(GenCP::GetBE32(d.data()), 0x00010003u);
  ASSERT_EQ(Read(1, GenCP::Abrm::SerialNumber, 64, d), GenCP::StatusSuccess);
  EXPECT_STREQ(reinterpret_cast<const char*>(d.data()), "HX0001");
  ASSERT_EQ(Read(2, GenCP::Abrm::SbrmAddress, 8, d), GenCP::StatusSuccess);
  EXPECT_EQ(GenCP::GetBE64(d.data()), Sbrm);
  ASSERT_EQ(Read(3, Sbrm, 8, d), GenCP::StatusSuccess);
  EXPECT_EQ(GenCP::GetBE32(d.data()), 0xFFu);
  EXPECT_EQ(GenCP::GetBE32(d.data() + 4), 0x01u);
  EXPECT_EQ(Read(4, GenCP::Abrm::Timestamp, 8, d), GenCP::StatusInvalidAddress);
  // Invalid commands get their status.
  EXPECT_EQ(Write32(0, Dev, 64), GenCP::StatusInvalidParameter); // a write needs a request id
  CPacket custom;
  custom.m_FlagsOrStatus = GenCP::FlagRequestAck;
  custom.m_CommandId = 0x8100;
  custom.m_RequestId = 5;
  Send(custom);
  CPacket ack;
  ASSERT_TRUE(Receive(ack));
  EXPECT_EQ(ack.m_FlagsOrStatus, GenCP::StatusNotImplemented);
  EXPECT_EQ(ack.m_CommandId, 0x8101);
  EXPECT_EQ(ack.m_RequestId, 5);
}

TEST_F(CameraModel, DamagedNoisyAndTruncatedPacketsAreDiscardedSilently) {
  Bytes bad = CPacket::ReadMem(1, 0, 4).Encode();
  bad[20] ^= 0xFF; // data checksum no longer fits
  m_Camera.Write(bad.data(), bad.size());
  const Bytes noise = {'h', 'e', 'l', 'l', 'o', 0x01, 0x02, 0xFF};
  m_Camera.Write(noise.data(), noise.size());
  CPacket ack;
  EXPECT_FALSE(Receive(ack));
  EXPECT_EQ(m_Camera.Statistics().m_DiscardedPackets, 1u); // noise without a preamble is no packet
  Bytes d;
  EXPECT_EQ(Read(2, 0, 4, d), GenCP::StatusSuccess);

  m_Camera.Write(bad.data(), 10); // dropped once the packet's time is over
  m_Camera.AdvanceTime(milliseconds(2000));
  EXPECT_EQ(Read(3, 0, 4, d), GenCP::StatusSuccess);
}

TEST_F(CameraModel, BusyWhileSlowCommandRunsAndPendingOnRepeat) {
  camsim::SCameraOptions options;
  options.m_MaxResponseMs = 10;
  options.m_UserSetSaveMs = 5000;
  CCameraModel camera(options);
  std::uint8_t one[4] = {0, 0, 0, 1};
  const Bytes save = CPacket::WriteMem(3, Dev + 0x78, one, 4).Encode();
  camera.Write(save.data(), save.size());
  std::uint8_t h[20];
  ASSERT_TRUE(camera.ReadExact(h, 20, milliseconds(100)));
  EXPECT_EQ(GenCP::GetBE16(h + 10), GenCP::PendingAck);
  EXPECT_GE(GenCP::GetBE16(h + 18), 5000u);
  camera.Write(save.data(), save.size()); // same request again: another pending ack
  ASSERT_TRUE(camera.ReadExact(h, 20, milliseconds(100)));
  EXPECT_EQ(GenCP::GetBE16(h + 10), GenCP::PendingAck);
  const Bytes other = CPacket::ReadMem(4, 0, 4).Encode();
  camera.Write(other.data(), other.size());
  ASSERT_TRUE(camera.ReadExact(h, 16, milliseconds(100)));
  EXPECT_EQ(GenCP::GetBE16(h + 8), GenCP::StatusBusy);
}

TEST_F(CameraModel, GeometryRulesAndDerivedRegisters) {
  ASSERT_EQ(Write32(1, Dev + 0x20, 2), GenCP::StatusSuccess); // binning 2
  EXPECT_EQ(m_Camera.DeviceRegister(0x2C), 640u);             // WidthMax
  EXPECT_EQ(m_Camera.DeviceRegister(0x00), 640u);             // width clamped
  EXPECT_EQ(Write32(2, Dev + 0x00, 644), GenCP::StatusInvalidParameter);
  ASSERT_EQ(Write32(3, Dev + 0x10, 0x02180014), GenCP::StatusSuccess); // RGB8
  EXPECT_EQ(m_Camera.DeviceRegister(0x14), 640u * 1024u * 3u);
  EXPECT_EQ(Write32(4, Dev + 0x10, 0x12345678), GenCP::StatusInvalidParameter);
  EXPECT_EQ(Write32(5, Dev + 0x14, 1), GenCP::StatusWriteProtect);
  ASSERT_EQ(Write32(9, Dev + 0x00, 320), GenCP::StatusSuccess);
  ASSERT_EQ(Write32(6, Dev + 0x18, 1), GenCP::StatusSuccess);
  EXPECT_EQ(Write32(7, Dev + 0x24, 2), GenCP::StatusAccessDenied);
  EXPECT_EQ(Write32(8, Dev + 0x08, 16), GenCP::StatusSuccess); // offsets stay writable
}

// Address ranges whose end passes 2^64 once wrapped around to the bootstrap block and read or
// wrote memory before it.
TEST_F(CameraModel, RangesWrappingPastTheTopAreInvalid) {
  const struct {
    std::uint64_t m_Address;
    std::uint16_t m_Size;
  } ranges[] = {{0xFFFFFFFFFFFFFFF0ull, 32},
                {0xFFFFFFFFFFFFFFFFull, 2},
                {0xFFFFFFFFFFFFFE00ull, 1000},
                {0ull - GenCP::Abrm::Size + GenCP::Abrm::UserDefinedName, 0x300}};
  std::uint16_t id = 1;
  for (const auto& r : ranges) {
    Bytes d;
    EXPECT_EQ(Read(id++, r.m_Address, r.m_Size, d), GenCP::StatusInvalidAddress) << r.m_Address;
    const Bytes data(r.m_Size, 0xA5);
    Send(CPacket::WriteMem(id++, r.m_Address, data.data(), data.size()));
    CPacket ack;
    ASSERT_TRUE(Receive(ack));
    EXPECT_EQ(ack.m_FlagsOrStatus, GenCP::StatusInvalidAddress) << r.m_Address;
  }
  Bytes d; // the block is intact
  ASSERT_EQ(Read(id, GenCP::Abrm::UserDefinedName, 4, d), GenCP::StatusSuccess);
  EXPECT_EQ(d, Bytes(4, 0));
}

// A baud switch stays only once confirmed at the new rate (a host at the old one is not
// understood), and only until the heartbeat of the controlling host expires.
TEST_F(CameraModel, ABaudSwitchStaysOnlyOnceConfirmedAndUntilTheHeartbeatExpires) {
  EXPECT_EQ(Write32(9, GenCP::Abrm::AccessPrivilege, 2), GenCP::StatusInvalidParameter);
  ASSERT_EQ(Write32(1, GenCP::Abrm::AccessPrivilege, 1), GenCP::StatusSuccess);
  ASSERT_EQ(Write32(2, Sbrm + 4, 0x10), GenCP::StatusSuccess);
  EXPECT_EQ(m_Camera.BaudBit(), 0x10u);
  m_Camera.AdvanceTime(milliseconds(300));
  EXPECT_EQ(m_Camera.BaudBit(), 0x01u); // unconfirmed: back to the default
  ASSERT_EQ(Write32(3, Sbrm + 4, 0x20), GenCP::StatusSuccess);
  ASSERT_EQ(Write32(4, Sbrm + 4, 0x20, 0x20), GenCP::StatusSuccess);
  EXPECT_EQ(Write32(5, Dev, 640, 0x01), 0xFFFF);
  EXPECT_EQ(Write32(6, Sbrm + 4, 0x03, 0x20), GenCP::StatusInvalidParameter);
  m_Camera.AdvanceTime(milliseconds(2000));
  EXPECT_EQ(m_Camera.BaudBit(), 0x20u);
  m_Camera.AdvanceTime(milliseconds(1500));
  EXPECT_EQ(m_Camera.BaudBit(), 0x01u);
  Bytes d;
  ASSERT_EQ(Read(7, GenCP::Abrm::AccessPrivilege, 4, d), GenCP::StatusSuccess);
  EXPECT_EQ(GenCP::GetBE32(d.data()), 0u);
}

// A paced answer keeps its bytes; a camera told to vanish after a time goes silent then.
TEST_F(CameraModel, PacedAnswersKeepTheirBytesAndVanishAfterTimeSilences) {
  camsim::SCameraOptions options;
  options.m_Pace = true;
  options.m_Faults.m_VanishAfter = milliseconds(1000);
  CCameraModel camera(options);
  const Bytes p = CPacket::ReadMem(0, 0, 4).Encode();
  camera.Write(p.data(), p.size());
  std::uint8_t h[20];
  ASSERT_TRUE(camera.ReadExact(h, 20, milliseconds(500)));
  EXPECT_EQ(GenCP::GetBE32(h + 16), 0x00010003u);
  EXPECT_EQ(camera.Statistics().m_BytesOut, 20u);
  EXPECT_FALSE(camera.Vanished());
  camera.AdvanceTime(milliseconds(1000));
  EXPECT_TRUE(camera.Vanished());
  camera.Write(p.data(), p.size());
  EXPECT_FALSE(camera.ReadExact(h, 16, milliseconds(50)));
}
