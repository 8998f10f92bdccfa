#include "TestSupport.h"

#include <VorlaBase/TlFactory.h>

#include <gtest/gtest.h>

using namespace Vorla;

namespace {
using UseTl = testsupport::CEnvGuard;
const char* const Var = "VORLA_USE_TL";
} // namespace

TEST(TlFactory, HonoursTheEnvironmentRestriction) {
  {
    UseTl other(Var, "SomeOtherClass");
    TlInfoList tls;
    EXPECT_EQ(CTlFactory::GetInstance().EnumerateTls(tls), 0);
    EXPECT_EQ(CTlFactory::GetInstance().CreateTl("HexmarCameraLink"), nullptr);
  }
  UseTl same(Var, "HexmarCameraLink");
  TlInfoList tls;
  EXPECT_EQ(CTlFactory::GetInstance().EnumerateTls(tls), 1);
}

TEST(TlFactory, FindsThePluginInTheBuildTreeAndCountsReferencesUntilTheLastReleaseDestroys) {
  UseTl unset(Var, nullptr);
  CTlFactory& factory = CTlFactory::GetInstance();
  TlInfoList tls;
  factory.EnumerateTls(tls);
  ASSERT_EQ(tls.size(), 1u) << factory.GetPluginFolder();
  EXPECT_EQ(tls[0].GetDeviceClass(), "HexmarCameraLink");
  EXPECT_EQ(tls[0].GetFullName(), "Camera Link/HexmarCameraLink 2.3.5.2633");
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
