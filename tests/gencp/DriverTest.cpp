// The driver's clp* entry points against an in-process camera: probing, register access,
// resends, pending acknowledges, faults and the camera's description.
#include "DriverSupport.h"
#include "ErrorCodes.h"

#include <camsim/CameraXml.h>
#include <gencp/Protocol.h>

#include <cstring>

using camsim::CCameraModel;
using camsim::SCameraOptions;

namespace {
constexpr std::uint64_t Dev = CCameraModel::DeviceBase;
constexpr std::uint64_t WidthReg = Dev + 0x00, HeightReg = Dev + 0x04, PixelFormatReg = Dev + 0x10,
                        PayloadReg = Dev + 0x14, LockReg = Dev + 0x18, UserSetSaveReg = Dev + 0x78;
} // namespace

using GenCPProbe = GenCPDriverFixture;

TEST_F(GenCPProbe, TemplateProbeAnswersShortDeviceId) {
  SCameraOptions options;
  options.m_Family = "Cam Sim";
  options.m_Serial = "0042-A";
  Attach(options);
  std::string id;
  ASSERT_EQ(Probe("Hexmar", id, m_Cookie), CL_ERR_NO_ERR);
  EXPECT_EQ(id, "Hexmar#Cam_Sim#HX1300#_1_0#_0042_A");
  EXPECT_NE(m_Cookie, 0u);
}

TEST_F(GenCPProbe, FullDeviceIdReconnectsOnlyToThatCamera) {
  Connect();
  std::string id;
  CLUINT32 again = 0;
  ASSERT_EQ(Probe("/lib/vorla#libCLProtocolGenCP.so#Hexmar#CamSim#HX1300#_1_0#HX0001", id, again),
            CL_ERR_NO_ERR);
  EXPECT_EQ(id, "Hexmar#CamSim#HX1300#_1_0#HX0001");
  EXPECT_NE(again, 0u);
  EXPECT_NE(again, m_Cookie);
  clpDisconnect(again);
  CLUINT32 other = 0;
  EXPECT_EQ(Probe("Hexmar#CamSim#HX1300#_1_0#HX0002", id, other), CL_ERR_NO_DEVICE_FOUND);
  EXPECT_EQ(Probe("Hexmar#OtherFamily", id, other), CL_ERR_NO_DEVICE_FOUND);
  EXPECT_EQ(Probe("Hexmar#Bad-Token", id, other), CL_ERR_INVALID_DEVICEID);
}

TEST_F(GenCPProbe, EmptyPortTimesOutAfterOneCommand) {
  m_Serial = std::make_unique<camsim::CLoopbackSerial>(nullptr);
  std::string id;
  CLUINT32 cookie = 0;
  EXPECT_EQ(Probe("Hexmar", id, cookie), CL_ERR_TIMEOUT);
  EXPECT_EQ(m_Serial->BytesWritten(), 28u); // one ReadMem, no resend
}

TEST_F(GenCPProbe, ForeignCameraIsNotFound) {
  SCameraOptions options;
  options.m_Manufacturer = "Elsewhere";
  Attach(options);
  std::string id;
  CLUINT32 cookie = 0;
  EXPECT_EQ(Probe("Hexmar", id, cookie), CL_ERR_NO_DEVICE_FOUND);
}

TEST_F(GenCPProbe, SmallBufferReportsNeededSize) {
  Attach();
  char buffer[8];
  CLUINT32 size = sizeof buffer;
  CLUINT32 cookie = 0;
  EXPECT_EQ(clpProbeDevice(m_Serial.get(), "Hexmar", buffer, &size, &cookie, Timeout),
            CL_ERR_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, std::strlen("Hexmar#CamSim#HX1300#_1_0#HX0001") + 1);
  EXPECT_EQ(cookie, 0u);
}

