// Where CCLPort finds the serial libraries when the environment names none: next to the host,
// as installed.
#include "TestSupport.h"

#include <CLProtocol/CLPort.h>

#include <gtest/gtest.h>

#include <algorithm>

using CLProtocol::CCLPort;

namespace {

TEST(CLPortDiscovery, SerialLibrariesNextToTheHostAreFoundWithoutEnvironment) {
  // The build tree mirrors the installed layout: <libdir>/vorla/clserial/clsertty.so.
  testsupport::CEnvGuard ports("CLSERTTY_PORTS", "/dev/vorla-test-tty"),
      path("CLSERIALPATH", nullptr), root("VORLA_ROOT", nullptr);
  GenICam::gcstring_vector ids;
  CCLPort::GetPortIDs(ids);
  EXPECT_NE(std::find(ids.begin(), ids.end(), "TTY#vorla-test-tty"), ids.end());
  // VORLA_ROOT moves the installation away: nothing is found in an empty one.
  const testsupport::CTempFolder empty;
  root.Set(empty.Path().string());
  CCLPort::GetPortIDs(ids);
  EXPECT_TRUE(ids.empty());
}

} // namespace
