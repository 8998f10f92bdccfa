#pragma once
#include <cstddef>
#include <cstdint>

namespace GenCP {

//! The serial prefix checksum: one's complement of the one's-complement sum of big-endian 16-bit
//! words; an odd trailing byte is the high byte of a last word.
std::uint16_t Checksum(const std::uint8_t* data, std::size_t size);

} // namespace GenCP
