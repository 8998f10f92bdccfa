// The serial path end to end: CCLPort -> GenCP driver -> clsertty.so -> pty -> vorla-camsim.
#include "E2ESupport.h"
#include "SimulatorProcess.h"

#include <CLProtocol/CLPort.h>
#include <camsim/CameraModel.h>
#include <camsim/CameraXml.h>
#include <gencp/ByteOrder.h>
#include <gencp/Protocol.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using CLProtocol::CCLPort;
using VorlaE2E::CodeOf;
using VorlaE2E::CSimulatorProcess;
namespace Abrm = GenCP::Abrm;

namespace {

const char kShortDeviceID[] = "Hexmar#CamSim#HX1300#2.5b#HX0001";
// The camera's UserSetSave command register.
const std::uint64_t kUserSetSave = camsim::CCameraModel::DeviceBase + 0x78;

class SerialPathTest : public ::testing::Test {
protected:
  void SetUp() override {
    if (CSimulatorProcess::Executable().empty())
      GTEST_SKIP() << "VORLA_TEST_BUILD_DIR is not set";
  }

  void TearDown() override {
    // A connection still open is closed by its test's scope before this runs.
    if (m_sim.IsRunning()) {
      EXPECT_EQ(m_sim.Stop(), 0) << "the simulator did not end cleanly";
    }
    ::unsetenv("CLSERTTY_PORTS");
  }

  //! Starts a camera (after stopping the one before) and makes its pty the only tty port; fatal
  //! failures end the test.
  void StartCamera(const std::vector<std::string>& args = {}) {
    if (m_sim.IsRunning()) {
      ASSERT_EQ(m_sim.Stop(), 0);
    }
    ASSERT_TRUE(m_sim.Start(args)) << m_sim.Error();
    VorlaE2E::UseOnlyPort(m_sim.SlavePath());
    m_template = VorlaE2E::HexmarTemplate();
    ASSERT_FALSE(m_template.empty()) << "the GenCP driver was not discovered";
  }

  std::string FullDeviceID() const {
    return m_template.substr(0, m_template.rfind('#') + 1) + kShortDeviceID;
  }

  static std::string ReadString(CCLPort& port, std::uint64_t address) {
    char text[Abrm::StringSize + 1] = {};
    port.Read(text, static_cast<int64_t>(address), Abrm::StringSize);
    return text;
  }

  static std::uint32_t ReadBE32(CCLPort& port, std::uint64_t address) {
    std::uint8_t raw[4];
    port.Read(raw, static_cast<int64_t>(address), sizeof raw);
    return GenCP::GetBE32(raw);
  }

  //! The rate the camera itself reports in its serial bootstrap register.
  static std::uint32_t CameraBaudBit(CCLPort& port) {
    return ReadBE32(port, camsim::CCameraModel::SbrmAddress + GenCP::Sbrm::CurrentBaudrate);
  }

  CSimulatorProcess m_sim;
  std::string m_template;
};

// The simulator's port is listed; a connection reads and writes its registers and keeps the line
// from a second user until it lets go.
TEST_F(SerialPathTest, ConnectReadAndWriteTheBootstrapRegistersAndHoldTheLine) {
  StartCamera({"--device-version", "2.5b"}); // camera strings are taken as they are
  GenICam::gcstring_vector ids;
  CCLPort::GetPortIDs(ids);
  EXPECT_NE(std::find(ids.begin(), ids.end(), m_sim.PortID()), ids.end());
  CCLPort port;
  EXPECT_EQ(port.GetAccessMode(), GenApi::NA);
  port.SetSerialTimeOut(200);
  port.Connect(m_sim.PortID(), m_template);
  ASSERT_TRUE(port.IsConnected());
  EXPECT_EQ(port.GetDeviceID(), FullDeviceID()); // from the name registers, read over the line
  EXPECT_EQ(port.GetPortID(), m_sim.PortID());
  EXPECT_EQ(port.GetAccessMode(), GenApi::RW);

  EXPECT_EQ(ReadBE32(port, Abrm::GenCPVersion) >> 16, 1u);
  EXPECT_EQ(ReadString(port, Abrm::SerialNumber), "HX0001");
  std::uint8_t manifest[8];
  port.Read(manifest, Abrm::ManifestTableAddress, sizeof manifest);
  EXPECT_EQ(GenCP::GetBE64(manifest), camsim::CCameraModel::ManifestAddress);

  // A write goes to the camera and comes back.
  char name[Abrm::StringSize] = "e2e line";
  port.Write(name, Abrm::UserDefinedName, sizeof name);
  EXPECT_EQ(ReadString(port, Abrm::UserDefinedName), "e2e line");
  // Saving a user set outlasts the camera's response time (200 ms): it answers with pending
  // acknowledges until done.
  std::uint8_t zero[4] = {};
  EXPECT_NO_THROW(port.Write(zero, kUserSetSave, sizeof zero));

  EXPECT_EQ(CodeOf([&] { CCLPort::ProbeDevice(m_sim.PortID(), m_template); }), CL_ERR_PORT_IN_USE);
  // The port is free again once the connection lets go.
  port.Disconnect();
  EXPECT_FALSE(port.IsConnected());
  EXPECT_THROW(port.Read(name, Abrm::GenCPVersion, 4), GenICam::AccessException);
  EXPECT_EQ(CCLPort::ProbeDevice(m_sim.PortID(), m_template), FullDeviceID());
}

// The description loads plain, zipped, paced, without a published checksum and from a camera with
// fewer rates; a faster download leaves the line at the rate it found.
TEST_F(SerialPathTest, DescriptionLoadsInEveryFormTheCameraOffers) {
  const std::vector<std::vector<std::string>> cameras = {
      {}, {"--zip"}, {"--pace", "--zip"}, {"--zip", "--no-sha1"}, {"--baud-rates", "0x13"}};
  for (const auto& args : cameras) {
    SCOPED_TRACE(args.empty() ? "plain" : args[0] + " " + args.back());
    StartCamera(args);
    CCLPort port;
    port.Connect(m_sim.PortID(), m_template);
    GenICam::gcstring xml;
    port.GetXML(xml, true);
    EXPECT_EQ(xml, camsim::CameraXml());
    EXPECT_EQ(port.GetDeviceBauderate(), static_cast<CLUINT32>(CL_BAUDRATE_9600));
    EXPECT_EQ(CameraBaudBit(port), static_cast<std::uint32_t>(CL_BAUDRATE_9600));
  }
}

// A lost or broken answer makes the host send its command again; so does a late one (its wait is
// 100 ms and the transfer at 9600 baud, some 210 ms), whose second answer then arrives while the
// host waits for a later read, and must not be taken for that one's.
TEST_F(SerialPathTest, LostBrokenAndLateAnswersAreSentAgainAndNeverMistaken) {
  StartCamera(
      {"--drop-every", "4", "--corrupt-every", "7", "--delay-every", "5", "--delay-ms", "260"});
  CCLPort port;
  port.SetSerialTimeOut(100);
  port.Connect(m_sim.PortID(), m_template);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(ReadString(port, Abrm::SerialNumber), "HX0001") << "read " << i;
    EXPECT_EQ(ReadString(port, Abrm::ModelName), "HX1300") << "read " << i;
  }
}

} // namespace
