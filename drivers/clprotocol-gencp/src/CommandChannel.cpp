#include "CommandChannel.h"

#include "ErrorCodes.h"

#include <gencp/ByteOrder.h>
#include <gencp/Protocol.h>

#include <algorithm>
#include <thread>

namespace GenCPDriver {
namespace {

using GenCP::CPacket;

// Extra wait after a pending acknowledge's promise, and the give-up point of a pending write.
constexpr std::uint32_t PendingMarginMs = 100;
constexpr std::chrono::seconds PendingWriteLimit{60};
// A drained line counts as idle after this many byte times without data (at least 20 ms).
constexpr std::size_t IdleBytes = 16;
constexpr std::size_t DrainLimit = 4 * GenCP::MaxPacketSize;

std::uint32_t MsUntil(CCommandChannel::Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - CCommandChannel::Clock::now());
  return left.count() > 0 ? static_cast<std::uint32_t>(left.count()) : 0;
}

} // namespace

std::uint32_t CCommandChannel::TransferMs(std::size_t bytes) const {
  const std::uint64_t rate = std::max<std::uint32_t>(GenCP::BaudRateOf(m_BaudBit), 9600);
  // 8N1: ten bits per byte
  return static_cast<std::uint32_t>((bytes * 10 * 1000 + rate - 1) / rate);
}

std::uint16_t CCommandChannel::NextRequestId(bool isRead) {
  // Id 0 is for reads only (a fresh first read); the counter wraps to 1.
  if (m_NextRequestId == 0 && !isRead)
    m_NextRequestId = 1;
  const std::uint16_t id = m_NextRequestId;
  m_NextRequestId = m_NextRequestId == 0xFFFF ? 1 : static_cast<std::uint16_t>(m_NextRequestId + 1);
  return id;
}

bool CCommandChannel::Send(CLProtocol::ISerial* serial, const CPacket& command,
                           std::uint32_t timeoutMs) {
  std::vector<std::uint8_t> bytes = command.Encode();
  CLUINT32 size = static_cast<CLUINT32>(bytes.size());
  const CLINT32 rc = serial->clSerialWrite(reinterpret_cast<CLINT8*>(bytes.data()), &size,
                                           timeoutMs + TransferMs(bytes.size()));
  if (rc != CL_ERR_NO_ERR || size != bytes.size()) {
    m_Logger.Log(CLP_LOG_WARN, "GenCP: writing request %u failed (%d)",
                 unsigned(command.m_RequestId), int(rc));
    return false;
  }
  return true;
}

std::size_t CCommandChannel::Drain(CLProtocol::ISerial* serial) {
  const std::uint32_t idleMs = std::max<std::uint32_t>(20, TransferMs(IdleBytes));
  std::size_t drained = 0;
  CLINT8 byte = 0;
  while (drained < DrainLimit) {
    CLUINT32 size = 1;
    if (serial->clSerialRead(&byte, &size, idleMs) != CL_ERR_NO_ERR || size != 1)
      break;
    ++drained;
  }
  if (drained)
    m_Logger.Log(CLP_LOG_DEBUG, "GenCP: discarded %zu bytes of input", drained);
  return drained;
}

