#pragma once
// vorla-camsim as a child process of a test.
#include <string>
#include <vector>

#include <sys/types.h>

namespace VorlaE2E {

//! One running simulator, owned by the test that started it. Its standard input is a pipe held
//! here, so the simulator also ends when the test process dies.
class CSimulatorProcess {
public:
  CSimulatorProcess() = default;
  //! Stops a simulator that is still running.
  ~CSimulatorProcess();
  CSimulatorProcess(const CSimulatorProcess&) = delete;
  CSimulatorProcess& operator=(const CSimulatorProcess&) = delete;

  //! The built simulator, empty when VORLA_TEST_BUILD_DIR is not set.
  static std::string Executable();

  //! Starts the simulator and waits for the pty path it prints first. False, with a reason in
  //! Error(), when it does not start or prints no path.
  bool Start(const std::vector<std::string>& args);
  //! SIGTERM, then waits for the exit; the exit code, or -1 when it died by a signal or had to
  //! be killed.
  int Stop();

  bool IsRunning() const { return m_pid > 0; }
  const std::string& SlavePath() const { return m_slavePath; }
  //! "TTY#pts/N": the port as clsertty names it.
  std::string PortID() const;
  const std::string& Error() const { return m_error; }

private:
  pid_t m_pid = -1;
  int m_stdin = -1;
  std::string m_slavePath;
  std::string m_error;
};

} // namespace VorlaE2E
