// vorla-camsim as a process: the pty path on the first line, answers on the line, clean exit.
#include <gencp/ByteOrder.h>
#include <gencp/Packet.h>
#include <videocable/CableReader.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

class SimulatorProcess : public ::testing::Test {
protected:
  void SetUp() override {
    const char* build = std::getenv("VORLA_TEST_BUILD_DIR");
    if (!build)
      GTEST_SKIP() << "VORLA_TEST_BUILD_DIR not set";
    m_Exe = std::string(build) + "/bin/vorla-camsim";
  }
  void Start(std::vector<std::string> args) {
    int in[2], out[2];
    ASSERT_EQ(pipe(in), 0);
    ASSERT_EQ(pipe(out), 0);
    m_Pid = fork();
    ASSERT_GE(m_Pid, 0);
    if (m_Pid == 0) {
      dup2(in[0], STDIN_FILENO);
      dup2(out[1], STDOUT_FILENO);
      close(in[1]);
      close(out[0]);
      std::vector<char*> argv{const_cast<char*>(m_Exe.c_str())};
      for (std::string& a : args)
        argv.push_back(const_cast<char*>(a.c_str()));
      argv.push_back(nullptr);
      execv(m_Exe.c_str(), argv.data());
      _exit(127);
    }
    close(in[0]);
    close(out[1]);
    m_Stdin = in[1];
    FILE* out_ = fdopen(out[0], "r");
    char line[256] = {};
    ASSERT_NE(fgets(line, sizeof line, out_), nullptr);
    fclose(out_);
    m_Path = line;
    m_Path.erase(m_Path.find_last_not_of("\r\n") + 1);
  }
  int Wait() {
    int status = 0;
    for (int i = 0; i < 500; ++i) {
      if (waitpid(m_Pid, &status, WNOHANG) == m_Pid) {
        m_Pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      usleep(10000);
    }
    return -2;
  }
  void TearDown() override {
    if (m_Stdin >= 0)
      close(m_Stdin);
    if (m_Pid > 0) {
      kill(m_Pid, SIGKILL);
      waitpid(m_Pid, nullptr, 0);
    }
  }
  //! Reads exactly n bytes from fd within about a second.
  static bool ReadAll(int fd, std::uint8_t* p, std::size_t n) {
    for (std::size_t got = 0; got < n;) {
      pollfd pfd{fd, POLLIN, 0};
      if (poll(&pfd, 1, 1000) <= 0)
        return false;
      const ssize_t r = read(fd, p + got, n - got);
      if (r <= 0)
        return false;
      got += static_cast<std::size_t>(r);
    }
    return true;
  }

  std::string m_Exe, m_Path;
  pid_t m_Pid = -1;
  int m_Stdin = -1;
};

} // namespace

TEST_F(SimulatorProcess, AnswersOnThePtyAndEndsWithStdin) {
  Start({"--serial", "SIM42", "--zip"});
  ASSERT_EQ(m_Path.rfind("/dev/pts/", 0), 0u) << m_Path;
  const int fd = open(m_Path.c_str(), O_RDWR | O_NOCTTY);
  ASSERT_GE(fd, 0);
  termios tio{};
  tcgetattr(fd, &tio);
  cfmakeraw(&tio);
  tcsetattr(fd, TCSANOW, &tio);
  const std::vector<std::uint8_t> cmd = GenCP::CPacket::ReadMem(0, 0x144, 64).Encode();
  ASSERT_EQ(write(fd, cmd.data(), cmd.size()), static_cast<ssize_t>(cmd.size()));
  std::uint8_t ack[16 + 64];
  ASSERT_TRUE(ReadAll(fd, ack, sizeof ack));
  EXPECT_STREQ(reinterpret_cast<const char*>(ack + 16), "SIM42");
  close(fd);
  close(m_Stdin);
  m_Stdin = -1;
  EXPECT_EQ(Wait(), 0);
}

TEST_F(SimulatorProcess, EndsCleanlyOnSigterm) {
  Start({"--ignore-stdin"});
  kill(m_Pid, SIGTERM);
  EXPECT_EQ(Wait(), 0);
}

TEST_F(SimulatorProcess, RejectsUnknownOptions) {
  const std::string cmd = m_Exe + " --bogus </dev/null >/dev/null 2>&1";
  const int status = std::system(cmd.c_str());
  EXPECT_EQ(WEXITSTATUS(status), 2);
}

// The cable of the chosen channel lives exactly as long as the simulator; a second simulator
// cannot take a channel that is served.
TEST_F(SimulatorProcess, ServesItsVideoChannelUntilItEnds) {
  const std::string board = std::to_string(getpid());
  const std::string name = VideoCable::CableName(static_cast<std::uint32_t>(getpid()), 5);
  Start({"--ignore-stdin", "--board", board, "--channel", "5", "--sensor-width", "64",
         "--sensor-height", "16"});
  VideoCable::CCableReader reader;
  EXPECT_TRUE(reader.Attach(name));
  const std::string second =
      m_Exe + " --ignore-stdin --board " + board + " --channel 5 </dev/null >/dev/null 2>&1";
  EXPECT_EQ(WEXITSTATUS(std::system(second.c_str())), 1);
  kill(m_Pid, SIGTERM);
  EXPECT_EQ(Wait(), 0);
  EXPECT_FALSE(reader.CameraPresent());
  EXPECT_FALSE(VideoCable::CCableReader().Attach(name));
  for (const char* bad : {" --board x", " --channel -1", " --video-slots 2", " --sensor-width 30"})
    EXPECT_EQ(WEXITSTATUS(std::system((m_Exe + bad + " </dev/null >/dev/null 2>&1").c_str())), 2)
        << bad;
}
