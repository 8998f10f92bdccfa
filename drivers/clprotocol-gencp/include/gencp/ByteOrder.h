#pragma once
// Big-endian field access; serial GenCP carries every field most significant byte first.
#include <cstddef>
#include <cstdint>

namespace GenCP {

inline std::uint64_t GetBE(const std::uint8_t* p, std::size_t size) {
  std::uint64_t v = 0;
  for (std::size_t i = 0; i < size; ++i)
    v = (v << 8) | p[i];
  return v;
}
inline void PutBE(std::uint8_t* p, std::uint64_t v, std::size_t size) {
  for (std::size_t i = size; i-- > 0; v >>= 8)
    p[i] = static_cast<std::uint8_t>(v & 0xFF);
}
inline std::uint16_t GetBE16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(GetBE(p, 2));
}
inline std::uint32_t GetBE32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(GetBE(p, 4));
}
inline std::uint64_t GetBE64(const std::uint8_t* p) {
  return GetBE(p, 8);
}

} // namespace GenCP
