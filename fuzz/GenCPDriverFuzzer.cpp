// A hostile camera behind the GenCP protocol driver: every answer the driver reads comes from the
// fuzzer. To get past framing and checksums, answers are built from records: most become a
// well-formed acknowledge of the command just written (whose fields the record may override,
// delay, duplicate or corrupt), some are raw bytes. The driver then goes through what a host
// does: probe, description ids and files (plain or zipped), register reads and writes, pending
// writes, parameters.
#include <gencp/ByteOrder.h>
#include <gencp/CLProtocolGenCP.h>
#include <gencp/Packet.h>
#include <gencp/Protocol.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <string>
#include <vector>

namespace {

class CHostileCamera final : public CLProtocol::ISerial {
public:
  explicit CHostileCamera(FuzzedDataProvider& input) : m_Input(input) {
    m_BaudRates = m_Input.ConsumeIntegral<std::uint8_t>() | CL_BAUDRATE_9600;
  }

  CLINT32 CLPROTOCOL clSerialRead(CLINT8* buffer, CLUINT32* bufferSize, CLUINT32) override {
    if (m_Out.size() < *bufferSize) {
      *bufferSize = 0; // the line stays silent: a Camera Link read gives all or nothing
      return CL_ERR_TIMEOUT;
    }
    std::copy(m_Out.begin(), m_Out.begin() + *bufferSize, buffer);
    m_Out.erase(m_Out.begin(), m_Out.begin() + *bufferSize);
    return CL_ERR_NO_ERR;
  }

  CLINT32 CLPROTOCOL clSerialWrite(CLINT8* buffer, CLUINT32* bufferSize, CLUINT32) override {
    GenCP::CPacket command;
    std::size_t used = 0;
    if (GenCP::CPacket::Decode(reinterpret_cast<const std::uint8_t*>(buffer), *bufferSize, command,
                               used) == GenCP::CPacket::EDecode::Ok)
      Answer(command);
    return CL_ERR_NO_ERR;
  }

  CLINT32 CLPROTOCOL clGetSupportedBaudRates(CLUINT32* baudRates) override {
    *baudRates = m_BaudRates;
    return CL_ERR_NO_ERR;
  }
  CLINT32 CLPROTOCOL clSetBaudRate(CLUINT32) override { return CL_ERR_NO_ERR; }

private:
  void Answer(const GenCP::CPacket& command) {
    if (m_Input.remaining_bytes() == 0)
      return; // silence
    const auto kind = m_Input.ConsumeIntegral<std::uint8_t>();
    if (kind & 0x80) {
      const std::vector<std::uint8_t> raw =
          m_Input.ConsumeBytes<std::uint8_t>(m_Input.ConsumeIntegralInRange<std::size_t>(0, 1100));
      m_Out.insert(m_Out.end(), raw.begin(), raw.end());
      return;
    }
    GenCP::CPacket ack;
    ack.m_FlagsOrStatus = (kind & 0x40) ? m_Input.ConsumeIntegral<std::uint16_t>() : 0;
    ack.m_CommandId = static_cast<std::uint16_t>(command.m_CommandId + 1);
    ack.m_RequestId = command.m_RequestId;
    if (kind & 0x01) {
      // pending, promising a short time (the driver's wait ends when the next answer is there)
      ack.m_CommandId = GenCP::PendingAck;
      ack.m_Scd.assign(4, 0);
      GenCP::PutBE(ack.m_Scd.data() + 2, m_Input.ConsumeIntegralInRange<std::uint16_t>(0, 50), 2);
    } else if (command.m_CommandId == GenCP::ReadMemCmd && command.m_Scd.size() >= 12) {
      std::size_t length = GenCP::GetBE16(command.m_Scd.data() + 10);
      if (kind & 0x08)
        length = m_Input.ConsumeIntegralInRange<std::size_t>(0, GenCP::MaxScdSize);
      ack.m_Scd = m_Input.ConsumeBytes<std::uint8_t>(length);
      ack.m_Scd.resize(length);
    } else if (command.m_CommandId == GenCP::WriteMemCmd) {
      ack.m_Scd.assign(4, 0);
      GenCP::PutBE(ack.m_Scd.data() + 2, command.m_Scd.size() - 8, 2);
      if (kind & 0x08)
        ack.m_Scd = m_Input.ConsumeBytes<std::uint8_t>(m_Input.ConsumeIntegralInRange(0, 8));
    }
    if (kind & 0x02)
      ack.m_CommandId = m_Input.ConsumeIntegral<std::uint16_t>();
    if (kind & 0x04)
      ack.m_RequestId = m_Input.ConsumeIntegral<std::uint16_t>();
    std::vector<std::uint8_t> bytes = ack.Encode();
    if ((kind & 0x20) && !bytes.empty())
      bytes[m_Input.ConsumeIntegralInRange<std::size_t>(0, bytes.size() - 1)] ^=
          m_Input.ConsumeIntegralInRange<std::uint8_t>(1, 255);
    m_Out.insert(m_Out.end(), bytes.begin(), bytes.end());
    if (kind & 0x10) // and an answer to the next command arrives early
      Answer(command);
  }

