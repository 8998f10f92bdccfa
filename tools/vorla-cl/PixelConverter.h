#pragma once
#include "PngImage.h"

#include <cstddef>
#include <cstdint>

namespace VorlaCl {

//! Turns a grabbed frame into a picture for PNG: Mono8 as 8-bit grey; Mono10, Mono12 and Mono16
//! (16-bit little-endian containers) as 16-bit grey with their significant bits; BayerRG8
//! demosaiced (bilinear) to RGB; RGB8 as colour. Stateless.
class CPixelConverter {
public:
  //! Whether `pixelFormat` (a PFNC value) can be converted.
  static bool Supports(std::uint64_t pixelFormat);
  //! Bytes per pixel of a supported format.
  static std::uint32_t BytesPerPixel(std::uint64_t pixelFormat);
  //! Throws std::invalid_argument for an unknown format, an empty picture or fewer than
  //! width * height pixels in `size` bytes.
  static SPngImage Convert(const void* data, std::size_t size, std::uint64_t pixelFormat,
                           std::uint32_t width, std::uint32_t height);
};

} // namespace VorlaCl