CCommandChannel::EReceive CCommandChannel::Receive(CLProtocol::ISerial* serial,
                                                   std::uint16_t requestId,
                                                   Clock::time_point deadline,
                                                   std::uint32_t marginMs, CPacket& ack) {
  for (;;) {
    std::uint8_t packet[GenCP::MaxPacketSize];
    CLUINT32 size = GenCP::HeaderSize;
    const CLINT32 rc = serial->clSerialRead(reinterpret_cast<CLINT8*>(packet), &size,
                                            std::max<std::uint32_t>(1, MsUntil(deadline)));
    if (rc != CL_ERR_NO_ERR || size != GenCP::HeaderSize)
      return Drain(serial) ? EReceive::Corrupt : EReceive::Silent;
    std::size_t scdSize = 0;
    if (CPacket::CheckHeader(packet, scdSize) != CPacket::EDecode::Ok) {
      Drain(serial);
      return EReceive::Corrupt;
    }
    if (scdSize) {
      size = static_cast<CLUINT32>(scdSize);
      if (serial->clSerialRead(reinterpret_cast<CLINT8*>(packet + GenCP::HeaderSize), &size,
                               TransferMs(scdSize) + marginMs) != CL_ERR_NO_ERR ||
          size != scdSize) {
        Drain(serial);
        return EReceive::Corrupt;
      }
    }
    std::size_t used = 0;
    if (CPacket::Decode(packet, GenCP::HeaderSize + scdSize, ack, used) != CPacket::EDecode::Ok) {
      Drain(serial);
      return EReceive::Corrupt;
    }
    if (!ack.IsAck() || ack.m_RequestId != requestId || ack.m_ChannelId != 0) {
      // A late answer to an earlier request, or traffic for another channel.
      m_Logger.Log(CLP_LOG_DEBUG,
                   "GenCP: skipped packet 0x%04X for request %u while waiting for %u",
                   unsigned(ack.m_CommandId), unsigned(ack.m_RequestId), unsigned(requestId));
      continue;
    }
    if (ack.m_CommandId == GenCP::PendingAck) {
      if (ack.m_Scd.size() < 4) {
        Drain(serial);
        return EReceive::Corrupt;
      }
      return EReceive::Pending;
    }
    return EReceive::Ack;
  }
}

CLINT32 CCommandChannel::Finish(const CPacket& command, const CPacket& ack) {
  if (ack.m_CommandId != command.m_CommandId + 1)
    return ErrWrongAnswer;
  m_LastStatus = ack.m_FlagsOrStatus;
  return FromGenCPStatus(ack.m_FlagsOrStatus);
}

CLINT32 CCommandChannel::Transact(CLProtocol::ISerial* serial, CPacket& command,
                                  std::size_t answerScdSize, CPacket& ack, std::uint32_t timeoutMs,
                                  const SOptions& options) {
  m_LastStatus = 0;
  bool heardSomething = false;
  const std::uint32_t answerMs = TransferMs(command.WireSize() + GenCP::HeaderSize + answerScdSize);
  const auto callerDeadline = Clock::now() + std::chrono::milliseconds(timeoutMs + answerMs);
  for (unsigned attempt = 0; attempt <= options.m_Resends; ++attempt) {
    if (Stopped())
      return ErrProbeStopped;
    command.m_FlagsOrStatus = GenCP::FlagRequestAck | (attempt ? GenCP::FlagCommandResend : 0);
    if (!Send(serial, command, timeoutMs))
      continue;
    auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs + answerMs);
    for (;;) {
      const EReceive r = Receive(serial, command.m_RequestId, deadline, timeoutMs, ack);
      if (r == EReceive::Ack) {
        const CLINT32 rc = Finish(command, ack);
        if (rc != ErrWrongAnswer)
          return rc;
        heardSomething = true;
        break;
      }
      if (r == EReceive::Pending) {
        heardSomething = true;
        const std::uint32_t promiseMs = GenCP::GetBE16(ack.m_Scd.data() + 2);
        deadline =
            Clock::now() + std::chrono::milliseconds(promiseMs + PendingMarginMs +
                                                     TransferMs(GenCP::HeaderSize + answerScdSize));
        m_Logger.Log(CLP_LOG_DEBUG, "GenCP: request %u pending for %u ms",
                     unsigned(command.m_RequestId), promiseMs);
        if (options.m_AllowPendingWrite && deadline > callerDeadline) {
          m_Pending = SPending{true, command, deadline, Clock::now() + PendingWriteLimit, 0};
          return CL_ERR_PENDING_WRITE;
        }
        continue;
      }
      if (r == EReceive::Corrupt)
        heardSomething = true;
      else if (!heardSomething && attempt == 0 && options.m_SilenceEndsAtOnce)
        return CL_ERR_TIMEOUT;
      m_Logger.Log(CLP_LOG_INFO, "GenCP: %s answer to request %u, attempt %u",
                   r == EReceive::Corrupt ? "corrupt" : "no", unsigned(command.m_RequestId),
                   attempt + 1);
      break;
    }
  }
  return heardSomething ? options.m_GarbageCode : CL_ERR_TIMEOUT;
}

