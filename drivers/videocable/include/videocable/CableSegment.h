#pragma once
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace VideoCable {

//! One mapping of a named shared-memory object, and the wait/wake primitive on a word inside
//! it that works across processes (a futex on Linux; a named event would take its place on
//! Windows). Bound to its owner; the static functions are thread-safe.
class CCableSegment {
public:
  CCableSegment();
  ~CCableSegment();
  CCableSegment(const CCableSegment&) = delete;
  CCableSegment& operator=(const CCableSegment&) = delete;

  //! Creates the object afresh (an old one of that name is removed) and maps it, readable and
  //! writable by its owner only unless VORLA_CABLE_MODE gives other permissions (octal, e.g.
  //! 660). Throws std::runtime_error on failure.
  void Create(const std::string& name, std::size_t size);
  //! Maps an existing object that belongs to this process's user (or to the user whose id
  //! VORLA_CABLE_OWNER names) and that no other user may write; false when there is none or it
  //! is refused, with the reason in `why` ("" when there is none).
  bool Open(const std::string& name, std::string* why = nullptr);
  void Close();
  static void Remove(const std::string& name);

  void* Address() const;
  //! The size of the mapping, as the object's file says, not as its contents claim.
  std::size_t Size() const;

  //! Sleeps while `word` holds `expected`, at most `timeout`; returns early on a wake (or
  //! spuriously), so callers check their condition again.
  static void Wait(std::atomic<std::uint32_t>& word, std::uint32_t expected,
                   std::chrono::milliseconds timeout);
  static void WakeAll(std::atomic<std::uint32_t>& word);
  //! Whether the process that wrote `pid` still runs.
  static bool ProcessAlive(std::int64_t pid);
  static std::int64_t CurrentProcess();
  //! A monotonic clock in ns that every process on the machine shares (for heartbeats).
  static std::uint64_t Now();

private:
  struct SImpl;
  std::unique_ptr<SImpl> m_Impl;
};

} // namespace VideoCable
