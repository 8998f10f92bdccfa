// CCLPort against the fake serial library and the fake CLProtocol driver of this folder.
#include "TestSupport.h"
#include "fakes/FakeState.h"

#include <CLProtocol/CLPort.h>
#include <GenApi/Log.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <dlfcn.h>

namespace fs = std::filesystem;
using CLProtocol::CCLPort;
using CLProtocol::CLErrException;
using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

namespace {

const std::string kSerialDir = FAKE_SERIAL_DIR;
const std::string kDriverRoot = FAKE_DRIVER_ROOT;
const std::string kDriverDir = kDriverRoot + "/Linux64_x64";
const std::string kDriver = "libCLProtocolFake.so";
const std::string kTemplate = kDriverDir + "#" + kDriver + "#Fake";
const std::string kCamTemplate = kDriverDir + "#" + kDriver + "#Fake#Cam";
const std::string kFullID = kDriverDir + "#" + kDriver + "#Fake#Cam#Model1#V1#SN42";

//! "<code>: <text>" of the CLErrException that `f` throws.
std::string Caught(const std::function<void()>& f) {
  try {
    f();
  } catch (const CLErrException& e) {
    return std::to_string(e.GetCLErrorCode()) + ": " + e.GetDescription();
  }
  return "(nothing thrown)";
}

CLINT32 CodeOf(const std::function<void()>& f) {
  const std::string caught = Caught(f);
  return caught[0] == '(' ? CL_ERR_NO_ERR : std::stoi(caught);
}

class CLPortTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    void* driver = ::dlopen(FAKE_DRIVER_MODULE, RTLD_NOW);
    void* serial = ::dlopen((kSerialDir + "/clserfak.so").c_str(), RTLD_NOW);
    ASSERT_TRUE(driver && serial);
    s_driver = static_cast<SFakeDriverState*>(::dlsym(driver, "fakeDriverState"));
    s_serial = static_cast<SFakeSerialState*>(::dlsym(serial, "fakeSerialState"));
    ASSERT_TRUE(s_driver && s_serial);
  }

  void SetUp() override {
    fs::create_directories(m_tmp / "root");
    m_root.Set((m_tmp / "root").string()); // nothing installed: only what the test names is found
    const int initCalls = s_driver->m_InitCalls; // once per process
    *s_driver = SFakeDriverState();
    s_driver->m_InitCalls = initCalls;
    s_serial->m_Supported = 0xFF;
  }

  static SFakeDriverState* s_driver;
  static SFakeSerialState* s_serial;
  const testsupport::CTempFolder m_folder;
  const fs::path m_tmp = m_folder.Path();
  const testsupport::CEnvGuard m_root{"VORLA_ROOT"}, m_serial{"CLSERIALPATH", kSerialDir.c_str()},
      m_driver{"GENICAM_CLPROTOCOL", kDriverRoot.c_str()};
};

SFakeDriverState* CLPortTest::s_driver = nullptr;
SFakeSerialState* CLPortTest::s_serial = nullptr;

TEST_F(CLPortTest, PortIDsNameManufacturerAndPortOfEveryLibraryOnce) {
  // A second folder with the same library under another valid name, and files whose names
  // are no serial library names.
  fs::create_directories(m_tmp / "more");
  fs::create_symlink(kSerialDir + "/clserfak.so", m_tmp / "more" / "clserxyz.so");
  fs::create_symlink(kSerialDir + "/clserfak.so", m_tmp / "more" / "clserabcd.so");
  fs::create_symlink(kSerialDir + "/clserfak.so", m_tmp / "more" / "libclserabc.so");
  m_serial.Set(kSerialDir + ":" + (m_tmp / "more").string());
  GenICam::gcstring_vector ids;
  CCLPort::GetPortIDs(ids);
  EXPECT_THAT(ids, ElementsAre("Fake#echo", "Fake#dead", "Fake#busy"));

  m_serial.Unset();
  CCLPort::GetPortIDs(ids);
  EXPECT_TRUE(ids.empty());
}

std::vector<std::string> g_warnings;
void CaptureWarning(const char* category, const char* text) {
  g_warnings.push_back(std::string(category) + ": " + text);
}

