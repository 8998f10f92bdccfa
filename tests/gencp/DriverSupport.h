#pragma once
// A camera model wired to the driver's C entry points through an in-process serial line.
#include <camsim/CameraModel.h>
#include <camsim/LoopbackSerial.h>
#include <gencp/ByteOrder.h>
#include <gencp/CLProtocolGenCP.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

class GenCPDriverFixture : public ::testing::Test {
protected:
  static constexpr CLUINT32 Timeout = 200;

  void Attach(camsim::SCameraOptions options = {}, std::uint32_t lineBaudRates = 0xFF) {
    m_Camera = std::make_shared<camsim::CCameraModel>(options);
    m_Serial = std::make_unique<camsim::CLoopbackSerial>(m_Camera, lineBaudRates);
  }
  CLINT32 Probe(const std::string& request, std::string& id, CLUINT32& cookie) {
    char buffer[256] = {};
    CLUINT32 size = sizeof buffer;
    const CLINT32 rc =
        clpProbeDevice(m_Serial.get(), request.c_str(), buffer, &size, &cookie, Timeout);
    id = rc == CL_ERR_NO_ERR ? buffer : "";
    return rc;
  }
  void Connect(camsim::SCameraOptions options = {}, std::uint32_t lineBaudRates = 0xFF) {
    Attach(options, lineBaudRates);
    std::string id;
    ASSERT_EQ(Probe("Hexmar", id, m_Cookie), CL_ERR_NO_ERR);
    ASSERT_NE(m_Cookie, 0u);
  }
  void TearDown() override {
    if (m_Cookie)
      clpDisconnect(m_Cookie);
  }
  CLINT32 Read(std::uint64_t address, std::vector<std::uint8_t>& data) {
    return clpReadRegister(m_Serial.get(), m_Cookie, static_cast<CLINT64>(address),
                           reinterpret_cast<CLINT8*>(data.data()),
                           static_cast<CLINT64>(data.size()), Timeout);
  }
  CLINT32 Read32(std::uint64_t address, std::uint32_t& value) {
    std::vector<std::uint8_t> b(4);
    const CLINT32 rc = Read(address, b);
    value = GenCP::GetBE32(b.data());
    return rc;
  }
  CLINT32 Write32(std::uint64_t address, std::uint32_t value, CLUINT32 timeout = Timeout) {
    const CLINT8 b[4] = {CLINT8(value >> 24), CLINT8(value >> 16), CLINT8(value >> 8),
                         CLINT8(value)};
    return clpWriteRegister(m_Serial.get(), m_Cookie, static_cast<CLINT64>(address), b, 4, timeout);
  }
  CLINT32 XmlIds(std::string& ids) {
    char buffer[1024] = {};
    CLUINT32 size = sizeof buffer;
    const CLINT32 rc = clpGetXMLIDs(m_Serial.get(), m_Cookie, buffer, &size, Timeout);
    ids = buffer;
    return rc;
  }
  CLINT32 Xml(const std::string& id, std::string& xml) {
    CLUINT32 size = 0;
    CLINT32 rc =
        clpGetXMLDescription(m_Serial.get(), m_Cookie, id.c_str(), nullptr, &size, Timeout);
    if (rc != CL_ERR_BUFFER_TOO_SMALL)
      return rc;
    std::vector<char> buffer(size);
    rc = clpGetXMLDescription(m_Serial.get(), m_Cookie, id.c_str(), buffer.data(), &size, Timeout);
    xml = rc == CL_ERR_NO_ERR ? buffer.data() : "";
    return rc;
  }

  std::shared_ptr<camsim::CCameraModel> m_Camera;
  std::unique_ptr<camsim::CLoopbackSerial> m_Serial;
  CLUINT32 m_Cookie = 0;
};
