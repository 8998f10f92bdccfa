// clserlbk.so loaded by path, as the host loads any Camera Link serial library.
#include <camsim/LoopbackBus.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>

#include <CLProtocol/ClSerial.h>
#include <platform/DynamicLibrary.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace {

class LoopbackLibrary : public ::testing::Test {
protected:
  void SetUp() override {
    const char* build = std::getenv("VORLA_TEST_BUILD_DIR");
    if (!build)
      GTEST_SKIP() << "VORLA_TEST_BUILD_DIR not set";
    m_Library = std::make_unique<Vorla::Platform::CDynamicLibrary>();
    ASSERT_TRUE(m_Library->Load(std::string(build) + "/lib/vorla-test/clserial/clserlbk.so"));
    camsim::CLoopbackBus::Instance().SetPortCount(2);
    camsim::CLoopbackBus::Instance().DetachAll();
  }
  void TearDown() override { camsim::CLoopbackBus::Instance().DetachAll(); }
  template <class F> F Get(const char* name) {
    auto f = reinterpret_cast<F>(m_Library->Symbol(name));
    EXPECT_NE(f, nullptr) << name;
    return f;
  }
  std::unique_ptr<Vorla::Platform::CDynamicLibrary> m_Library;
};

} // namespace

TEST_F(LoopbackLibrary, ServesAttachedCameraAndTimesOutOnEmptyPort) {
  auto info = Get<clGetManufacturerInfo_t>("clGetManufacturerInfo");
  auto count = Get<clGetNumSerialPorts_t>("clGetNumSerialPorts");
  auto ident = Get<clGetSerialPortIdentifier_t>("clGetSerialPortIdentifier");
  auto init = Get<clSerialInit_t>("clSerialInit");
  auto read = Get<clSerialRead_t>("clSerialRead");
  auto write = Get<clSerialWrite_t>("clSerialWrite");
  auto close = Get<clSerialClose_t>("clSerialClose");
  ASSERT_TRUE(info && count && ident && init && read && write && close);

  char name[32];
  CLUINT32 size = sizeof name, version = 0;
  ASSERT_EQ(info(name, &size, &version), CL_ERR_NO_ERR);
  EXPECT_STREQ(name, "Loopback");
  EXPECT_EQ(version, CLUINT32(CL_DLL_VERSION_1_1));
  CLUINT32 ports = 0;
  ASSERT_EQ(count(&ports), CL_ERR_NO_ERR);
  EXPECT_EQ(ports, 2u);
  size = sizeof name;
  ASSERT_EQ(ident(1, name, &size), CL_ERR_NO_ERR);
  EXPECT_STREQ(name, "Loop1");
  size = sizeof name;
  EXPECT_EQ(ident(2, name, &size), CL_ERR_INVALID_INDEX);

  camsim::CLoopbackBus::Instance().Attach("Loop0", std::make_shared<camsim::CCameraModel>());
  hSerRef port0 = nullptr, port1 = nullptr, again = nullptr;
  ASSERT_EQ(init(0, &port0), CL_ERR_NO_ERR);
  ASSERT_EQ(init(1, &port1), CL_ERR_NO_ERR);
  EXPECT_EQ(init(0, &again), CL_ERR_PORT_IN_USE);

  std::vector<std::uint8_t> command = GenCP::CPacket::ReadMem(0, 0, 4).Encode();
  size = static_cast<CLUINT32>(command.size());
  ASSERT_EQ(write(port0, reinterpret_cast<CLINT8*>(command.data()), &size, 100), CL_ERR_NO_ERR);
  std::uint8_t ack[20];
  size = sizeof ack;
  ASSERT_EQ(read(port0, reinterpret_cast<CLINT8*>(ack), &size, 100), CL_ERR_NO_ERR);
  EXPECT_EQ(ack[11], 0x01); // ReadMem acknowledge
  EXPECT_EQ(ack[19], 0x03); // version 1.3

  size = static_cast<CLUINT32>(command.size());
  ASSERT_EQ(write(port1, reinterpret_cast<CLINT8*>(command.data()), &size, 100), CL_ERR_NO_ERR);
  size = sizeof ack;
  EXPECT_EQ(read(port1, reinterpret_cast<CLINT8*>(ack), &size, 60000), CL_ERR_TIMEOUT);

  close(port0);
  close(port1);
  EXPECT_EQ(read(port0, reinterpret_cast<CLINT8*>(ack), &size, 10), CL_ERR_INVALID_REFERENCE);
  ASSERT_EQ(init(0, &again), CL_ERR_NO_ERR);
  close(again);
}
