#pragma once
#include "Logger.h"

#include <CLProtocol/ISerial.h>
#include <gencp/Packet.h>

#include <atomic>
#include <chrono>
#include <cstdint>

namespace GenCPDriver {

//! GenCP commands over one serial line: request ids, checksums, resends after a time-out or a
//! corrupt answer, pending acknowledges, and chunking of memory accesses. Not thread-safe: its
//! connection serialises the calls.
class CCommandChannel {
public:
  using Clock = std::chrono::steady_clock;

  struct SOptions {
    unsigned m_Resends = 3;
    //! A first attempt that hears nothing at all ends with a time-out at once (probing).
    bool m_SilenceEndsAtOnce = false;
    //! The code when answers came but none was usable.
    CLINT32 m_GarbageCode = -30201;
    //! A write whose pending acknowledge outlasts the caller's time-out returns PENDING_WRITE.
    bool m_AllowPendingWrite = false;
  };

  explicit CCommandChannel(const CLogger& logger) : m_Logger(logger) {}

  void SetBaudBit(std::uint32_t bit) { m_BaudBit = bit; }
  std::uint32_t BaudBit() const { return m_BaudBit; }
  void SetStopFlag(const std::atomic<bool>* stop) { m_Stop = stop; }

  CLINT32 ReadMem(CLProtocol::ISerial* serial, std::uint64_t address, std::uint8_t* data,
                  std::size_t size, std::uint32_t timeoutMs, const SOptions& options);
  CLINT32 WriteMem(CLProtocol::ISerial* serial, std::uint64_t address, const std::uint8_t* data,
                   std::size_t size, std::uint32_t timeoutMs, const SOptions& options);
  //! Continues or cancels a write that returned PENDING_WRITE.
  CLINT32 ContinueWrite(CLProtocol::ISerial* serial, bool continueWaiting, std::uint32_t timeoutMs);
  bool WritePending() const { return m_Pending.m_Active; }
  //! The GenCP status of the last acknowledge.
  std::uint16_t LastStatus() const { return m_LastStatus; }
  //! Milliseconds the line needs for this many bytes at the current rate, rounded up.
  std::uint32_t TransferMs(std::size_t bytes) const;

private:
  enum class EReceive { Ack, Pending, Silent, Corrupt };

  CLINT32 Transact(CLProtocol::ISerial* serial, GenCP::CPacket& command, std::size_t answerScdSize,
                   GenCP::CPacket& ack, std::uint32_t timeoutMs, const SOptions& options);
  CLINT32 Finish(const GenCP::CPacket& command, const GenCP::CPacket& ack);
  EReceive Receive(CLProtocol::ISerial* serial, std::uint16_t requestId, Clock::time_point deadline,
                   std::uint32_t marginMs, GenCP::CPacket& ack);
  bool Send(CLProtocol::ISerial* serial, const GenCP::CPacket& command, std::uint32_t timeoutMs);
  //! Discards input until the line is idle; returns how many bytes were thrown away.
  std::size_t Drain(CLProtocol::ISerial* serial);
  std::uint16_t NextRequestId(bool isRead);
  bool Stopped() const { return m_Stop && m_Stop->load(); }

  const CLogger& m_Logger;
  const std::atomic<bool>* m_Stop = nullptr;
  std::uint32_t m_BaudBit = 0x01;
  std::uint16_t m_NextRequestId = 0;
  std::uint16_t m_LastStatus = 0;

  struct SPending {
    bool m_Active = false;
    GenCP::CPacket m_Command;
    Clock::time_point m_AckDeadline;
    Clock::time_point m_GiveUp;
    unsigned m_Resends = 0;
  } m_Pending;
};

} // namespace GenCPDriver
