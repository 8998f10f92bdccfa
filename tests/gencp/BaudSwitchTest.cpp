// The baud-rate switch on both ends: through the CLProtocol parameters and through the camera's
// ClSerialPortBaudRate register, with the camera's fall-back when no confirmation comes.
#include "DriverSupport.h"
#include "ErrorCodes.h"

#include <gencp/Protocol.h>

using camsim::CCameraModel;

namespace {
constexpr std::uint64_t BaudFeatureReg = GenCP::Hexmar::BaudRateFeatureRegister;
}

class GenCPBaud : public GenCPDriverFixture {
protected:
  CLINT32 SetBaud(CLUINT32 bit) {
    return clpSetParam(m_Serial.get(), CLP_DEVICE_BAUDERATE, m_Cookie,
                       reinterpret_cast<const CLINT8*>(&bit), 4, Timeout);
  }
  CLUINT32 GetParam(CLP_PARAMS param, CLUINT32 cookie = 0) {
    CLUINT32 value = 0;
    EXPECT_EQ(clpGetParam(m_Serial.get(), param, cookie ? cookie : m_Cookie,
                          reinterpret_cast<CLINT8*>(&value), 4, Timeout),
              CL_ERR_NO_ERR);
    return value;
  }
};

TEST_F(GenCPBaud, FeatureRegisterRunsTheSwitchProcedure) {
  Connect();
  ASSERT_EQ(Write32(BaudFeatureReg, 23), CL_ERR_NO_ERR); // 921600
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_921600);
  EXPECT_EQ(m_Serial->BaudBit(), CL_BAUDRATE_921600);
  std::uint32_t feature = 0;
  ASSERT_EQ(Read32(BaudFeatureReg, feature), CL_ERR_NO_ERR);
  EXPECT_EQ(feature, 23u);
  EXPECT_EQ(Write32(BaudFeatureReg, 16), CL_ERR_BAUD_RATE_NOT_SUPPORTED);
  ASSERT_EQ(Write32(BaudFeatureReg, 15), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_9600);
}

TEST_F(GenCPBaud, SupportedRatesAreWhatBothEndsCanDo) {
  camsim::SCameraOptions options;
  options.m_SupportedBaudBits = 0x1F; // up to 115200
  Connect(options, 0x31);             // 9600, 115200, 230400
  EXPECT_EQ(GetParam(CLP_DEVICE_SUPPORTED_BAUDERATES), 0x11u);
  EXPECT_EQ(SetBaud(CL_BAUDRATE_230400), CL_ERR_BAUD_RATE_NOT_SUPPORTED);
  EXPECT_EQ(SetBaud(0x3), CL_ERR_BAUD_RATE_NOT_SUPPORTED);
  ASSERT_EQ(SetBaud(CL_BAUDRATE_AUTOMAX), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_115200);
}

// A line that claims to change its rate but keeps the old one: the confirmation never arrives.
class CStubbornSerial : public camsim::CLoopbackSerial {
public:
  using CLoopbackSerial::CLoopbackSerial;
  CLINT32 CLPROTOCOL clSetBaudRate(CLUINT32 bit) override {
    return m_Stuck ? CL_ERR_NO_ERR : CLoopbackSerial::clSetBaudRate(bit);
  }
  bool m_Stuck = false;
};

TEST_F(GenCPBaud, MissingConfirmationFallsBackOnBothEnds) {
  m_Camera = std::make_shared<CCameraModel>();
  auto serial = std::make_unique<CStubbornSerial>(m_Camera);
  CStubbornSerial* stubborn = serial.get();
  m_Serial = std::move(serial);
  std::string id;
  ASSERT_EQ(Probe("Hexmar", id, m_Cookie), CL_ERR_NO_ERR);
  stubborn->m_Stuck = true;
  EXPECT_EQ(SetBaud(CL_BAUDRATE_38400), GenCPDriver::ErrBaudSwitchFailed);
  EXPECT_EQ(GetParam(CLP_DEVICE_BAUDERATE), CLUINT32(CL_BAUDRATE_9600));
  // The driver waited longer than the camera's confirmation window.
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_9600);
  std::uint32_t version = 0;
  EXPECT_EQ(Read32(0, version), CL_ERR_NO_ERR);
}

// The parameter switches both ends, and the confirmed rate stays. A second connection finds the
// camera at it; a disconnect releases the camera to its wake-up rate, the next connection restores
// the rate, and the parameter switches back.
TEST_F(GenCPBaud, ParameterSwitchesBothEndsAndADisconnectReleasesTheCameraUntilTheNextConnection) {
  Connect();
  ASSERT_EQ(SetBaud(CL_BAUDRATE_230400), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Serial->BaudBit(), CL_BAUDRATE_230400);
  m_Camera->AdvanceTime(std::chrono::milliseconds(1000));
  std::uint32_t feature = 0;
  ASSERT_EQ(Read32(BaudFeatureReg, feature), CL_ERR_NO_ERR);
  EXPECT_EQ(feature, 21u);
  std::string id;
  CLUINT32 second = 0;
  ASSERT_EQ(Probe("Hexmar#CamSim#HX1300#1.0#HX0001", id, second), CL_ERR_NO_ERR);
  EXPECT_EQ(GetParam(CLP_DEVICE_BAUDERATE, second), CLUINT32(CL_BAUDRATE_230400));
  ASSERT_EQ(clpDisconnect(second), CL_ERR_NO_ERR);
  ASSERT_EQ(clpDisconnect(m_Cookie), CL_ERR_NO_ERR);
  m_Cookie = 0;
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_9600); // the next discovery at 9600 finds it
  ASSERT_EQ(Probe("Hexmar#CamSim#HX1300#1.0#HX0001", id, m_Cookie), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_230400);
  EXPECT_EQ(GetParam(CLP_DEVICE_BAUDERATE), CLUINT32(CL_BAUDRATE_230400));
  ASSERT_EQ(SetBaud(CL_BAUDRATE_9600), CL_ERR_NO_ERR);
  EXPECT_EQ(m_Camera->BaudBit(), CL_BAUDRATE_9600);
  EXPECT_EQ(m_Serial->BaudBit(), CL_BAUDRATE_9600);
}
