// GenCP commands arriving at the camera simulator from a host (or a user's test program): the
// model consumes them and answers. Steps are well-formed ReadMem/WriteMem commands at any
// address, arbitrary packets with correct checksums, raw bytes, and the passing of time; the
// answers are drained after each step.
#include <camsim/CameraModel.h>

#include <gencp/Packet.h>
#include <gencp/Protocol.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace {

std::uint64_t Address(FuzzedDataProvider& input) {
  // Mostly near the registers the camera has, sometimes anywhere (the top of the range too).
  static const std::uint64_t bases[] = {0,
                                        camsim::CCameraModel::DeviceBase,
                                        camsim::CCameraModel::SbrmAddress,
                                        camsim::CCameraModel::ManifestAddress,
                                        camsim::CCameraModel::XmlAddress,
                                        0xFFFFFFFFFFFFFFFFull};
  const std::uint64_t base = bases[input.ConsumeIntegralInRange<std::size_t>(0, 5)];
  return input.ConsumeBool()
             ? input.ConsumeIntegral<std::uint64_t>()
             : base + static_cast<std::uint64_t>(input.ConsumeIntegral<std::int16_t>());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  camsim::SCameraOptions options;
  options.m_Zip = input.ConsumeBool();
  options.m_PublishSha1 = input.ConsumeBool();
  camsim::CCameraModel camera(options);
  std::uint8_t answer[4096];

  for (int step = 0; step < 64 && input.remaining_bytes() > 0; ++step) {
    const auto requestId = input.ConsumeIntegral<std::uint16_t>();
    std::vector<std::uint8_t> bytes;
    switch (input.ConsumeIntegralInRange(0, 4)) {
    case 0: {
      const std::uint64_t address = Address(input);
      const auto length = input.ConsumeIntegral<std::uint16_t>();
      bytes = GenCP::CPacket::ReadMem(requestId, address, length).Encode();
      break;
    }
    case 1: {
      const std::uint64_t address = Address(input);
      const std::vector<std::uint8_t> value = input.ConsumeBytes<std::uint8_t>(
          input.ConsumeIntegralInRange<std::size_t>(0, GenCP::MaxChunkSize + 8));
      bytes = GenCP::CPacket::WriteMem(requestId, address, value.data(), value.size()).Encode();
      break;
    }
    case 2: {
      GenCP::CPacket packet;
      packet.m_FlagsOrStatus = input.ConsumeIntegral<std::uint16_t>();
      packet.m_CommandId = input.ConsumeIntegral<std::uint16_t>();
      packet.m_ChannelId = input.ConsumeIntegral<std::uint16_t>();
      packet.m_RequestId = requestId;
      packet.m_Scd = input.ConsumeBytes<std::uint8_t>(
          input.ConsumeIntegralInRange<std::size_t>(0, GenCP::MaxScdSize));
      bytes = packet.Encode();
      break;
    }
    case 3:
      bytes = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 64));
      break;
    default:
      camera.AdvanceTime(std::chrono::milliseconds(input.ConsumeIntegralInRange(0, 2000)));
      break;
    }
    camera.Write(bytes.data(), bytes.size());
    while (camera.ReadSome(answer, sizeof answer, camsim::CCameraModel::Clock::now()) != 0) {
    }
  }
  return 0;
}
