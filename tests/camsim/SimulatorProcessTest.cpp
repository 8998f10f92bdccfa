// vorla-camsim as a process: its video channel, its end, its usage errors. Its serial line on a
// pty is driven by the end-to-end suites.
#include "../e2e/SimulatorProcess.h"

#include <videocable/CableReader.h>

#include <gtest/gtest.h>

#include <cstdlib>
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

// The cable of the chosen channel lives exactly as long as the simulator; a second simulator
// cannot take a channel that is served; one whose standard input closes ends cleanly; bad
// options are usage errors.
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
  EXPECT_EQ(Run(""), 0);
  for (const char* bad :
       {" --bogus", " --board x", " --channel -1", " --video-slots 2", " --sensor-width 30"})
    EXPECT_EQ(Run(bad), 2) << bad;
}