// A line that answers every command with noise, like a device speaking another protocol.
class CNoisySerial : public CLProtocol::ISerial {
public:
  CLINT32 CLPROTOCOL clSerialRead(CLINT8* buffer, CLUINT32* size, CLUINT32) override {
    if (m_Pending < *size) {
      *size = 0;
      return CL_ERR_TIMEOUT;
    }
    for (CLUINT32 i = 0; i < *size; ++i)
      buffer[i] = static_cast<CLINT8>(m_Seed = m_Seed * 1103515245u + 12345u);
    m_Pending -= *size;
    return CL_ERR_NO_ERR;
  }
  CLINT32 CLPROTOCOL clSerialWrite(CLINT8*, CLUINT32*, CLUINT32) override {
    ++m_Writes;
    m_Pending = 40;
    return CL_ERR_NO_ERR;
  }
  CLINT32 CLPROTOCOL clGetSupportedBaudRates(CLUINT32* rates) override {
    *rates = 1;
    return CL_ERR_NO_ERR;
  }
  CLINT32 CLPROTOCOL clSetBaudRate(CLUINT32) override { return CL_ERR_NO_ERR; }
  unsigned m_Writes = 0;

private:
  CLUINT32 m_Pending = 0;
  std::uint32_t m_Seed = 7;
};

TEST(GenCPProbeNoise, NoiseEndsWithNoGenCPDeviceAfterResends) {
  CNoisySerial serial;
  char buffer[128];
  CLUINT32 size = sizeof buffer;
  CLUINT32 cookie = 0;
  EXPECT_EQ(clpProbeDevice(&serial, "Hexmar", buffer, &size, &cookie, 50),
            GenCPDriver::ErrNoGenCPDevice);
  EXPECT_EQ(serial.m_Writes, 4u); // first try and three resends
}

using GenCPRegisters = GenCPDriverFixture;

TEST_F(GenCPRegisters, BootstrapRegistersReadBack) {
  Connect();
  std::uint32_t version = 0;
  ASSERT_EQ(Read32(GenCP::Abrm::GenCPVersion, version), CL_ERR_NO_ERR);
  EXPECT_EQ(version, 0x00010003u);
  std::vector<std::uint8_t> name(64);
  ASSERT_EQ(Read(GenCP::Abrm::ManufacturerName, name), CL_ERR_NO_ERR);
  EXPECT_STREQ(reinterpret_cast<const char*>(name.data()), "Hexmar");
}

TEST_F(GenCPRegisters, LargeReadsGoInChunksOfAThousandBytes) {
  Connect();
  const std::uint64_t before = m_Camera->Statistics().m_Commands;
  std::vector<std::uint8_t> data(2500);
  ASSERT_EQ(Read(CCameraModel::XmlAddress, data), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->Statistics().m_Commands - before, 3u);
  const std::vector<std::uint8_t> file = m_Camera->ServedXmlFile();
  EXPECT_TRUE(std::equal(data.begin(), data.end(), file.begin()));
}

TEST_F(GenCPRegisters, CameraErrorsBecomeDriverCodesAndLeaveBufferUntouched) {
  Connect();
  std::vector<std::uint8_t> data(4, 0xEE);
  EXPECT_EQ(Read(0x7000000, data), GenCPDriver::ErrInvalidAddress);
  EXPECT_EQ(data, std::vector<std::uint8_t>(4, 0xEE));
  EXPECT_EQ(Write32(GenCP::Abrm::GenCPVersion, 5), GenCPDriver::ErrWriteProtect);
  char text[128];
  CLUINT32 size = sizeof text;
  ASSERT_EQ(clpGetErrorText(CL_ERR_GET_LAST_ERROR, text, &size, m_Cookie), CL_ERR_NO_ERR);
  EXPECT_STREQ(text, "The register is write protected.");
  size = sizeof text;
  EXPECT_EQ(clpGetErrorText(-30209, text, &size, 0), CL_ERR_NO_ERR);
  size = sizeof text;
  EXPECT_EQ(clpGetErrorText(-12345, text, &size, 0), CL_ERR_ERROR_NOT_FOUND);
}

