// A port with nothing attached: a pseudo-terminal whose other end nobody answers.
#include "E2ESupport.h"

#include <CLProtocol/CLPort.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

using CLProtocol::CCLPort;
using CLProtocol::CLErrException;

namespace {

class SilentLineTest : public ::testing::Test {
protected:
  void SetUp() override {
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(m_master, 0);
    ASSERT_EQ(::grantpt(m_master), 0);
    ASSERT_EQ(::unlockpt(m_master), 0);
    const std::string slave = ::ptsname(m_master);
    m_portID = "TTY#" + slave.substr(std::string("/dev/").size());
    VorlaE2E::UseOnlyPort(slave);
    m_template = VorlaE2E::HexmarTemplate();
    ASSERT_FALSE(m_template.empty()) << "the GenCP driver was not discovered";
  }

  void TearDown() override {
    if (m_master >= 0)
      ::close(m_master);
    ::unsetenv("CLSERTTY_PORTS");
  }

  //! Everything the host has written to the line so far.
  std::vector<std::uint8_t> Sent() const {
    std::vector<std::uint8_t> bytes;
    for (;;) {
      pollfd pfd{m_master, POLLIN, 0};
      if (::poll(&pfd, 1, 0) <= 0 || !(pfd.revents & POLLIN))
        return bytes;
      std::uint8_t chunk[256];
      const ssize_t n = ::read(m_master, chunk, sizeof chunk);
      if (n <= 0)
        return bytes;
      bytes.insert(bytes.end(), chunk, chunk + n);
    }
  }

  int m_master = -1;
  std::string m_portID;
  std::string m_template;
};

TEST_F(SilentLineTest, ProbeEndsWithTimeoutAfterOneCommand) {
  try {
    CCLPort::ProbeDevice(m_portID, m_template, 200);
    FAIL() << "a silent line answered";
  } catch (const CLErrException& e) {
    EXPECT_EQ(e.GetCLErrorCode(), CL_ERR_TIMEOUT);
  }
  // One time-out: a single read of the version register went out, not resent, and no other
  // baud rate was tried.
  const std::vector<std::uint8_t> sent = Sent();
  GenCP::CPacket packet;
  std::size_t used = 0;
  ASSERT_EQ(GenCP::CPacket::Decode(sent.data(), sent.size(), packet, used),
            GenCP::CPacket::EDecode::Ok);
  EXPECT_EQ(used, sent.size()) << "more than one command was sent";
  EXPECT_EQ(packet.m_CommandId, GenCP::ReadMemCmd);
  EXPECT_EQ(packet.m_FlagsOrStatus & GenCP::FlagCommandResend, 0);
}

TEST_F(SilentLineTest, ConnectEndsWithTimeoutAndFreesThePort) {
  CCLPort port;
  port.SetSerialTimeOut(100);
  try {
    port.Connect(m_portID, m_template);
    FAIL() << "a silent line answered";
  } catch (const CLErrException& e) {
    EXPECT_EQ(e.GetCLErrorCode(), CL_ERR_TIMEOUT);
  }
  EXPECT_FALSE(port.IsConnected());
  Sent();
  // The port was closed: a second attempt opens it again instead of finding it in use.
  try {
    CCLPort::ProbeDevice(m_portID, m_template, 100);
    FAIL() << "a silent line answered";
  } catch (const CLErrException& e) {
    EXPECT_EQ(e.GetCLErrorCode(), CL_ERR_TIMEOUT);
  }
}

} // namespace
