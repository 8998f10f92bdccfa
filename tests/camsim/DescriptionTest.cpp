// The camera's description on the camera itself: geometry is read from the cache once known,
// every register the camera changes behind a write is invalidated by that write, and the
// generated features are registers the camera keeps.
#include <camsim/CameraModel.h>
#include <gencp/ByteOrder.h>
#include <gencp/Packet.h>

#include <Base/GCException.h>
#include <GenApi/GenApi.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace GenApi;

namespace {

//! A register port that speaks GenCP to an in-process camera.
class CCameraPort : public IPort {
public:
  explicit CCameraPort(camsim::CCameraModel& camera) : m_Camera(camera) {}
  EAccessMode GetAccessMode() const override { return RW; }
  void Read(void* buffer, int64_t address, int64_t length) override {
    Transact(GenCP::CPacket::ReadMem(++m_Id, address, length), buffer, length);
  }
  void Write(const void* buffer, int64_t address, int64_t length) override {
    const auto* bytes = static_cast<const std::uint8_t*>(buffer);
    Transact(GenCP::CPacket::WriteMem(++m_Id, address, bytes, length), nullptr, 4);
  }

private:
  void Transact(const GenCP::CPacket& command, void* out, std::size_t scd) {
    const auto bytes = command.Encode();
    m_Camera.Write(bytes.data(), bytes.size());
    std::uint8_t ack[16 + 1024];
    if (!m_Camera.ReadExact(ack, 16 + scd, std::chrono::milliseconds(500)) ||
        GenCP::GetBE16(ack + 8) != 0)
      throw ACCESS_EXCEPTION("camera refused the access");
    if (out)
      std::memcpy(out, ack + 16, scd);
  }
  camsim::CCameraModel& m_Camera;
  std::uint16_t m_Id = 0;
};

class Description : public ::testing::Test {
protected:
  void SetUp() override {
    const std::vector<std::uint8_t> xml = m_Camera.ServedXmlFile();
    m_Map._LoadXMLFromString(std::string(xml.begin(), xml.end()));
    ASSERT_TRUE(m_Map._Connect(&m_Port));
  }
  int64_t Int(const char* name) {
    CIntegerPtr node = m_Map._GetNode(name);
    return node ? node->GetValue() : CEnumerationPtr(m_Map._GetNode(name))->GetIntValue();
  }
  void Set(const char* name, int64_t value) {
    CIntegerPtr node = m_Map._GetNode(name);
    node ? node->SetValue(value) : CEnumerationPtr(m_Map._GetNode(name))->SetIntValue(value);
  }

  camsim::CCameraModel m_Camera{[] {
    camsim::SCameraOptions options;
    options.m_ExtraFeatures = 8; // both kinds: integers and an enumeration
    return options;
  }()};
  CCameraPort m_Port{m_Camera};
  CNodeMapRef m_Map;
};

const char* const Geometry[] = {"PixelFormat", "Width",   "Height",
                                "OffsetX",     "OffsetY", "PayloadSize"};

} // namespace

TEST_F(Description, GeometryIsReadOverTheLineOnlyOnce) {
  for (const char* name : Geometry)
    Int(name);
  const std::uint64_t commands = m_Camera.Statistics().m_Commands;
  for (const char* name : Geometry)
    Int(name);
  EXPECT_EQ(m_Camera.Statistics().m_Commands, commands);
  EXPECT_EQ(Int("ClPixelClock"), 85000000);
}

TEST_F(Description, WritesInvalidateWhatTheCameraDerivesFromThem) {
  EXPECT_EQ(Int("PayloadSize"), 1280 * 1024);
  Set("Width", 640);
  EXPECT_EQ(Int("PayloadSize"), 640 * 1024);
  Set("PixelFormat", 0x02180014); // RGB8
  EXPECT_EQ(Int("PayloadSize"), 640 * 1024 * 3);
  Set("OffsetX", 64);
  Set("BinningVertical", 2); // the camera moves the region back and halves the height
  EXPECT_EQ(Int("Height"), 512);
  Set("BinningHorizontal", 4);
  EXPECT_EQ(Int("Width"), 320);
  EXPECT_EQ(Int("OffsetX"), 0);
  EXPECT_EQ(Int("PayloadSize"), 320 * 512 * 3);
}

TEST_F(Description, GeneratedFeaturesAreRegistersOfTheCamera) {
  EXPECT_EQ(Int("UserValue0005"), 0);
  Set("UserValue0006", 4321);
  Set("UserValue0007", 3); // "Triggered"
  std::uint8_t regs[8];
  m_Port.Read(regs, camsim::CCameraModel::UserValuesBase + 6 * 4, 8);
  EXPECT_EQ(GenCP::GetBE(regs, 8), 4321ull << 32 | 3);
}