  FuzzedDataProvider& m_Input;
  std::deque<std::uint8_t> m_Out;
  CLUINT32 m_BaudRates = CL_BAUDRATE_9600;
};

void CLPROTOCOL Logger(CLINT32, const char* format, va_list args) {
  char line[512];
  std::vsnprintf(line, sizeof line, format, args);
}

void UseConnection(CHostileCamera& camera, CLUINT32 cookie, FuzzedDataProvider& input) {
  constexpr CLUINT32 Timeout = 50;
  char ids[4096] = {};
  CLUINT32 size = sizeof ids - 1;
  if (clpGetXMLIDs(&camera, cookie, ids, &size, Timeout) == CL_ERR_NO_ERR) {
    std::string list(ids);
    for (std::size_t start = 0; start <= list.size();) {
      const std::size_t tab = std::min(list.find('\t', start), list.size());
      const std::string id = list.substr(start, tab - start);
      CLUINT32 needed = 0;
      // A camera must not be able to make the host allocate without bound: the driver reports
      // the size it will fill; the host decides whether to fetch.
      if (clpGetXMLDescription(&camera, cookie, id.c_str(), nullptr, &needed, Timeout) ==
              CL_ERR_NO_ERR &&
          needed <= (16u << 20)) {
        std::vector<char> xml(needed + 1);
        CLUINT32 xmlSize = needed;
        clpGetXMLDescription(&camera, cookie, id.c_str(), xml.data(), &xmlSize, Timeout);
      }
      start = tab + 1;
    }
  }
  while (input.remaining_bytes() > 0) {
    const auto address = input.ConsumeIntegral<std::uint64_t>();
    std::vector<CLINT8> buffer(input.ConsumeIntegralInRange<std::size_t>(0, 3000));
    switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
      clpReadRegister(&camera, cookie, static_cast<CLINT64>(address), buffer.data(),
                      static_cast<CLINT64>(buffer.size()), Timeout);
      break;
    case 1:
      if (clpWriteRegister(&camera, cookie, static_cast<CLINT64>(address), buffer.data(),
                           static_cast<CLINT64>(buffer.size()), Timeout) == CL_ERR_PENDING_WRITE)
        clpContinueWriteRegister(&camera, cookie, input.ConsumeBool(), Timeout);
      break;
    case 2: {
      CLINT8 value[8] = {};
      clpGetParam(&camera, CLP_DEVICE_SUPPORTED_BAUDERATES, cookie, value, sizeof value, Timeout);
      clpGetParam(&camera, CLP_DEVICE_BAUDERATE, cookie, value, sizeof value, Timeout);
      break;
    }
    default: {
      CLUINT32 eventSize = input.ConsumeIntegralInRange<CLUINT32>(0, 64);
      std::vector<CLINT8> event(eventSize + 1);
      clpGetEventData(cookie, event.data(), &eventSize);
      // The driver's texts for what went wrong, with whatever status the camera last sent.
      char text[256];
      CLUINT32 textSize = input.ConsumeIntegralInRange<CLUINT32>(0, sizeof text);
      clpGetErrorText(input.ConsumeIntegral<CLINT32>(), text, &textSize, cookie);
      break;
    }
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  clpInitLib(Logger, CLP_LOG_DEBUG);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  CHostileCamera camera(input);
  // The full DeviceID takes the re-connect's road once a probe has identified that camera.
  const std::string templates[] = {"Hexmar", "Hexmar#CamSim", "Other",
                                   "Hexmar#CamSim#HX1300#1.0#HX0001"};
  const std::string& pattern = templates[input.ConsumeIntegralInRange(0, 3)];
  char deviceId[512] = {};
  CLUINT32 idSize = input.ConsumeIntegralInRange<CLUINT32>(1, sizeof deviceId);
  CLUINT32 cookie = 0;
  if (clpProbeDevice(&camera, pattern.c_str(), deviceId, &idSize, &cookie, 50) == CL_ERR_NO_ERR &&
      cookie != 0) {
    UseConnection(camera, cookie, input);
    clpDisconnect(cookie);
  }
  return 0;
}
