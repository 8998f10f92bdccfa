// vorla-camsim: a Hexmar GenCP camera on a pseudo-terminal or a tty.
#include "CommandLine.h"
#include "PtyServer.h"

#include <videocable/CableLayout.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::atomic<bool> g_Stop{false};

extern "C" void OnSignal(int) {
  g_Stop = true;
}

// Standard input is watched only when it can end meaningfully: a pipe or a terminal.
bool StdinIsWatchable() {
  struct stat st {};
  return isatty(STDIN_FILENO) || (fstat(STDIN_FILENO, &st) == 0 && S_ISFIFO(st.st_mode));
}

} // namespace

int main(int argc, char** argv) {
  camsim::CCommandLine options;
  std::string error;
  if (!options.Parse(argc, argv, error)) {
    std::fprintf(stderr, "vorla-camsim: %s\n%s", error.c_str(),
                 camsim::CCommandLine::Usage().c_str());
    return 2;
  }
  if (options.m_Help) {
    std::fputs(camsim::CCommandLine::Usage().c_str(), stdout);
    return 0;
  }
  struct sigaction action {};
  action.sa_handler = OnSignal;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  std::signal(SIGPIPE, SIG_IGN);

  try {
    std::shared_ptr<camsim::CCameraModel> camera;
    try {
      camera = std::make_shared<camsim::CCameraModel>(options.m_Camera);
    } catch (const std::runtime_error& e) {
      // Another simulator has the default channel: serve the serial line without video
      // rather than not at all. A channel asked for by name must be had.
      if (options.m_ChannelGiven || !options.m_Camera.m_Video)
        throw;
      std::fprintf(stderr, "vorla-camsim: %s; this camera sends no video\n", e.what());
      options.m_Camera.m_Video = false;
      camera = std::make_shared<camsim::CCameraModel>(options.m_Camera);
    }
    camsim::CPtyServer server(camera);
    std::string path = options.m_Tty;
    if (path.empty()) {
      path = server.OpenPty();
      if (path.empty()) {
        std::fprintf(stderr, "vorla-camsim: cannot open a pseudo-terminal: %s\n",
                     std::strerror(errno));
        return 1;
      }
    } else if (!server.OpenTty(path)) {
      std::fprintf(stderr, "vorla-camsim: cannot open '%s': %s\n", path.c_str(),
                   std::strerror(errno));
      return 1;
    }
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    if (options.m_Camera.m_Video)
      std::fprintf(
          stderr, "vorla-camsim: video for Board=%u Channel=%u (shared memory %s)\n",
          options.m_Camera.m_VideoBoard, options.m_Camera.m_VideoChannel,
          VideoCable::CableName(options.m_Camera.m_VideoBoard, options.m_Camera.m_VideoChannel)
              .c_str());
    server.Serve(g_Stop, !options.m_IgnoreStdin && StdinIsWatchable());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "vorla-camsim: %s\n", e.what());
    return 1;
  }
  return 0;
}
