#include "NullDevice.h"
#include "PluginExports.h"
#include "TestSupport.h"
#include "VorlaCLSerTl.h"

#include <VorlaBase/Logging.h>
#include <gtest/gtest.h>

#include <memory>

using namespace Vorla;
using testsupport::Thrown;

namespace {
// A device that records its end; the transport layer's book holds it.
class CRecordingDevice : public testsupport::CNullDevice, public IVorlaDevicePrivate {
public:
  explicit CRecordingDevice(int* destroyed) : m_destroyed(destroyed) {}
  void LoadXMLFromFile(const gcstring&) override {}
  void LoadXMLFromString(const gcstring&, const gcstring_vector&) override {}
  void DestroySelf() override {
    ++*m_destroyed;
    delete this;
  }

private:
  int* m_destroyed;
};

// Opens the book of a transport layer to the test.
class CTestableTl : public CVorlaCLSerTl {
public:
  using CVorlaCLSerTl::AddCreatedDevice;
  using CVorlaCLSerTl::CreatedDevices;
  using CVorlaCLSerTl::GetRefCount;
};

CDeviceInfo Record(const char* deviceClass, const char* fullName) {
  CDeviceInfo info;
  if (deviceClass)
    info.SetDeviceClass(deviceClass);
  info.SetFullName(fullName);
  return info;
}
} // namespace

TEST(TransportLayer, EnvironmentRestrictionIsReadAtConstructionAndCaseSensitive) {
  struct Case {
    const char* value;
    bool allowed;
  };
  for (const Case c : {Case{nullptr, true}, Case{"", true}, Case{"HexmarCameraLink", true},
                       Case{"hexmarcameralink", false}, Case{"SomeOtherClass", false}}) {
    auto tl = [&] { // the variable is read at construction only
      testsupport::CEnvGuard restriction("VORLA_USE_TL", c.value);
      return std::make_unique<CVorlaCLSerTl>();
    }();
    EXPECT_EQ(tl->IsAllowedByEnvironment(), c.allowed) << (c.value ? c.value : "(unset)");
    DeviceInfoList list{Record(nullptr, "kept?")};
    if (!c.allowed) {
      EXPECT_EQ(tl->EnumerateDevices(list, false), 0);
      EXPECT_TRUE(list.empty());
      EXPECT_EQ(Thrown([&] { tl->CreateDevice(Record("HexmarCameraLink", "kept?")); }),
                "Device creation failed. Transport layer is restricted by the environment");
    }
  }
}

// A filter for other classes does not even enumerate (which would throw in this build); the filter
// step appends each matching device once and logs the counts.
TEST(TransportLayer, FilterForOtherClassesDoesNotEnumerateAndFilterStepAppendsEachDeviceOnce) {
  CVorlaCLSerTl tl;
  vxlog::CLogCapture log;
  DeviceInfoList list;
  EXPECT_EQ(tl.EnumerateDevices(list, DeviceInfoList{Record("SomeOtherClass", "")}), 0);
  EXPECT_TRUE(log.Entries().empty());
  const DeviceInfoList all{Record("HexmarCameraLink", "A"), Record("HexmarCameraLink", "B")};
  DeviceInfoList out;
  const DeviceInfoList twoMatchingA{Record(nullptr, "A"), Record("HexmarCameraLink", "A")};
  EXPECT_EQ(tl.FilterDevices(all, twoMatchingA, out), 1);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0].GetFullName(), "A");
  ASSERT_EQ(log.Entries().size(), 1u);
  EXPECT_EQ(log.Entries()[0].category, "vorla.base.TL");
  EXPECT_EQ(log.Entries()[0].text, "Filter applied to device list, count of devices before "
                                   "filter step = 2, after filter step = 1.");
  log.Clear();
  EXPECT_EQ(tl.FilterDevices(DeviceInfoList(), twoMatchingA, out), 0);
  EXPECT_TRUE(log.Entries().empty());
}

TEST(TransportLayer, CreationRejectsRecordsWithoutPortOrDeviceId) {
  CVorlaCLSerTl tl;
  vxlog::CLogCapture log;
  CVorlaCLSerDeviceInfo info;
  info.SetFullName("cam");
  info.SetPortID("");
  EXPECT_EQ(Thrown<GenICam::InvalidArgumentException>([&] { tl.InternalCreateDevice(info); }),
            "Missing PortID property in device info of 'cam'");
  EXPECT_EQ(log.Count("Missing PortID property in device info of 'cam'"), 1u);
  info.SetPortID("TTY#ttyS4");
  EXPECT_EQ(Thrown<GenICam::RuntimeException>([&] { tl.InternalCreateDevice(info); }),
            "Missing DeviceID property in device info of 'cam'");
}

TEST(TransportLayer, BookOfDevicesCountsReferencesAndRejectsStrangers) {
  int destroyed = 0;
  auto* tl = new CTestableTl;
  EXPECT_EQ(tl->GetRefCount(), 1);
  auto* a = new CRecordingDevice(&destroyed);
  auto* b = new CRecordingDevice(&destroyed);
  tl->AddCreatedDevice(a);
  tl->AddCreatedDevice(b);
  EXPECT_EQ(tl->GetRefCount(), 3);

  CRecordingDevice stranger(&destroyed);
  try {
    tl->DestroyDevice(&stranger);
    FAIL();
  } catch (const GenICam::LogicalErrorException& e) {
    EXPECT_STREQ(e.GetDescription(), "Trying to destroy device which hasn't been created by me");
    EXPECT_STREQ(e.GetSourceFileName(), "TransportLayerPrivateImpl.h");
  }
  EXPECT_EQ(tl->CreatedDevices().size(), 2u);

  EXPECT_EQ(tl->Release(), 2); // the hook does nothing; only Destroy deletes
  EXPECT_EQ(tl->Release(), 1);
  tl->DestroyAllDevices(); // no references returned
  EXPECT_EQ(destroyed, 2);
  EXPECT_TRUE(tl->CreatedDevices().empty());
  EXPECT_EQ(tl->GetRefCount(), 1);

  tl->AddCreatedDevice(new CRecordingDevice(&destroyed));
  Destroy(tl); // destroys remaining devices first
  EXPECT_EQ(destroyed, 3);
}
