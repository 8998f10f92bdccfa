#include <gencp/Checksum.h>

namespace GenCP {

std::uint16_t Checksum(const std::uint8_t* data, std::size_t size) {
  std::uint32_t sum = 0;
  std::size_t i = 0;
  for (; i + 1 < size; i += 2)
    sum += (static_cast<std::uint32_t>(data[i]) << 8) | data[i + 1];
  if (i < size)
    sum += static_cast<std::uint32_t>(data[i]) << 8;
  while (sum >> 16)
    sum = (sum & 0xFFFF) + (sum >> 16);
  return static_cast<std::uint16_t>(~sum & 0xFFFF);
}

} // namespace GenCP
