#pragma once
#include <camsim/CamSimDef.h>
#include <camsim/CameraOptions.h>
#include <camsim/VideoSource.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace camsim {

//! A GenCP camera on a serial line, as a byte stream: it consumes what the host writes and
//! produces what the host reads. Bootstrap registers, serial bootstrap registers with the baud
//! switch, heartbeat, manifest and its own description (plain or zipped), a device register
//! block with the acquisition features, pacing at the current baud rate, fault injection, and
//! (when asked for) video on the simulated Camera Link cable of a board and channel.
//! Thread-safe: every public member takes the model's own lock.
class CAMSIM_API CCameraModel {
public:
  using Clock = std::chrono::steady_clock;

  struct SStatistics {
    std::uint64_t m_Commands = 0;
    std::uint64_t m_Acks = 0;
    std::uint64_t m_PendingAcks = 0;
    std::uint64_t m_CachedResends = 0;
    std::uint64_t m_DiscardedPackets = 0;
    std::uint64_t m_BytesIn = 0;
    std::uint64_t m_BytesOut = 0;
    //! Time the bytes of both directions take on the line, each at the rate it was sent at.
    Clock::duration m_WireTime{0};
  };

  // Register map of the model (device registers are relative to DeviceBase).
  static constexpr std::uint64_t SbrmAddress = 0x00018000;
  static constexpr std::uint64_t ManifestAddress = 0x00019000;
  static constexpr std::uint64_t DeviceBase = 0x00010000;
  static constexpr std::uint64_t DeviceSize = 0x100;
  static constexpr std::uint64_t XmlAddress = 0x00100000;
  //! The registers of the generated features (SCameraOptions::m_ExtraFeatures), 4 bytes each.
  static constexpr std::uint64_t UserValuesBase = 0x00020000;
  static constexpr std::uint32_t MaxExtraFeatures = 0x4000;

  //! Throws std::runtime_error when video is asked for and its channel is served elsewhere.
  explicit CCameraModel(SCameraOptions options = {});
  ~CCameraModel();
  CCameraModel(const CCameraModel&) = delete;
  CCameraModel& operator=(const CCameraModel&) = delete;

  //! Bytes from the host. `lineBaudBit` is the rate the host sends at; bytes sent at another
  //! rate than the camera's arrive garbled (0: unknown, taken as matching).
  void Write(const std::uint8_t* data, std::size_t size, std::uint32_t lineBaudBit = 0);
  //! Exactly `size` bytes or none, as a Camera Link serial read. Fails at once when that many
  //! bytes are not even scheduled, so idle in-process lines cost no time.
  bool ReadExact(std::uint8_t* data, std::size_t size, std::chrono::milliseconds timeout,
                 std::uint32_t lineBaudBit = 0);
  //! Whatever is due, up to `max` bytes; waits until something is due or the deadline.
  std::size_t ReadSome(std::uint8_t* data, std::size_t max, Clock::time_point deadline);
  std::size_t BytesAvailable();
  void FlushOutput();

  bool Vanished();
  std::uint32_t BaudBit();
  //! Called (under the model's lock, so it must not call back) when the camera's rate changes.
  void SetBaudRateListener(std::function<void(std::uint32_t)> listener);
  //! Moves the model's clock forward: heartbeat, baud confirmation and vanish timers see it.
  void AdvanceTime(std::chrono::milliseconds step);
  //! Adds faults to the plan (one-shot counts add up; periodic ones replace).
  void InjectFaults(const SFaultPlan& faults);
  SStatistics Statistics();
  //! A device register as a 32-bit value (offset from DeviceBase).
  std::uint32_t DeviceRegister(std::uint64_t offset);
  //! The description file as the camera serves it (zipped or plain).
  std::vector<std::uint8_t> ServedXmlFile();

private:
  struct SOutByte {
    std::uint8_t m_Byte;
    Clock::time_point m_Due;
    std::uint32_t m_Baud;
  };
  struct SAfterAck {
    std::uint32_t m_SwitchTo = 0; //!< start a baud switch to this bit
    bool m_FallBack = false;      //!< return to 9600 without confirmation
    std::uint32_t m_WorkMs = 0;   //!< processing time of the command
  };

  Clock::time_point Now() const { return Clock::now() + m_TimeOffset; }
  Clock::duration ByteTime(std::uint32_t baudBit) const;
  void Tick(Clock::time_point now);
  void SetBaud(std::uint32_t bit);
  void FallBackToDefaults();
  void ProcessInput(Clock::time_point at);
  void HandleCommand(const std::vector<std::uint8_t>& packet, Clock::time_point at);
  void Emit(std::uint16_t status, std::uint16_t commandId, std::uint16_t requestId,
            std::vector<std::uint8_t> scd, const std::vector<std::uint8_t>& commandKey,
            const SAfterAck& after, Clock::time_point at);
  //! Whether the acknowledge being sent gets this fault.
  bool TakeFault(std::uint32_t& next, std::uint32_t every) const;
  Clock::time_point Queue(const std::vector<std::uint8_t>& bytes, Clock::time_point at);

  std::uint16_t ReadMemory(std::uint64_t address, std::size_t size, std::vector<std::uint8_t>& out);
  std::uint16_t WriteMemory(std::uint64_t address, const std::uint8_t* data, std::size_t size,
                            SAfterAck& after);
  std::uint16_t WriteAbrm(std::uint64_t address, const std::uint8_t* data, std::size_t size,
                          SAfterAck& after);
  std::uint16_t WriteDevice(std::uint64_t offset, const std::uint8_t* data, std::size_t size,
                            SAfterAck& after);
  std::uint16_t RequestBaud(std::uint32_t bit, SAfterAck& after);
  void UpdateDerived();
  SVideoSettings VideoSettings() const;
  std::uint64_t Dev(std::uint64_t offset, std::size_t size = 4) const;
  void SetDev(std::uint64_t offset, std::uint64_t value, std::size_t size = 4);

  // Owned by the model; guards every member below. m_Changed wakes readers.
  std::mutex m_Mutex;
  std::condition_variable m_Changed;

  SCameraOptions m_Options;
  Clock::duration m_TimeOffset{0};
  Clock::time_point m_Created;
  std::function<void(std::uint32_t)> m_BaudListener;

  std::vector<std::uint8_t> m_In;
  Clock::time_point m_InFirstByte;
  Clock::time_point m_InLineFree;
  std::deque<SOutByte> m_Out;
  Clock::time_point m_OutLineFree;

  std::uint32_t m_Baud = 0x01;
  bool m_SwitchPending = false;
  std::uint32_t m_SwitchFrom = 0x01;
  Clock::time_point m_SwitchDeadline;
  Clock::time_point m_LastAccess;
  Clock::time_point m_BusyUntil;
  bool m_Vanished = false;

  // The acknowledge of the last command, re-sent for a repeated request id.
  bool m_HaveCache = false;
  std::uint16_t m_CacheRequestId = 0;
  std::vector<std::uint8_t> m_CacheKey;
  std::vector<std::uint8_t> m_CacheAck;
  std::uint16_t m_CachePendingMs = 0;

  std::vector<std::uint8_t> m_Abrm;
  std::vector<std::uint8_t> m_Manifest;
  std::vector<std::uint8_t> m_XmlFile;
  std::vector<std::uint8_t> m_Device;
  std::vector<std::uint8_t> m_UserValues;
  SFaultPlan m_Faults;
  std::uint64_t m_AckCount = 0;
  SStatistics m_Stats;
  //! The video output when the options ask for one; its lock nests inside m_Mutex.
  std::unique_ptr<CVideoSource> m_Video;
};

} // namespace camsim
