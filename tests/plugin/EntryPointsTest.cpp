#include "PluginExports.h"

#include <gtest/gtest.h>

using namespace Vorla;

namespace {
CTlInfo InfoOfClass(const char* deviceClass) {
  CTlInfo info;
  info.SetDeviceClass(deviceClass);
  return info;
}

// A transport layer of another plug-in.
class CForeignTl : public ITransportLayer {
public:
  int EnumerateDevices(DeviceInfoList&, const DeviceInfoList&, bool) override { return 0; }
  int EnumerateDevices(DeviceInfoList&, bool) override { return 0; }
  IVorlaDevice* CreateDevice(const gcstring&) override { return nullptr; }
  IVorlaDevice* CreateDevice(const CDeviceInfo&, const gcstring_vector&) override { return nullptr; }
  IVorlaDevice* CreateDevice(const CDeviceInfo&) override { return nullptr; }
  IVorlaDevice* CreateFirstDevice(const CDeviceInfo&, const gcstring_vector&) override {
    return nullptr;
  }
  IVorlaDevice* CreateFirstDevice(const CDeviceInfo&) override { return nullptr; }
  void DestroyDevice(IVorlaDevice*) override {}
  CTlInfo GetTlInfo() const override { return CTlInfo(); }
  CDeviceInfo CreateDeviceInfo() override { return CDeviceInfo(); }
  IXmlFileProvider* GetXmlFileProvider() override { return nullptr; }
  bool IsAllowedByEnvironment() override { return true; }
  int InternalEnumerateDevices(DeviceInfoList&) override { return 0; }
  IVorlaDevice* CreateDeviceWithDescription(const CDeviceInfo&, const gcstring_vector&) override {
    return nullptr;
  }
  IVorlaDevice* FindAndCreateDevice(const CDeviceInfo&, const gcstring_vector&, bool) override {
    return nullptr;
  }
  IVorlaDevice* InternalCreateDevice(const CDeviceInfo&) override { return nullptr; }
  CDeviceInfo InternalCreateDeviceInfo() override { return CDeviceInfo(); }
  bool IsDeviceMatch(const CDeviceInfo&, const CDeviceInfo&) override { return false; }
  gcstring GetDeviceClass() const override { return "Foreign"; }
  bool CanCreateWithoutLookup(const CDeviceInfo&) override { return false; }
  void DestroyAllDevices() override {}
};
} // namespace

TEST(EntryPoints, CreateAcceptsOnlyTheExactDeviceClass) {
  for (const char* wrong : {"", "Camera Link", "hexmarcameralink", "HexmarCameraLink "})
    EXPECT_EQ(Create(InfoOfClass(wrong)), nullptr) << wrong;
  CTlInfo none;
  EXPECT_EQ(Create(none), nullptr);
}

TEST(EntryPoints, OneTransportLayerPerModuleUntilDestroyed) {
  ITransportLayer* a = Create(InfoOfClass("HexmarCameraLink"));
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(Create(GetTLInfo()), a);
  Destroy(a);
  ITransportLayer* b = Create(GetTLInfo());
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(Create(GetTLInfo()), b);
  Destroy(b);
}

TEST(EntryPoints, DestroyIgnoresNullAndForeignPointers) {
  ITransportLayer* mine = Create(GetTLInfo());
  Destroy(nullptr);
  CForeignTl foreign;
  Destroy(&foreign); // neither deleted nor taken for the single object
  EXPECT_EQ(Create(GetTLInfo()), mine);
  Destroy(mine);
}

TEST(EntryPoints, LibraryEntryPointReportsSuccessForEveryReason) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(DllMain(nullptr, 7, nullptr), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "*** Invalid ul_reason_for_call!!! ***\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(DllMain(nullptr, 2, nullptr), 1);
  EXPECT_EQ(DllMain(nullptr, 3, nullptr), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