// GENICAM_CLPROTOCOL as GenICam's reference module reads it: ';'-separated folders whose
// Linux64_x64 sub-folder holds the drivers, that folder being token 0. A missing folder is skipped
// with one warning, not an exception.
TEST_F(CLPortTest, DriverFoldersAreListedLikeTheReferenceModuleDoes) {
  const std::string fake = FAKE_DRIVER_MODULE;
  const std::string a = (m_tmp / "a").string(), b = (m_tmp / "b").string();
  fs::create_directories(a + "/Linux64_x64");
  fs::create_directories(b + "/Linux64_x64");
  // Release and debug side by side: only the release counts; a lone debug build stands in.
  fs::create_symlink(fake, a + "/Linux64_x64/libA.so");
  fs::create_symlink(fake, a + "/Linux64_x64/libA.debug.so");
  fs::create_symlink(fake, b + "/Linux64_x64/libB.debug.so");
  fs::create_symlink(fake, b + "/Linux64_x64/notadriver.so");
  const std::string missing = (m_tmp / "missing").string();
  const auto Missing = [](const std::string& entry) {
    return "CLProtocol: GENICAM_CLPROTOCOL names '" + entry + "', which has no folder '" + entry +
           "/Linux64_x64': skipped";
  };
  const std::vector<std::string> aTemplates{a + "/Linux64_x64#libA.so#Fake",
                                            a + "/Linux64_x64#libA.so#Fake#Cam"};
  const struct {
    std::string list;
    std::vector<std::string> templates;
    std::vector<std::string> warnings;
  } rows[] = {
      {kDriverRoot + ";" + a + "/;" + b + ";" + kDriverRoot,
       {kTemplate, kCamTemplate, aTemplates[0], aTemplates[1],
        b + "/Linux64_x64#libB.debug.so#Fake", b + "/Linux64_x64#libB.debug.so#Fake#Cam"},
       {}},
      {missing + ";" + a + ";;" + missing, aTemplates, {Missing(missing)}},
      {missing + ";" + a, aTemplates, {}},                           // warned once per process
      {kDriverRoot + ":" + a, {}, {Missing(kDriverRoot + ":" + a)}}, // ':' separates nothing
  };
  const GenApi::LogFunction previous = GenApi::SetLogFunction(&CaptureWarning);
  for (const auto& row : rows) {
    g_warnings.clear();
    m_driver.Set(row.list);
    GenICam::gcstring_vector templates;
    EXPECT_NO_THROW(CCLPort::GetDeviceIDTemplates(templates)) << row.list;
    EXPECT_EQ(std::vector<std::string>(templates.begin(), templates.end()), row.templates)
        << row.list;
    EXPECT_EQ(g_warnings, row.warnings) << row.list;
  }
  GenApi::SetLogFunction(previous);
  // One file, loaded and initialised once however often it is found.
  EXPECT_EQ(s_driver->m_InitCalls, 1);
}

TEST_F(CLPortTest, ProbeAnswersTheFullDeviceIDAndClosesThePort) {
  EXPECT_EQ(CCLPort::ProbeDevice("Fake#echo", kTemplate, 321), kFullID);
  EXPECT_EQ(s_serial->m_LastReadTimeout, 321u);
  EXPECT_EQ(s_driver->m_LastProbeQuery, kTemplate);
  EXPECT_EQ(s_serial->m_Open, 0);
  EXPECT_EQ(s_driver->m_Connections, 0);
  // A driver that answers the full form is taken as it is.
  s_driver->m_Answer = kFullID;
  EXPECT_EQ(CCLPort::ProbeDevice("Fake#echo", kTemplate), kFullID);
}

TEST_F(CLPortTest, ProbeWithoutCameraIsEmptyAndSilentLineIsTimeout) {
  s_driver->m_ProbeStatus = CL_ERR_NO_DEVICE_FOUND;
  EXPECT_EQ(CCLPort::ProbeDevice("Fake#echo", kTemplate), "");
  s_driver->m_ProbeStatus = CL_ERR_NO_ERR;
  EXPECT_EQ(CodeOf([] { CCLPort::ProbeDevice("Fake#dead", kTemplate); }), CL_ERR_TIMEOUT);
  CCLPort port; // a connect that fails lets the port go
  EXPECT_EQ(CodeOf([&] { port.Connect("Fake#dead", kTemplate); }), CL_ERR_TIMEOUT);
  EXPECT_FALSE(port.IsConnected());
  EXPECT_EQ(s_serial->m_Open, 0);
}

