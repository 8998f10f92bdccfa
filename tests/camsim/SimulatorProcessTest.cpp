// vorla-camsim as a process: the pty path on the first line, answers on the line, clean exit.
#include "../e2e/SimulatorProcess.h"

#include <gencp/Packet.h>
#include <videocable/CableReader.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

using VorlaE2E::CSimulatorProcess;

namespace {

class SimulatorProcess : public ::testing::Test {
protected:
  void SetUp() override {
    if (CSimulatorProcess::Executable().empty())
      GTEST_SKIP() << "VORLA_TEST_BUILD_DIR not set";
  }
  //! The exit status of a simulator whose standard input, a pipe, closes at once (124: it did
  //! not end within ten seconds).
  static int Run(const std::string& args) {
    const std::string command =
        "true | timeout 10 " + CSimulatorProcess::Executable() + args + " >/dev/null 2>&1";
    return WEXITSTATUS(std::system(command.c_str()));
  }
};

} // namespace

TEST_F(SimulatorProcess, AnswersOnThePtyAndEndsOnSigtermOrWithStdin) {
  CSimulatorProcess simulator;
  ASSERT_TRUE(simulator.Start({"--serial", "SIM42", "--zip"})) << simulator.Error();
  ASSERT_EQ(simulator.SlavePath().rfind("/dev/pts/", 0), 0u) << simulator.SlavePath();
  const int fd = open(simulator.SlavePath().c_str(), O_RDWR | O_NOCTTY);
  ASSERT_GE(fd, 0);
  termios tio{};
  tcgetattr(fd, &tio);
  cfmakeraw(&tio);
  tcsetattr(fd, TCSANOW, &tio);
  const std::vector<std::uint8_t> cmd = GenCP::CPacket::ReadMem(0, 0x144, 64).Encode();
  ASSERT_EQ(write(fd, cmd.data(), cmd.size()), static_cast<ssize_t>(cmd.size()));
  std::uint8_t ack[16 + 64] = {};
  for (std::size_t got = 0; got < sizeof ack;) {
    pollfd pfd{fd, POLLIN, 0};
    ASSERT_EQ(poll(&pfd, 1, 1000), 1);
    const ssize_t r = read(fd, ack + got, sizeof ack - got);
    ASSERT_GT(r, 0);
    got += static_cast<std::size_t>(r);
  }
  EXPECT_STREQ(reinterpret_cast<const char*>(ack + 16), "SIM42");
  close(fd);
  EXPECT_EQ(simulator.Stop(), 0);
  EXPECT_EQ(Run(""), 0);
}

// The cable of the chosen channel lives exactly as long as the simulator; a second simulator
// cannot take a channel that is served; bad options are usage errors.
TEST_F(SimulatorProcess, ServesItsVideoChannelUntilItEnds) {
  const std::string board = std::to_string(getpid());
  const std::string name = VideoCable::CableName(static_cast<std::uint32_t>(getpid()), 5);
  CSimulatorProcess simulator;
  ASSERT_TRUE(simulator.Start({"--ignore-stdin", "--board", board, "--channel", "5",
                               "--sensor-width", "64", "--sensor-height", "16"}))
      << simulator.Error();
  VideoCable::CCableReader reader;
  EXPECT_TRUE(reader.Attach(name));
  EXPECT_EQ(Run(" --ignore-stdin --board " + board + " --channel 5"), 1);
  EXPECT_EQ(simulator.Stop(), 0);
  EXPECT_FALSE(reader.CameraPresent());
  EXPECT_FALSE(VideoCable::CCableReader().Attach(name));
  for (const char* bad :
       {" --bogus", " --board x", " --channel -1", " --video-slots 2", " --sensor-width 30"})
    EXPECT_EQ(Run(bad), 2) << bad;
}
