// Where CCLPort finds the serial libraries when the environment names none: next to the host,
// as installed.
#include <CLProtocol/CLPort.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace fs = std::filesystem;
using CLProtocol::CCLPort;

namespace {

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