CLINT32 CCommandChannel::ContinueWrite(CLProtocol::ISerial* serial, bool continueWaiting,
                                       std::uint32_t timeoutMs) {
  if (!m_Pending.m_Active)
    return ErrNoWritePending;
  if (!continueWaiting) {
    // The camera finishes on its own; its late acknowledge is skipped by request id.
    m_Pending.m_Active = false;
    return CL_ERR_NO_ERR;
  }
  const auto callerDeadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  CPacket ack;
  for (;;) {
    if (Clock::now() >= m_Pending.m_GiveUp) {
      m_Pending.m_Active = false;
      return CL_ERR_TIMEOUT;
    }
    const auto deadline = std::min(callerDeadline, m_Pending.m_AckDeadline);
    const EReceive r = Receive(serial, m_Pending.m_Command.m_RequestId, deadline, timeoutMs, ack);
    if (r == EReceive::Ack) {
      m_Pending.m_Active = false;
      return Finish(m_Pending.m_Command, ack);
    }
    if (r == EReceive::Pending) {
      const std::uint32_t promiseMs = GenCP::GetBE16(ack.m_Scd.data() + 2);
      m_Pending.m_AckDeadline =
          Clock::now() + std::chrono::milliseconds(promiseMs + PendingMarginMs);
      if (m_Pending.m_AckDeadline > callerDeadline)
        return CL_ERR_PENDING_WRITE;
      continue;
    }
    if (Clock::now() < m_Pending.m_AckDeadline && r == EReceive::Silent)
      return CL_ERR_PENDING_WRITE; // only the caller's time is up
    // The promise has passed: ask again with the same request id.
    if (++m_Pending.m_Resends > 3) {
      m_Pending.m_Active = false;
      return r == EReceive::Corrupt ? ErrCorruptAnswer : CL_ERR_TIMEOUT;
    }
    m_Pending.m_Command.m_FlagsOrStatus = GenCP::FlagRequestAck | GenCP::FlagCommandResend;
    Send(serial, m_Pending.m_Command, timeoutMs);
    m_Pending.m_AckDeadline =
        Clock::now() + std::chrono::milliseconds(timeoutMs + TransferMs(2 * GenCP::HeaderSize + 8));
  }
}

CLINT32 CCommandChannel::ReadMem(CLProtocol::ISerial* serial, std::uint64_t address,
                                 std::uint8_t* data, std::size_t size, std::uint32_t timeoutMs,
                                 const SOptions& options) {
  for (std::size_t done = 0; done < size;) {
    const std::size_t chunk = std::min(size - done, GenCP::MaxChunkSize);
    CPacket command =
        CPacket::ReadMem(NextRequestId(true), address + done, static_cast<std::uint16_t>(chunk));
    CPacket ack;
    const CLINT32 rc = Transact(serial, command, chunk, ack, timeoutMs, options);
    if (rc != CL_ERR_NO_ERR)
      return rc;
    if (ack.m_Scd.size() != chunk)
      return ErrWrongAnswer;
    std::copy(ack.m_Scd.begin(), ack.m_Scd.end(), data + done);
    done += chunk;
  }
  return CL_ERR_NO_ERR;
}

CLINT32 CCommandChannel::WriteMem(CLProtocol::ISerial* serial, std::uint64_t address,
                                  const std::uint8_t* data, std::size_t size,
                                  std::uint32_t timeoutMs, const SOptions& options) {
  SOptions chunkOptions = options;
  // Only a single-packet write can be left pending with the caller.
  chunkOptions.m_AllowPendingWrite = options.m_AllowPendingWrite && size <= GenCP::MaxChunkSize;
  std::size_t done = 0;
  do {
    const std::size_t chunk = std::min(size - done, GenCP::MaxChunkSize);
    CPacket command = CPacket::WriteMem(NextRequestId(false), address + done, data + done, chunk);
    CPacket ack;
    const CLINT32 rc = Transact(serial, command, 4, ack, timeoutMs, chunkOptions);
    if (rc != CL_ERR_NO_ERR)
      return rc;
    if (ack.m_Scd.size() >= 4 && GenCP::GetBE16(ack.m_Scd.data() + 2) != chunk)
      return ErrWrongAnswer;
    done += chunk;
  } while (done < size);
  return CL_ERR_NO_ERR;
}

} // namespace GenCPDriver
