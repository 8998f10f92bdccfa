// clsertty over a real pseudo-terminal: the test holds the master side and plays the camera.
#include <CLProtocol/ClSerial.h>
#include <platform/DynamicLibrary.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace {

// A function of the library, looked up by name: Cl(clSerialInit)(0, &ref).
#define Cl(name) reinterpret_cast<name##_t>(ClSerTtyTest::Symbol(#name))

class ClSerTtyTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    ASSERT_TRUE(s_library.Load(CLSERTTY_MODULE)) << s_library.LastError();
  }
  static void* Symbol(const char* name) {
    void* p = s_library.Symbol(name);
    EXPECT_NE(p, nullptr) << name;
    return p;
  }

  void SetUp() override {
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(m_master, 0);
    ASSERT_EQ(::grantpt(m_master), 0);
    ASSERT_EQ(::unlockpt(m_master), 0);
    m_slave = ::ptsname(m_master);
    termios tio{};
    ASSERT_EQ(::tcgetattr(m_master, &tio), 0);
    ::cfmakeraw(&tio);
    ::tcsetattr(m_master, TCSANOW, &tio);
    const std::string ports = m_slave + ":/dev/vorla-no-such-tty";
    ::setenv("CLSERTTY_PORTS", ports.c_str(), 1);
  }

  void TearDown() override {
    if (m_ref)
      Cl(clSerialClose)(m_ref);
    if (m_master >= 0)
      ::close(m_master);
    ::unsetenv("CLSERTTY_PORTS");
  }

  void Open() { ASSERT_EQ(Cl(clSerialInit)(0, &m_ref), CL_ERR_NO_ERR); }

  void PeerWrite(const std::string& bytes) {
    ASSERT_EQ(::write(m_master, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  std::string PeerRead(size_t n) {
    std::string out;
    while (out.size() < n) {
      pollfd pfd{m_master, POLLIN, 0};
      if (::poll(&pfd, 1, 5000) <= 0)
        break;
      char buf[256];
      const ssize_t got = ::read(m_master, buf, std::min(sizeof buf, n - out.size()));
      if (got <= 0)
        break;
      out.append(buf, static_cast<size_t>(got));
    }
    return out;
  }

  // The pty hands bytes over asynchronously; wait (bounded) until the library sees them.
  CLUINT32 WaitAvailable(CLUINT32 n) {
    CLUINT32 avail = 0;
    for (int i = 0; i < 500; ++i) {
      EXPECT_EQ(Cl(clGetNumBytesAvail)(m_ref, &avail), CL_ERR_NO_ERR);
      if (avail >= n)
        break;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return avail;
  }

  static Vorla::Platform::CDynamicLibrary s_library;
  int m_master = -1;
  std::string m_slave;
  hSerRef m_ref = nullptr;
};

Vorla::Platform::CDynamicLibrary ClSerTtyTest::s_library;

TEST_F(ClSerTtyTest, ReportsManufacturerAndPortsFromEnvironment) {
  CLUINT32 size = 2, version = 0;
  char name[64];
  EXPECT_EQ(Cl(clGetManufacturerInfo)(name, &size, &version), CL_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 4u);
  size = sizeof name;
  ASSERT_EQ(Cl(clGetManufacturerInfo)(name, &size, &version), CL_ERR_NO_ERR);
  EXPECT_STREQ(name, "TTY");
  EXPECT_EQ(version, static_cast<CLUINT32>(CL_DLL_VERSION_1_1));

  CLUINT32 count = 0;
  ASSERT_EQ(Cl(clGetNumSerialPorts)(&count), CL_ERR_NO_ERR);
  EXPECT_EQ(count, 2u);
  size = sizeof name;
  ASSERT_EQ(Cl(clGetSerialPortIdentifier)(0, name, &size), CL_ERR_NO_ERR);
  EXPECT_EQ(std::string(name), m_slave.substr(5)); // "pts/N"
  EXPECT_EQ(size, m_slave.size() - 5 + 1);
  size = sizeof name;
  EXPECT_EQ(Cl(clGetSerialPortIdentifier)(2, name, &size), CL_ERR_INVALID_INDEX);
}

TEST_F(ClSerTtyTest, OpeningIsExclusiveAndFailsForMissingDevice) {
  hSerRef other = nullptr;
  EXPECT_EQ(Cl(clSerialInit)(1, &other), CL_ERR_PORT_IN_USE);
  EXPECT_EQ(Cl(clSerialInit)(2, &other), CL_ERR_INVALID_INDEX);
  Open();
  EXPECT_EQ(Cl(clSerialInit)(0, &other), CL_ERR_PORT_IN_USE);
  Cl(clSerialClose)(m_ref);
  m_ref = nullptr;
  ASSERT_EQ(Cl(clSerialInit)(0, &other), CL_ERR_NO_ERR);
  Cl(clSerialClose)(other);
}

TEST_F(ClSerTtyTest, ClosedOrForeignHandlesAreRejected) {
  Open();
  hSerRef stale = m_ref;
  Cl(clSerialClose)(m_ref);
  m_ref = nullptr;
  char c = 0;
  CLUINT32 n = 1;
  EXPECT_EQ(Cl(clSerialRead)(stale, &c, &n, 10), CL_ERR_INVALID_REFERENCE);
  EXPECT_EQ(Cl(clSerialWrite)(stale, &c, &n, 10), CL_ERR_INVALID_REFERENCE);
  EXPECT_EQ(Cl(clFlushPort)(reinterpret_cast<hSerRef>(&c)), CL_ERR_INVALID_REFERENCE);
  Cl(clSerialClose)(stale); // a second close is harmless
}

TEST_F(ClSerTtyTest, WritesReachThePeer) {
  Open();
  char data[] = "\x01\x00hello";
  CLUINT32 n = 7;
  ASSERT_EQ(Cl(clSerialWrite)(m_ref, data, &n, 1000), CL_ERR_NO_ERR);
  EXPECT_EQ(n, 7u);
  EXPECT_EQ(PeerRead(7), std::string(data, 7));
}

TEST_F(ClSerTtyTest, TimedOutReadCopiesNothingAndKeepsTheBytes) {
  Open();
  PeerWrite("ab");
  ASSERT_EQ(WaitAvailable(2), 2u);
  char buf[4] = {'x', 'x', 'x', 'x'};
  CLUINT32 n = 4;
  EXPECT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 20), CL_ERR_TIMEOUT);
  EXPECT_EQ(std::string(buf, 4), "xxxx");
  EXPECT_EQ(WaitAvailable(2), 2u);
  PeerWrite("cd");
  n = 4;
  ASSERT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 2000), CL_ERR_NO_ERR);
  EXPECT_EQ(std::string(buf, 4), "abcd");
}

