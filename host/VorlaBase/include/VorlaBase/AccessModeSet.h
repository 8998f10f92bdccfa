#pragma once
#include <cstdint>

namespace Vorla {

enum EDeviceAccessMode { Control = 0, Stream = 1, Event = 2, Exclusive = 3, _NumModes };

//! The ways an application wants to use a device.
class AccessModeSet {
public:
  AccessModeSet() = default;
  AccessModeSet(EDeviceAccessMode mode) { Set(mode); }
  AccessModeSet& Set(EDeviceAccessMode mode) {
    m_bits |= 1u << mode;
    return *this;
  }
  AccessModeSet& Reset(EDeviceAccessMode mode) {
    m_bits &= ~(1u << mode);
    return *this;
  }
  bool Test(EDeviceAccessMode mode) const { return (m_bits & (1u << mode)) != 0; }
  bool operator==(const AccessModeSet& o) const { return m_bits == o.m_bits; }
  bool operator!=(const AccessModeSet& o) const { return m_bits != o.m_bits; }

private:
  uint32_t m_bits = 0;
};

inline AccessModeSet operator|(EDeviceAccessMode a, EDeviceAccessMode b) {
  return AccessModeSet(a).Set(b);
}

} // namespace Vorla
