// The camera's description on the camera itself: geometry is read from the cache once known,
// and every register the camera changes behind a write is invalidated by that write.
#include <camsim/CameraModel.h>
#include <camsim/CameraXml.h>
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
    Transact(GenCP::CPacket::ReadMem(++m_Id, static_cast<std::uint64_t>(address),
                                     static_cast<std::uint16_t>(length)),
             buffer, static_cast<std::size_t>(length));
  }
  void Write(const void* buffer, int64_t address, int64_t length) override {
    Transact(GenCP::CPacket::WriteMem(++m_Id, static_cast<std::uint64_t>(address),
                                      static_cast<const std::uint8_t*>(buffer),
                                      static_cast<std::size_t>(length)),
             nullptr, 4);
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
    m_Map._LoadXMLFromString(camsim::CameraXml());
    ASSERT_TRUE(m_Map._Connect(&m_Port));
  }
  int64_t Int(const char* name) {
    CIntegerPtr node = m_Map._GetNode(name);
    if (node)
      return node->GetValue();
    CEnumerationPtr e = m_Map._GetNode(name);
    return e->GetIntValue();
  }
  void Set(const char* name, int64_t value) {
    CIntegerPtr node = m_Map._GetNode(name);
    if (node) {
      node->SetValue(value);
      return;
    }
    CEnumerationPtr e = m_Map._GetNode(name);
    e->SetIntValue(value);
  }
  std::uint64_t Commands() { return m_Camera.Statistics().m_Commands; }

  camsim::CCameraModel m_Camera;
  CCameraPort m_Port{m_Camera};
  CNodeMapRef m_Map;
};

const char* const Geometry[] = {"PixelFormat", "Width",   "Height",
                                "OffsetX",     "OffsetY", "PayloadSize"};

} // namespace

TEST_F(Description, GeometryIsReadOverTheLineOnlyOnce) {
  for (const char* name : Geometry)
    Int(name);
  const std::uint64_t commands = Commands();
  for (int i = 0; i < 10; ++i)
    for (const char* name : Geometry)
      Int(name);
  EXPECT_EQ(Commands(), commands);
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
