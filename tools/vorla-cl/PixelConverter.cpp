#include "PixelConverter.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace VorlaCl {
namespace {

constexpr std::uint64_t Mono8 = 0x01080001, Mono10 = 0x01100003, Mono12 = 0x01100005,
                        Mono16 = 0x01100007, BayerRG8 = 0x01080009, RGB8 = 0x02180014;

// Bilinear demosaicing of an RGGB mosaic: each missing colour is the mean of the nearest
// samples of that colour (edges mirror inwards).
void Demosaic(const std::uint8_t* raw, std::uint32_t w, std::uint32_t h, std::uint8_t* rgb) {
  const auto at = [&](std::int64_t x, std::int64_t y) {
    x = x < 0 ? 1 : x >= w ? std::int64_t(w) - 2 : x;
    y = y < 0 ? 1 : y >= h ? std::int64_t(h) - 2 : y;
    return int(raw[std::size_t(y) * w + std::size_t(std::max<std::int64_t>(x, 0))]);
  };
  for (std::int64_t y = 0; y < h; ++y) {
    for (std::int64_t x = 0; x < w; ++x) {
      const bool evenRow = y % 2 == 0, evenCol = x % 2 == 0;
      const int centre = at(x, y);
      const int cross = (at(x - 1, y) + at(x + 1, y) + at(x, y - 1) + at(x, y + 1)) / 4;
      const int diag =
          (at(x - 1, y - 1) + at(x + 1, y - 1) + at(x - 1, y + 1) + at(x + 1, y + 1)) / 4;
      const int horiz = (at(x - 1, y) + at(x + 1, y)) / 2;
      const int vert = (at(x, y - 1) + at(x, y + 1)) / 2;
      int r, g, b;
      if (evenRow && evenCol) { // red site
        r = centre, g = cross, b = diag;
      } else if (!evenRow && !evenCol) { // blue site
        r = diag, g = cross, b = centre;
      } else if (evenRow) { // green on a red row
        r = horiz, g = centre, b = vert;
      } else { // green on a blue row
        r = vert, g = centre, b = horiz;
      }
      std::uint8_t* p = rgb + (std::size_t(y) * w + std::size_t(x)) * 3;
      p[0] = static_cast<std::uint8_t>(r);
      p[1] = static_cast<std::uint8_t>(g);
      p[2] = static_cast<std::uint8_t>(b);
    }
  }
}

} // namespace

bool CPixelConverter::Supports(std::uint64_t f) {
  return BytesPerPixel(f) != 0;
}

std::uint32_t CPixelConverter::BytesPerPixel(std::uint64_t f) {
  switch (f) {
  case Mono8:
  case BayerRG8:
    return 1;
  case Mono10:
  case Mono12:
  case Mono16:
    return 2;
  case RGB8:
    return 3;
  default:
    return 0;
  }
}

SPngImage CPixelConverter::Convert(const void* data, std::size_t size, std::uint64_t format,
                                   std::uint32_t width, std::uint32_t height) {
  if (!Supports(format)) {
    char text[80];
    std::snprintf(text, sizeof text, "pixel format 0x%08llX cannot be saved as PNG",
                  static_cast<unsigned long long>(format));
    throw std::invalid_argument(text);
  }
  const std::uint64_t pixels = std::uint64_t(width) * height;
  if (pixels == 0 || size / BytesPerPixel(format) < pixels)
    throw std::invalid_argument("the frame holds " + std::to_string(size) + " bytes, too few for " +
                                std::to_string(width) + " x " + std::to_string(height) + " pixels");
  const auto* in = static_cast<const std::uint8_t*>(data);
  SPngImage image;
  image.m_Width = width;
  image.m_Height = height;
  switch (format) {
  case Mono8:
    image.m_Pixels.assign(in, in + pixels);
    break;
  case Mono10:
  case Mono12:
  case Mono16: {
    image.m_BitDepth = 16;
    image.m_SignificantBits = format == Mono10 ? 10 : format == Mono12 ? 12 : 16;
    const int shift = 16 - image.m_SignificantBits;
    image.m_Pixels.resize(pixels * 2);
    for (std::uint64_t i = 0; i < pixels; ++i) {
      // Little-endian container to big-endian PNG sample, scaled to the full range as sBIT
      // expects.
      const std::uint32_t v = (in[2 * i] | (in[2 * i + 1] << 8)) << shift;
      image.m_Pixels[2 * i] = static_cast<std::uint8_t>(v >> 8);
      image.m_Pixels[2 * i + 1] = static_cast<std::uint8_t>(v);
    }
    break;
  }
  case BayerRG8:
    image.m_Colour = SPngImage::EColour::Rgb;
    image.m_Pixels.resize(pixels * 3);
    if (width < 2 || height < 2)
      throw std::invalid_argument("a Bayer frame needs at least 2 x 2 pixels");
    Demosaic(in, width, height, image.m_Pixels.data());
    break;
  default: // RGB8
    image.m_Colour = SPngImage::EColour::Rgb;
    image.m_Pixels.assign(in, in + pixels * 3);
  }
  return image;
}

} // namespace VorlaCl