TEST_F(CLPortTest, ProbeAndRegisterErrorsCarryCodeAndBestText) {
  s_driver->m_ProbeStatus = -30209;
  EXPECT_EQ(Caught([] { CCLPort::ProbeDevice("Fake#echo", kTemplate); }),
            "-30209: Fake camera went away"); // the driver's own text
  EXPECT_EQ(Caught([] { CCLPort::ProbeDevice("Fake#busy", kTemplate); }),
            std::to_string(CL_ERR_PORT_IN_USE) + ": Fake port is busy"); // the serial library's
  EXPECT_EQ(CodeOf([] { CCLPort::ProbeDevice("Fake#nosuchport", kTemplate); }),
            CL_ERR_INVALID_INDEX);
  EXPECT_EQ(CodeOf([] { CCLPort::ProbeDevice("Fake#echo", "garbage"); }), CL_ERR_INVALID_DEVICEID);
  s_driver->m_ProbeStatus = CL_ERR_NO_ERR;
  CCLPort port; // register accesses alike
  port.Connect("Fake#echo", kFullID);
  unsigned char b[2] = {};
  EXPECT_EQ(Caught([&] { port.Write(b, 0xDEAD, 2); }), "-30209: Fake camera went away");
  // Nobody has a better text: the standard one.
  EXPECT_EQ(Caught([&] { port.Read(b, 0xBEEF, 2); }), std::to_string(CL_ERR_TIMEOUT) + ": Timeout");
  EXPECT_THROW(port.Read(nullptr, 0, 2), GenICam::InvalidArgumentException);
}

TEST_F(CLPortTest, AnswersCannotSteerTheDriver) {
  // Whatever the driver answers, directory and file of the DeviceID are the template's.
  const std::string head = kDriverDir + "#" + kDriver + "#";
  const struct {
    const char* answer;
    std::string id; // empty: refused
  } rows[] = {
      {"/tmp/evil#libEvil.so#Fake#Cam", head + "/tmp/evil#libEvil.so#Fake#Cam"},
      {"Fake#Cam#../../x#V 1.0#SN-1", head + "Fake#Cam#../../x#V 1.0#SN-1"},
      {"A#B#C#D#E#F", ""},
      {"Fake#Cam\n", ""},
  };
  for (const auto& row : rows) {
    s_driver->m_Answer = row.answer;
    if (row.id.empty()) {
      EXPECT_EQ(CodeOf([] { CCLPort::ProbeDevice("Fake#echo", kTemplate); }),
                CL_ERR_INVALID_DEVICEID)
          << row.answer;
      continue;
    }
    EXPECT_EQ(CCLPort::ProbeDevice("Fake#echo", kTemplate), row.id) << row.answer;
  }
}