TEST_F(GenCPRegisters, PayloadFollowsGeometryAndLockFreezesIt) {
  Connect();
  ASSERT_EQ(Write32(WidthReg, 640), CL_ERR_NO_ERR);
  ASSERT_EQ(Write32(HeightReg, 480), CL_ERR_NO_ERR);
  ASSERT_EQ(Write32(PixelFormatReg, 0x01100007), CL_ERR_NO_ERR); // Mono16
  std::uint32_t payload = 0;
  ASSERT_EQ(Read32(PayloadReg, payload), CL_ERR_NO_ERR);
  EXPECT_EQ(payload, 640u * 480u * 2u);
  ASSERT_EQ(Write32(LockReg, 1), CL_ERR_NO_ERR);
  EXPECT_EQ(Write32(WidthReg, 320), GenCPDriver::ErrAccessDenied);
  EXPECT_EQ(Write32(PixelFormatReg, 0x01080001), GenCPDriver::ErrAccessDenied);
  ASSERT_EQ(Write32(LockReg, 0), CL_ERR_NO_ERR);
  EXPECT_EQ(Write32(WidthReg, 320), CL_ERR_NO_ERR);
  EXPECT_EQ(Write32(WidthReg, 10), GenCPDriver::ErrInvalidParameter);
}

TEST_F(GenCPRegisters, InvalidArgumentsAreRefusedWithoutTraffic) {
  Connect();
  std::vector<std::uint8_t> data(4);
  EXPECT_EQ(clpReadRegister(m_Serial.get(), m_Cookie + 1000, 0,
                            reinterpret_cast<CLINT8*>(data.data()), 4, Timeout),
            CL_ERR_INVALID_COOKIE);
  EXPECT_EQ(clpReadRegister(m_Serial.get(), m_Cookie, 0, reinterpret_cast<CLINT8*>(data.data()), -1,
                            Timeout),
            GenCPDriver::ErrInvalidAccess);
  EXPECT_EQ(clpReadRegister(nullptr, m_Cookie, 0, nullptr, 4, Timeout), CL_ERR_INVALID_PTR);
}

using GenCPFaults = GenCPDriverFixture;

TEST_F(GenCPFaults, DroppedAcknowledgeIsResentFromTheCameraCache) {
  Connect();
  camsim::SFaultPlan faults;
  faults.m_DropNext = 1;
  m_Camera->InjectFaults(faults);
  const auto before = m_Camera->Statistics();
  ASSERT_EQ(Write32(WidthReg, 800), CL_ERR_NO_ERR);
  const auto after = m_Camera->Statistics();
  EXPECT_EQ(after.m_CachedResends - before.m_CachedResends, 1u);
  EXPECT_EQ(m_Camera->DeviceRegister(0x00), 800u);
}

TEST_F(GenCPFaults, CorruptAcknowledgeIsRecovered) {
  Connect();
  camsim::SFaultPlan faults;
  faults.m_CorruptNext = 2;
  m_Camera->InjectFaults(faults);
  std::uint32_t version = 0;
  ASSERT_EQ(Read32(0, version), CL_ERR_NO_ERR);
  EXPECT_EQ(version, 0x00010003u);
}

TEST_F(GenCPFaults, PersistentSilenceEndsInTimeoutAfterThreeResends) {
  Connect();
  camsim::SFaultPlan faults;
  faults.m_DropEvery = 1;
  m_Camera->InjectFaults(faults);
  const auto before = m_Camera->Statistics().m_Commands;
  std::uint32_t v = 0;
  EXPECT_EQ(Read32(0, v), CL_ERR_TIMEOUT);
  EXPECT_EQ(m_Camera->Statistics().m_Commands - before, 4u);
}

TEST_F(GenCPFaults, PersistentCorruptionEndsInCorruptAnswer) {
  Connect();
  camsim::SFaultPlan faults;
  faults.m_CorruptEvery = 1;
  m_Camera->InjectFaults(faults);
  std::uint32_t v = 0;
  EXPECT_EQ(Read32(0, v), GenCPDriver::ErrCorruptAnswer);
}

TEST_F(GenCPFaults, VanishedCameraGivesTimeouts) {
  Connect();
  camsim::SFaultPlan faults;
  faults.m_VanishAfterCommands = 1;
  m_Camera->InjectFaults(faults);
  std::uint32_t v = 0;
  EXPECT_EQ(Read32(0, v), CL_ERR_NO_ERR);
  EXPECT_EQ(Read32(0, v), CL_ERR_TIMEOUT);
  EXPECT_TRUE(m_Camera->Vanished());
}