TEST_F(ClSerTtyTest, ReadWaitsForBytesThatArriveLater) {
  Open();
  std::thread peer([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    PeerWrite("12");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    PeerWrite("345");
  });
  char buf[5];
  CLUINT32 n = 5;
  EXPECT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 5000), CL_ERR_NO_ERR);
  peer.join();
  EXPECT_EQ(std::string(buf, 5), "12345");
  n = 0;
  EXPECT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 0), CL_ERR_NO_ERR);
}

TEST_F(ClSerTtyTest, FlushDiscardsReceivedBytes) {
  Open();
  PeerWrite("junk");
  ASSERT_EQ(WaitAvailable(4), 4u);
  char buf[4];
  CLUINT32 n = 8; // more than there is: the four bytes land in the pending queue
  EXPECT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 5), CL_ERR_TIMEOUT);
  ASSERT_EQ(Cl(clFlushPort)(m_ref), CL_ERR_NO_ERR);
  EXPECT_EQ(WaitAvailable(0), 0u);
  PeerWrite("ok");
  n = 2;
  ASSERT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 2000), CL_ERR_NO_ERR);
  EXPECT_EQ(std::string(buf, 2), "ok");
}

TEST_F(ClSerTtyTest, BaudRateBitsMapOntoTheLine) {
  Open();
  CLUINT32 mask = 0;
  ASSERT_EQ(Cl(clGetSupportedBaudRates)(m_ref, &mask), CL_ERR_NO_ERR);
  EXPECT_EQ(mask, 0xFFu);
  const int probe = ::open(m_slave.c_str(), O_RDWR | O_NOCTTY);
  ASSERT_GE(probe, 0);
  termios tio{};
  ASSERT_EQ(::tcgetattr(probe, &tio), 0);
  EXPECT_EQ(::cfgetospeed(&tio), static_cast<speed_t>(B9600));
  EXPECT_EQ(tio.c_cflag & (CSIZE | PARENB | CSTOPB), static_cast<tcflag_t>(CS8));
  ASSERT_EQ(Cl(clSetBaudRate)(m_ref, CL_BAUDRATE_115200), CL_ERR_NO_ERR);
  ASSERT_EQ(::tcgetattr(probe, &tio), 0);
  EXPECT_EQ(::cfgetospeed(&tio), static_cast<speed_t>(B115200));
  ASSERT_EQ(Cl(clSetBaudRate)(m_ref, CL_BAUDRATE_921600), CL_ERR_NO_ERR);
  ASSERT_EQ(::tcgetattr(probe, &tio), 0);
  EXPECT_EQ(::cfgetospeed(&tio), static_cast<speed_t>(B921600));
  ::close(probe);
  EXPECT_EQ(Cl(clSetBaudRate)(m_ref, 0), CL_ERR_BAUD_RATE_NOT_SUPPORTED);
  EXPECT_EQ(Cl(clSetBaudRate)(m_ref, CL_BAUDRATE_9600 | CL_BAUDRATE_19200),
            CL_ERR_BAUD_RATE_NOT_SUPPORTED);
  EXPECT_EQ(Cl(clSetBaudRate)(m_ref, CL_BAUDRATE_AUTOMAX), CL_ERR_BAUD_RATE_NOT_SUPPORTED);
}

TEST_F(ClSerTtyTest, VanishedPeerGivesTimeoutsNotErrorsOrHangs) {
  Open();
  ::close(m_master);
  m_master = -1;
  char buf[2] = {};
  CLUINT32 n = 2;
  EXPECT_EQ(Cl(clSerialRead)(m_ref, buf, &n, 30), CL_ERR_TIMEOUT);
  n = 2;
  EXPECT_EQ(Cl(clSerialWrite)(m_ref, buf, &n, 30), CL_ERR_TIMEOUT);
  EXPECT_EQ(n, 0u);
}

TEST_F(ClSerTtyTest, ErrorTextsAreTheStandardOnes) {
  char text[64];
  CLUINT32 size = sizeof text;
  ASSERT_EQ(Cl(clGetErrorText)(CL_ERR_TIMEOUT, text, &size), CL_ERR_NO_ERR);
  EXPECT_STREQ(text, "Timeout");
  size = 3;
  EXPECT_EQ(Cl(clGetErrorText)(CL_ERR_PORT_IN_USE, text, &size), CL_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, sizeof("Port in use"));
  size = sizeof text;
  EXPECT_EQ(Cl(clGetErrorText)(-12345, text, &size), CL_ERR_ERROR_NOT_FOUND);
}

} // namespace
