#pragma once
#include <array>
#include <cstddef>
#include <cstdint>

namespace GenCP {

using Sha1Digest = std::array<std::uint8_t, 20>;

//! SHA-1 of a byte range, in the byte order the manifest stores it.
Sha1Digest Sha1(const std::uint8_t* data, std::size_t size);

} // namespace GenCP