TEST_F(GenCPFaults, SlowCommandIsCoveredByPendingAcknowledges) {
  SCameraOptions options;
  options.m_MaxResponseMs = 10;
  options.m_UserSetSaveMs = 60;
  Connect(options);
  ASSERT_EQ(Write32(UserSetSaveReg, 1, 500), CL_ERR_NO_ERR);
  EXPECT_GE(m_Camera->Statistics().m_PendingAcks, 1u);
}

TEST_F(GenCPFaults, PendingWriteBeyondCallerTimeoutIsContinued) {
  SCameraOptions options;
  options.m_MaxResponseMs = 10;
  options.m_UserSetSaveMs = 400;
  Connect(options);
  ASSERT_EQ(Write32(UserSetSaveReg, 1, 20), CL_ERR_PENDING_WRITE);
  CLINT32 rc = CL_ERR_PENDING_WRITE;
  for (int i = 0; i < 100 && rc == CL_ERR_PENDING_WRITE; ++i)
    rc = clpContinueWriteRegister(m_Serial.get(), m_Cookie, 1, 100);
  EXPECT_EQ(rc, CL_ERR_NO_ERR);
  EXPECT_EQ(clpContinueWriteRegister(m_Serial.get(), m_Cookie, 1, 100),
            GenCPDriver::ErrNoWritePending);
}

using GenCPXml = GenCPDriverFixture;

TEST_F(GenCPXml, PlainDescriptionFromTheManifest) {
  Connect();
  std::string ids;
  ASSERT_EQ(XmlIds(ids), CL_ERR_NO_ERR);
  EXPECT_EQ(ids, "SchemaVersion.1.1@Hexmar#CamSim#HX1300@XMLVersion.1.0.0");
  std::string xml;
  ASSERT_EQ(Xml(ids, xml), CL_ERR_NO_ERR);
  EXPECT_EQ(xml, camsim::CameraXml());
  EXPECT_EQ(Xml("SchemaVersion.1.1@Hexmar#Other@XMLVersion.1.0.0", xml),
            CL_ERR_NO_XMLDESCRIPTION_FOUND);
}

TEST_F(GenCPXml, DamagedDescriptionFailsItsChecksum) {
  SCameraOptions options;
  options.m_Zip = true;
  options.m_CorruptXmlFile = true;
  Connect(options);
  std::string ids, xml;
  ASSERT_EQ(XmlIds(ids), CL_ERR_NO_ERR);
  EXPECT_EQ(Xml(ids, xml), GenCPDriver::ErrXmlChecksum);
}

TEST_F(GenCPXml, DamagedZipWithoutChecksumFailsToUnpack) {
  SCameraOptions options;
  options.m_Zip = true;
  options.m_CorruptXmlFile = true;
  options.m_PublishSha1 = false;
  Connect(options);
  std::string ids, xml;
  ASSERT_EQ(XmlIds(ids), CL_ERR_NO_ERR);
  EXPECT_EQ(Xml(ids, xml), GenCPDriver::ErrUnzipFailed);
}

TEST(GenCPLibrary, TemplatesVersionAndParameters) {
  char buffer[64];
  CLUINT32 size = sizeof buffer;
  ASSERT_EQ(clpGetShortDeviceIDTemplates(buffer, &size), CL_ERR_NO_ERR);
  EXPECT_STREQ(buffer, "Hexmar");
  CLUINT32 major = 0, minor = 0;
  ASSERT_EQ(clpGetCLProtocolVersion(&major, &minor), CL_ERR_NO_ERR);
  EXPECT_EQ(major, 1u);
  EXPECT_EQ(minor, 2u);
  EXPECT_EQ(clpIsParamSupported(CLP_DEVICE_BAUDERATE), CL_ERR_NO_ERR);
  EXPECT_EQ(clpIsParamSupported(static_cast<CLP_PARAMS>(99)), CL_ERR_PARAM_NOT_SUPPORTED);
  const CLUINT32 rates = 0xFF;
  EXPECT_EQ(clpSetParam(nullptr, CLP_DEVICE_SUPPORTED_BAUDERATES, 1,
                        reinterpret_cast<const CLINT8*>(&rates), 4, 100),
            CL_ERR_PARAM_READ_ONLY);
}
