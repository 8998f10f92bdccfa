// The driver's clp* entry points against an in-process camera: probing, register access,
// resends, pending acknowledges, faults and the camera's description.
#include "DriverSupport.h"
#include "ErrorCodes.h"

#include <camsim/CameraXml.h>
#include <gencp/Protocol.h>

#include <algorithm>
#include <cstring>
#include <utility>

using camsim::CCameraModel;
using camsim::SCameraOptions;

namespace {
constexpr std::uint64_t Dev = CCameraModel::DeviceBase;
constexpr std::uint64_t WidthReg = Dev + 0x00, LockReg = Dev + 0x18, UserSetSaveReg = Dev + 0x78;
} // namespace

using GenCPProbe = GenCPDriverFixture;

// The driver's C interface driven as GenICam's reference CLProtocol module drives it: probes with
// the full template, re-connects that want only the cookie, size queries, a start of the library
// for every port and call, and clpDisconnect(0) after listings and probes. Two cameras, whose
// strings need no C identifiers, on two lines.
class GenCPHostSequences : public ::testing::Test {
protected:
  static constexpr CLUINT32 Timeout = 200;
  enum EOp {
    Init,       // clpInitLib
    Close,      // clpCloseLib
    Probe,      // clpProbeDevice of `m_Text` with a buffer: the answer
    Reconnect,  // clpProbeDevice with null answer and size: only the cookie
    ProbeSize,  // clpProbeDevice with null answer and size 0: the size
    XmlSize,    // clpGetXMLDescription with a null buffer: the size
    Read,       // clpReadRegister of the GenCP version
    Disconnect, // clpDisconnect of the line's cookie, or of 0 for line -1
  };
  struct SStep {
    EOp m_Op;
    int m_Line;
    CLINT32 m_Status;
    std::string m_Text = "";
    std::string m_Out = ""; // answer or size
  };

  void SetUp() override {
    for (int i = 0; i < 2; ++i) {
      SCameraOptions options;
      options.m_Version = "Version.1.0.0";
      options.m_Serial = i == 0 ? "SN-0001" : "SN#2@x";
      m_Lines[i] =
          std::make_unique<camsim::CLoopbackSerial>(std::make_shared<CCameraModel>(options), 0xFF);
    }
  }
  void TearDown() override {
    for (CLUINT32& cookie : m_Cookies)
      clpDisconnect(std::exchange(cookie, 0));
  }
  CLINT32 Call(const SStep& s, std::string& out) {
    CLProtocol::ISerial* line = s.m_Line >= 0 ? m_Lines[s.m_Line].get() : nullptr;
    CLUINT32& cookie = m_Cookies[std::max(s.m_Line, 0)];
    char buffer[256] = {};
    CLUINT32 size = s.m_Op == Probe ? sizeof buffer : 0, got = 0;
    switch (s.m_Op) {
    case Init:
      return clpInitLib(nullptr, CLP_LOG_ERROR);
    case Close:
      return clpCloseLib();
    case Read:
      return clpReadRegister(line, cookie, 0, buffer, 4, Timeout);
    case Disconnect:
      return clpDisconnect(line ? std::exchange(cookie, 0) : 0);
    case XmlSize: {
      const char* id = "SchemaVersion.1.1@Hexmar#CamSim#HX1300@XMLVersion.1.0.0";
      const CLINT32 rc = clpGetXMLDescription(line, cookie, id, nullptr, &size, Timeout);
      out = std::to_string(size);
      return rc;
    }
    default: {
      const CLINT32 rc = clpProbeDevice(line, s.m_Text.c_str(), s.m_Op == Probe ? buffer : nullptr,
                                        s.m_Op == Reconnect ? nullptr : &size, &got, Timeout);
      out = s.m_Op == Probe ? buffer : s.m_Op == ProbeSize ? std::to_string(size) : "";
      EXPECT_EQ(got != 0, rc == CL_ERR_NO_ERR); // a cookie exactly when connected
      cookie = got ? got : cookie;
      return rc;
    }
    }
  }

  std::unique_ptr<camsim::CLoopbackSerial> m_Lines[2];
  CLUINT32 m_Cookies[2] = {};
};

