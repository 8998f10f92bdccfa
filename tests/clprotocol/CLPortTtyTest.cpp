// CCLPort with the tty serial library over a real pseudo-terminal; the test plays a camera that
// answers the fake driver's probe byte, or stays silent.
#include <CLProtocol/CLPort.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace fs = std::filesystem;
using CLProtocol::CCLPort;
using CLProtocol::CLErrException;

namespace {

const std::string kTemplate =
    std::string(FAKE_DRIVER_ROOT) + "/Linux64_x64#libCLProtocolFake.so#Fake";

class CLPortTtyTest : public ::testing::Test {
protected:
  void SetUp() override {
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(m_master, 0);
    ASSERT_EQ(::grantpt(m_master), 0);
    ASSERT_EQ(::unlockpt(m_master), 0);
    const std::string slave = ::ptsname(m_master);
    termios tio{};
    ::tcgetattr(m_master, &tio);
    ::cfmakeraw(&tio);
    ::tcsetattr(m_master, TCSANOW, &tio);
    m_portID = "TTY#" + slave.substr(5);
    m_root = fs::temp_directory_path() / ("clport-tty-" + std::to_string(::getpid()));
    fs::create_directories(m_root);
    ::setenv("VORLA_ROOT", m_root.c_str(), 1);
    ::setenv("CLSERIALPATH", CLSERTTY_DIR, 1);
    ::setenv("GENICAM_CLPROTOCOL", FAKE_DRIVER_ROOT, 1);
    ::setenv("CLSERTTY_PORTS", slave.c_str(), 1);
  }

  void TearDown() override {
    m_stop = true;
    if (m_peer.joinable())
      m_peer.join();
    ::close(m_master);
    for (const char* name : {"VORLA_ROOT", "CLSERIALPATH", "GENICAM_CLPROTOCOL", "CLSERTTY_PORTS"})
      ::unsetenv(name);
    std::error_code ec;
    fs::remove_all(m_root, ec);
  }

  // A camera that sends back every byte it gets.
  void StartEcho() {
    m_peer = std::thread([this] {
      while (!m_stop) {
        pollfd pfd{m_master, POLLIN, 0};
        if (::poll(&pfd, 1, 10) <= 0)
          continue;
        char buf[64];
        const ssize_t n = ::read(m_master, buf, sizeof buf);
        if (n > 0 && ::write(m_master, buf, static_cast<size_t>(n)) != n)
          return;
      }
    });
  }

  int m_master = -1;
  std::string m_portID;
  fs::path m_root;
  std::thread m_peer;
  std::atomic<bool> m_stop{false};
};

TEST_F(CLPortTtyTest, TtyPortIsListedAndProbed) {
  GenICam::gcstring_vector ids;
  CCLPort::GetPortIDs(ids);
  EXPECT_NE(std::find(ids.begin(), ids.end(), m_portID), ids.end());
  StartEcho();
  EXPECT_EQ(CCLPort::ProbeDevice(m_portID, kTemplate, 2000),
            std::string(FAKE_DRIVER_ROOT) +
                "/Linux64_x64#libCLProtocolFake.so#Fake#Cam#Model1#V1#SN42");
}

TEST_F(CLPortTtyTest, ProbeOfAnEmptyPortEndsWithTimeout) {
  try {
    CCLPort::ProbeDevice(m_portID, kTemplate, 50);
    FAIL() << "no exception";
  } catch (const CLErrException& e) {
    EXPECT_EQ(e.GetCLErrorCode(), CL_ERR_TIMEOUT);
    EXPECT_STREQ(e.GetDescription(), "Timeout");
  }
  // The port was closed again: it can be opened by the next user.
  StartEcho();
  EXPECT_FALSE(CCLPort::ProbeDevice(m_portID, kTemplate, 2000).empty());
}

TEST(CLPortDiscovery, SerialLibrariesNextToTheHostAreFoundWithoutEnvironment) {
  // The build tree mirrors the installed layout: <libdir>/vorla/clserial/clsertty.so.
  ::setenv("CLSERTTY_PORTS", "/dev/vorla-test-tty", 1);
  ::unsetenv("CLSERIALPATH");
  ::unsetenv("VORLA_ROOT");
  GenICam::gcstring_vector ids;
  CCLPort::GetPortIDs(ids);
  EXPECT_NE(std::find(ids.begin(), ids.end(), "TTY#vorla-test-tty"), ids.end());
  // VORLA_ROOT moves the installation away: nothing is found in an empty one.
  const fs::path empty = fs::temp_directory_path() / ("clport-empty-" + std::to_string(::getpid()));
  fs::create_directories(empty);
  ::setenv("VORLA_ROOT", empty.c_str(), 1);
  CCLPort::GetPortIDs(ids);
  EXPECT_TRUE(ids.empty());
  ::unsetenv("VORLA_ROOT");
  ::unsetenv("CLSERTTY_PORTS");
  fs::remove_all(empty);
}

} // namespace
