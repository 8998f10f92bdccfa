// A port with nothing attached: a pseudo-terminal whose other end nobody answers. (That a probe
// sends one command and no resend is the GenCP driver's own test, a silent probe the port's.)
#include "E2ESupport.h"

#include <CLProtocol/CLPort.h>

#include <gtest/gtest.h>

#include <string>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

using CLProtocol::CCLPort;

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

  int m_master = -1;
  std::string m_portID;
  std::string m_template;
};

TEST_F(SilentLineTest, ConnectEndsWithTimeoutAndFreesThePort) {
  CCLPort port;
  port.SetSerialTimeOut(100);
  EXPECT_EQ(VorlaE2E::CodeOf([&] { port.Connect(m_portID, m_template); }), CL_ERR_TIMEOUT);
  EXPECT_FALSE(port.IsConnected());
  // The port was closed: a second attempt opens it again instead of finding it in use.
  EXPECT_EQ(VorlaE2E::CodeOf([&] { CCLPort::ProbeDevice(m_portID, m_template, 100); }),
            CL_ERR_TIMEOUT);
}

} // namespace