TEST_F(GenCPHostSequences, AsTheReferenceModuleCallsThem) {
  const std::string head = "/opt/gencp/Linux64_x64#libCLProtocolGenCP.so#";
  const std::string id0 = "Hexmar#CamSim#HX1300#Version.1.0.0#SN-0001";
  const std::string id1 = "Hexmar#CamSim#HX1300#Version.1.0.0#SN_2_x";
  const struct {
    const char* m_Name;
    std::vector<SStep> m_Steps;
  } sequences[] = {
      {"a short template gets the short answer",
       {{Probe, 0, CL_ERR_NO_ERR, "Hexmar", id0},
        {Probe, 1, CL_ERR_NO_DEVICE_FOUND, id0},
        {Probe, 1, CL_ERR_NO_DEVICE_FOUND, "Hex"},
        {Probe, 1, CL_ERR_INVALID_DEVICEID, "Hexmar##HX1300"}}},
      {"a full template or DeviceID gets the full answer, then clpDisconnect(0)",
       {{Probe, 0, CL_ERR_NO_ERR, head + "Hexmar", head + id0},
        {Disconnect, -1, CL_ERR_NO_ERR},
        {Disconnect, 0, CL_ERR_NO_ERR},
        {Probe, 1, CL_ERR_NO_ERR, head + id1, head + id1},
        {Disconnect, -1, CL_ERR_NO_ERR},
        {Read, 1, CL_ERR_NO_ERR}}},
      {"a re-connect with null answer and size returns only the cookie",
       {{Reconnect, 0, CL_ERR_NO_ERR, head + id0},
        {Read, 0, CL_ERR_NO_ERR},
        {Reconnect, 0, CL_ERR_NO_DEVICE_FOUND, head + id1}}},
      {"size queries answer BUFFER_TOO_SMALL with the size",
       {{ProbeSize, 0, CL_ERR_BUFFER_TOO_SMALL, head + "Hexmar",
         std::to_string(head.size() + id0.size() + 1)},
        {Reconnect, 0, CL_ERR_NO_ERR, head + id0},
        {XmlSize, 0, CL_ERR_BUFFER_TOO_SMALL, "", std::to_string(camsim::CameraXml().size() + 1)}}},
      {"nested starts across two lines: only the last close ends the connections",
       {{Init, 0, CL_ERR_NO_ERR},
        {Reconnect, 0, CL_ERR_NO_ERR, head + id0},
        {Init, 0, CL_ERR_NO_ERR},
        {Reconnect, 1, CL_ERR_NO_ERR, head + "Hexmar#CamSim"},
        {Close, 0, CL_ERR_NO_ERR},
        {Read, 0, CL_ERR_NO_ERR},
        {Read, 1, CL_ERR_NO_ERR},
        {Close, 0, CL_ERR_NO_ERR},
        {Read, 0, CL_ERR_INVALID_COOKIE},
        {Disconnect, 1, CL_ERR_INVALID_COOKIE}}},
  };
  for (const auto& sequence : sequences) {
    for (size_t i = 0; i < sequence.m_Steps.size(); ++i) {
      std::string out;
      EXPECT_EQ(Call(sequence.m_Steps[i], out), sequence.m_Steps[i].m_Status)
          << sequence.m_Name << ", step " << i;
      EXPECT_EQ(out, sequence.m_Steps[i].m_Out) << sequence.m_Name << ", step " << i;
    }
    TearDown();
  }
}

