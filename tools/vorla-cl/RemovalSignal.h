#pragma once
// A removal callback that a waiting thread can block on.
#include <VorlaBase/IVorlaDevice.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace VorlaCl {

//! Registered with a device; the device's clones share one state with the original, so the
//! original learns of a removal detected on any thread. Thread-safe.
class CRemovalSignal : public Vorla::DeviceCallback {
public:
  CRemovalSignal();
  void operator()(Vorla::IVorlaDevice* device) const override;
  Vorla::DeviceCallback* Clone() const override;

  bool Removed() const;
  //! Waits until the removal or the timeout; true when removed.
  bool WaitFor(std::chrono::milliseconds timeout) const;

private:
  struct SState {
    std::mutex m_Lock; // guards m_Removed; owned by the state, taken by every clone
    std::condition_variable m_Changed;
    bool m_Removed = false;
  };
  std::shared_ptr<SState> m_State;
};

} // namespace VorlaCl
