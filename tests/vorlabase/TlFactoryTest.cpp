#include <VorlaBase/TlFactory.h>

#include <gtest/gtest.h>

#include <cstdlib>

using namespace Vorla;

namespace {
// Restores VORLA_USE_TL after a test.
struct UseTl {
  explicit UseTl(const char* value) {
    if (value)
      ::setenv("VORLA_USE_TL", value, 1);
    else
      ::unsetenv("VORLA_USE_TL");
  }
  ~UseTl() { ::unsetenv("VORLA_USE_TL"); }
};
} // namespace

TEST(TlFactory, FindsTheCameraLinkPluginInTheBuildTree) {
  UseTl unset(nullptr);
  TlInfoList tls;
  CTlFactory::GetInstance().EnumerateTls(tls);
  ASSERT_EQ(tls.size(), 1u) << CTlFactory::GetInstance().GetPluginFolder();
  EXPECT_EQ(tls[0].GetDeviceClass(), "HexmarCameraLink");
  EXPECT_EQ(tls[0].GetFullName(), "Camera Link/HexmarCameraLink 2.3.5.2633");
}

TEST(TlFactory, HonoursTheEnvironmentRestriction) {
  {
    UseTl other("SomeOtherClass");
    TlInfoList tls;
    EXPECT_EQ(CTlFactory::GetInstance().EnumerateTls(tls), 0);
    EXPECT_EQ(CTlFactory::GetInstance().CreateTl("HexmarCameraLink"), nullptr);
  }
  UseTl same("HexmarCameraLink");
  TlInfoList tls;
  EXPECT_EQ(CTlFactory::GetInstance().EnumerateTls(tls), 1);
}

TEST(TlFactory, CountsReferencesUntilTheLastReleaseDestroys) {
  UseTl unset(nullptr);
  CTlFactory& factory = CTlFactory::GetInstance();
  EXPECT_EQ(factory.CreateTl("NoSuchClass"), nullptr);
  ITransportLayer* first = factory.CreateTl("HexmarCameraLink");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(factory.CreateTl("HexmarCameraLink"), first); // same object, one more reference
  factory.ReleaseTl(first);
  factory.ReleaseTl(first); // last reference: destroyed
  ITransportLayer* second = factory.CreateTl("HexmarCameraLink");
  ASSERT_NE(second, nullptr);
  factory.ReleaseTl(second);
  factory.ReleaseTl(nullptr); // ignored
}