TEST_F(CLPortTest, OnlyDiscoveredDriversAreEverLoaded) {
  // A driver-shaped file outside every driver folder.
  fs::create_directories(m_tmp / "evil" / "Linux64_x64");
  const fs::path evil = m_tmp / "evil" / "Linux64_x64" / "libEvil.so";
  fs::copy_file(FAKE_DRIVER_MODULE, evil);
  const std::string id = evil.parent_path().string() + "#libEvil.so#Fake#Cam#Model1#V1#SN42";
  CCLPort port;
  EXPECT_EQ(CodeOf([&] { port.Connect("Fake#echo", id); }), CL_ERR_INVALID_DEVICEID);
  EXPECT_EQ(CodeOf([&] { CCLPort::ProbeDevice("Fake#echo", id); }), CL_ERR_INVALID_DEVICEID);
  EXPECT_EQ(::dlopen(evil.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_FALSE(port.IsConnected());
  EXPECT_EQ(port.GetAccessMode(), GenApi::NA);
}

TEST_F(CLPortTest, ConnectReadsWritesAndDisconnects) {
  CCLPort port;
  EXPECT_EQ(port.GetSerialTimeOut(), 500u);
  port.SetSerialTimeOut(400);
  port.Connect("Fake#echo", kCamTemplate);
  EXPECT_EQ(port.GetDeviceID(), kFullID);
  EXPECT_EQ(port.GetAccessMode(), GenApi::RW);
  EXPECT_EQ(s_serial->m_LastReadTimeout, 400u);
  const unsigned char out[4] = {1, 2, 3, 4};
  port.Write(out, 16, 4);
  unsigned char in[4] = {};
  port.Read(in, 16, 4);
  EXPECT_EQ(std::memcmp(in, out, 4), 0);
  EXPECT_EQ(s_driver->m_Connections, 1);
  port.Disconnect();
  EXPECT_EQ(s_driver->m_Connections, 0);
  EXPECT_EQ(s_serial->m_Open, 0);
  EXPECT_THROW(port.Read(in, 16, 4), GenICam::AccessException);
  CCLPort().Connect("Fake#echo", kFullID); // the destructor disconnects and closes too
  EXPECT_EQ(s_driver->m_Connections, 0);
  EXPECT_EQ(s_serial->m_Open, 0);
}

TEST_F(CLPortTest, PendingWritesAreWaitedOutAndEndlessOnesCancelled) {
  CCLPort port;
  port.Connect("Fake#echo", kFullID);
  const unsigned char v = 9;
  s_driver->m_PendingWrites = 3;
  port.Write(&v, 0, 1);
  EXPECT_EQ(s_driver->m_Continuations, 3);
  EXPECT_FALSE(s_driver->m_Cancelled);

  s_driver->m_PendingWrites = 1 << 30;
  EXPECT_EQ(CodeOf([&] { port.Write(&v, 0, 1); }), CL_ERR_TIMEOUT);
  EXPECT_TRUE(s_driver->m_Cancelled);
}

TEST_F(CLPortTest, BaudRatesOfCameraAndPortTogether) {
  CCLPort port;
  CLUINT32 mask = 99;
  EXPECT_NE(port.SupportedBaudrates(mask), CL_ERR_NO_ERR);
  EXPECT_EQ(mask, 0u);
  port.Connect("Fake#echo", kFullID);
  s_serial->m_Supported = 0x0F | 0x40;
  ASSERT_EQ(port.SupportedBaudrates(mask), CL_ERR_NO_ERR);
  EXPECT_EQ(mask, 0x0Fu); // camera 0x1F
  port.SetDeviceBauderate(CL_BAUDRATE_57600);
  EXPECT_EQ(port.GetDeviceBauderate(), static_cast<CLUINT32>(CL_BAUDRATE_57600));
  EXPECT_EQ(s_serial->m_Baud, static_cast<CLUINT32>(CL_BAUDRATE_57600));
  EXPECT_EQ(CodeOf([&] { port.SetDeviceBauderate(CL_BAUDRATE_921600); }), CL_ERR_PARAM_DATA_VALUE);
}

TEST_F(CLPortTest, XmlIsTheBestMatchingOneDownloadedAtTheFastestRate) {
  CCLPort port;
  port.Connect("Fake#echo", kFullID);
  GenICam::gcstring xml;
  port.GetXML(xml);
  // Camera 0x1F and port 0xFF: 115200 (0x10) during the download, 9600 again afterwards.
  EXPECT_EQ(xml, "<xml id='SchemaVersion.1.1@Fake#Cam@XMLVersion.2.0.0' baud='16'/>");
  EXPECT_EQ(port.GetDeviceBauderate(), static_cast<CLUINT32>(CL_BAUDRATE_9600));
  EXPECT_EQ(s_serial->m_Baud, static_cast<CLUINT32>(CL_BAUDRATE_9600));

  port.GetXML(xml, false);
  EXPECT_EQ(xml, "<xml id='SchemaVersion.1.1@Fake#Cam@XMLVersion.2.0.0' baud='1'/>");

  s_driver->m_XMLIDs = "SchemaVersion.1.0@Other@XMLVersion.1.0.0";
  port.GetXML(xml);
  EXPECT_EQ(xml, ""); // nothing for this camera
  s_driver->m_XMLIDs = "";
  port.GetXML(xml);
  EXPECT_EQ(xml, "");
}

} // namespace