// A host's connect right after its enumeration: the probe read the bootstrap, the connect reads
// back only the serial number and serves the connection from what the probe found.
TEST_F(GenCPProbe, ConnectAfterTheProbeReadsOnlyTheSerialNumber) {
  Attach();
  std::string id, again, ids;
  CLUINT32 probed = 0;
  ASSERT_EQ(Probe("Hexmar", id, probed), CL_ERR_NO_ERR);
  clpDisconnect(probed);
  const std::uint64_t before = m_Camera->Statistics().m_Commands;
  ASSERT_EQ(Probe(id, again, m_Cookie), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->Statistics().m_Commands - before, 1u);
  EXPECT_EQ(again, id);
  ASSERT_EQ(XmlIds(ids), CL_ERR_NO_ERR);
  EXPECT_EQ(ids, "SchemaVersion.1.1@Hexmar#CamSim#HX1300@XMLVersion.1.0.0");
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

// An empty port times out after one command; noise ends as no GenCP device after resends.
TEST_F(GenCPProbe, EmptyPortTimesOutAndNoiseIsNoGenCPDevice) {
  m_Serial = std::make_unique<camsim::CLoopbackSerial>(nullptr);
  std::string id;
  CLUINT32 cookie = 0;
  EXPECT_EQ(Probe("Hexmar", id, cookie), CL_ERR_TIMEOUT);
  EXPECT_EQ(m_Serial->BytesWritten(), 28u); // one ReadMem, no resend
  CNoisySerial serial;
  char buffer[128];
  CLUINT32 size = sizeof buffer;
  EXPECT_EQ(clpProbeDevice(&serial, "Hexmar", buffer, &size, &cookie, 50),
            GenCPDriver::ErrNoGenCPDevice);
  EXPECT_EQ(serial.m_Writes, 4u); // first try and three resends
}

using GenCPRegisters = GenCPDriverFixture;

TEST_F(GenCPRegisters, LargeReadsGoInChunksOfAThousandBytes) {
  Connect();
  const std::uint64_t before = m_Camera->Statistics().m_Commands;
  std::vector<std::uint8_t> data(2500);
  ASSERT_EQ(Read(CCameraModel::XmlAddress, data), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->Statistics().m_Commands - before, 3u);
  const std::vector<std::uint8_t> file = m_Camera->ServedXmlFile();
  EXPECT_TRUE(std::equal(data.begin(), data.end(), file.begin()));
}

// The camera's refusals become driver codes and leave the buffer untouched; the driver's own
// refusals send nothing.
TEST_F(GenCPRegisters, RefusalsBecomeDriverCodes) {
  Connect();
  std::vector<std::uint8_t> data(4, 0xEE);
  EXPECT_EQ(Read(0x7000000, data), GenCPDriver::ErrInvalidAddress);
  EXPECT_EQ(data, std::vector<std::uint8_t>(4, 0xEE));
  EXPECT_EQ(Write32(WidthReg, 10), GenCPDriver::ErrInvalidParameter);
  ASSERT_EQ(Write32(LockReg, 1), CL_ERR_NO_ERR);
  EXPECT_EQ(Write32(WidthReg, 320), GenCPDriver::ErrAccessDenied);
  EXPECT_EQ(Write32(GenCP::Abrm::GenCPVersion, 5), GenCPDriver::ErrWriteProtect);
  char text[128];
  CLUINT32 size = sizeof text;
  ASSERT_EQ(clpGetErrorText(CL_ERR_GET_LAST_ERROR, text, &size, m_Cookie), CL_ERR_NO_ERR);
  EXPECT_STREQ(text, "The register is write protected.");
  size = sizeof text;
  EXPECT_EQ(clpGetErrorText(-30209, text, &size, 0), CL_ERR_NO_ERR);
  size = sizeof text;
  EXPECT_EQ(clpGetErrorText(-12345, text, &size, 0), CL_ERR_ERROR_NOT_FOUND);

  const std::uint64_t commands = m_Camera->Statistics().m_Commands;
  EXPECT_EQ(clpReadRegister(m_Serial.get(), m_Cookie + 1000, 0,
                            reinterpret_cast<CLINT8*>(data.data()), 4, Timeout),
            CL_ERR_INVALID_COOKIE);
  EXPECT_EQ(clpReadRegister(m_Serial.get(), m_Cookie, 0, reinterpret_cast<CLINT8*>(data.data()), -1,
                            Timeout),
            GenCPDriver::ErrInvalidAccess);
  EXPECT_EQ(clpReadRegister(nullptr, m_Cookie, 0, nullptr, 4, Timeout), CL_ERR_INVALID_PTR);
  EXPECT_EQ(m_Camera->Statistics().m_Commands, commands);
}

using GenCPFaults = GenCPDriverFixture;

// Each plan spoils the line from the next command on; a write of the width follows, then a read of
// the GenCP version. Resends come from the camera's answer cache, so the write runs only once
// (a vanished camera counts no commands).
TEST_F(GenCPFaults, LineFaultsAreResentOrEndInTheirCode) {
  const struct {
    const char* m_Name;
    void (*m_Spoil)(camsim::SFaultPlan&);
    CLINT32 m_Write, m_Read;
    std::uint64_t m_Commands, m_CachedResends;
  } cases[] = {
      {"one dropped acknowledge", [](camsim::SFaultPlan& p) { p.m_DropNext = 1; }, CL_ERR_NO_ERR,
       CL_ERR_NO_ERR, 3, 1},
      {"two corrupt acknowledges", [](camsim::SFaultPlan& p) { p.m_CorruptNext = 2; },
       CL_ERR_NO_ERR, CL_ERR_NO_ERR, 4, 2},
      {"persistent silence", [](camsim::SFaultPlan& p) { p.m_DropEvery = 1; }, CL_ERR_TIMEOUT,
       CL_ERR_TIMEOUT, 8, 6},
      {"persistent corruption", [](camsim::SFaultPlan& p) { p.m_CorruptEvery = 1; },
       GenCPDriver::ErrCorruptAnswer, GenCPDriver::ErrCorruptAnswer, 8, 6},
      {"a camera vanishing after one command",
       [](camsim::SFaultPlan& p) { p.m_VanishAfterCommands = 1; }, CL_ERR_NO_ERR, CL_ERR_TIMEOUT, 2,
       0},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    camsim::SFaultPlan plan;
    cases[i].m_Spoil(plan);
    Connect();
    m_Camera->InjectFaults(plan);
    const auto before = m_Camera->Statistics();
    std::uint32_t version = 0;
    EXPECT_EQ(Write32(WidthReg, 800), cases[i].m_Write) << cases[i].m_Name;
    EXPECT_EQ(Read32(0, version), cases[i].m_Read) << cases[i].m_Name;
    const auto after = m_Camera->Statistics();
    EXPECT_EQ(after.m_Commands - before.m_Commands, cases[i].m_Commands) << cases[i].m_Name;
    EXPECT_EQ(after.m_CachedResends - before.m_CachedResends, cases[i].m_CachedResends)
        << cases[i].m_Name;
    EXPECT_EQ(m_Camera->DeviceRegister(0x00), 800u) << cases[i].m_Name;
    EXPECT_EQ(version, cases[i].m_Read ? 0u : 0x00010003u) << cases[i].m_Name;
    EXPECT_EQ(m_Camera->Vanished(), i == 4) << cases[i].m_Name;
    TearDown();
  }
}

// A slow command beyond the caller's timeout is continued. (One within it is covered by pending
// acknowledges: the serial path's user set save.)
TEST_F(GenCPFaults, SlowWritesArePendingAndContinued) {
  SCameraOptions options;
  options.m_MaxResponseMs = 10;
  options.m_UserSetSaveMs = 400;
  Connect(options);
  ASSERT_EQ(Write32(UserSetSaveReg, 1, 20), CL_ERR_PENDING_WRITE);
  EXPECT_GE(m_Camera->Statistics().m_PendingAcks, 1u);
  CLINT32 rc = CL_ERR_PENDING_WRITE;
  for (int i = 0; i < 100 && rc == CL_ERR_PENDING_WRITE; ++i)
    rc = clpContinueWriteRegister(m_Serial.get(), m_Cookie, 1, 100);
  EXPECT_EQ(rc, CL_ERR_NO_ERR);
  EXPECT_EQ(clpContinueWriteRegister(m_Serial.get(), m_Cookie, 1, 100),
            GenCPDriver::ErrNoWritePending);
}

using GenCPXml = GenCPDriverFixture;

// (The description itself: the cache suite's opens.)
TEST_F(GenCPXml, AnotherIdIsNotFoundAndDamagedZipsFail) {
  Connect();
  std::string xml;
  EXPECT_EQ(Xml("SchemaVersion.1.1@Hexmar#Other@XMLVersion.1.0.0", xml),
            CL_ERR_NO_XMLDESCRIPTION_FOUND);
  TearDown();
  // A damaged zip fails its checksum or else its unpacking.
  for (const bool sha1 : {true, false}) {
    SCameraOptions options;
    options.m_Zip = options.m_CorruptXmlFile = true;
    options.m_PublishSha1 = sha1;
    Connect(options);
    std::string ids, xml;
    ASSERT_EQ(XmlIds(ids), CL_ERR_NO_ERR);
    EXPECT_EQ(Xml(ids, xml), sha1 ? GenCPDriver::ErrXmlChecksum : GenCPDriver::ErrUnzipFailed);
    TearDown();
  }
}

// (Its template is pinned by discovery in the end-to-end suite.)
TEST(GenCPLibrary, VersionAndParameters) {
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
