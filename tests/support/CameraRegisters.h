#pragma once
// Register access to an in-process camera model over its GenCP byte stream, for tests that need
// a camera but not the host's node map.
#include <camsim/CameraModel.h>
#include <gencp/ByteOrder.h>
#include <gencp/Packet.h>

#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace camtest {

//! Device register offsets of the simulated camera (from CCameraModel::DeviceBase).
enum ERegister : std::uint64_t {
  Width = 0x00,
  Height = 0x04,
  OffsetX = 0x08,
  PixelFormat = 0x10,
  PayloadSize = 0x14,
  AcquisitionMode = 0x3C,
  AcquisitionStart = 0x40,
  AcquisitionStop = 0x44,
  AcquisitionStatus = 0x48,
  TriggerMode = 0x4C,
  TriggerSoftware = 0x54,
  AcquisitionFrameRate = 0x68,
  AcquisitionFrameCount = 0x80,
  ClPixelClock = 0x84,
};

constexpr std::uint32_t Mono8 = 0x01080001, Mono10 = 0x01100003, Mono12 = 0x01100005,
                        Mono16 = 0x01100007, BayerRG8 = 0x01080009, RGB8 = 0x02180014;

//! Writes a device register; returns the GenCP status (0xFFFF without an answer).
inline std::uint16_t WriteRegister(camsim::CCameraModel& camera, std::uint64_t offset,
                                   std::uint64_t value, std::size_t size = 4) {
  static std::uint16_t requestId = 0;
  std::uint8_t data[8];
  GenCP::PutBE(data, value, size);
  const auto packet =
      GenCP::CPacket::WriteMem(++requestId ? requestId : ++requestId,
                               camsim::CCameraModel::DeviceBase + offset, data, size)
          .Encode();
  camera.Write(packet.data(), packet.size());
  std::uint8_t ack[64];
  if (!camera.ReadExact(ack, 20, std::chrono::milliseconds(500)))
    return 0xFFFF;
  return GenCP::GetBE16(ack + 8);
}

inline std::uint16_t WriteFrameRate(camsim::CCameraModel& camera, double hz) {
  std::uint64_t bits;
  static_assert(sizeof bits == sizeof hz, "");
  std::memcpy(&bits, &hz, sizeof bits);
  return WriteRegister(camera, AcquisitionFrameRate, bits, 8);
}

//! A camera with video on its own channel (board = this process, so parallel tests never meet):
//! a small sensor and a high frame rate keep tests fast.
inline camsim::SCameraOptions VideoOptions(std::uint32_t channel) {
  camsim::SCameraOptions options;
  options.m_Video = true;
  options.m_VideoBoard = static_cast<std::uint32_t>(::getpid());
  options.m_VideoChannel = channel;
  options.m_SensorWidth = 256;
  options.m_SensorHeight = 64;
  return options;
}

} // namespace camtest
