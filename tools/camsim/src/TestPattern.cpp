#include <camsim/TestPattern.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace camsim {
namespace {

constexpr std::uint32_t Mono8 = 0x01080001, Mono10 = 0x01100003, Mono12 = 0x01100005,
                        Mono16 = 0x01100007, BayerRG8 = 0x01080009, RGB8 = 0x02180014;
constexpr std::size_t NumberBytes = 8;

// One pixel of stripe value v (0..255) in the layout of the format.
void PutPixel(std::uint8_t* p, std::uint32_t format, std::uint32_t v) {
  switch (format) {
  case Mono10:
  case Mono12:
  case Mono16: {
    const int bits = format == Mono10 ? 10 : format == Mono12 ? 12 : 16;
    const std::uint32_t value = v << (bits - 8);
    p[0] = static_cast<std::uint8_t>(value);
    p[1] = static_cast<std::uint8_t>(value >> 8);
    break;
  }
  case RGB8:
    p[0] = static_cast<std::uint8_t>(v);
    p[1] = static_cast<std::uint8_t>(255 - v);
    p[2] = static_cast<std::uint8_t>(v * 3);
    break;
  default:
    p[0] = static_cast<std::uint8_t>(v);
  }
}

// Stripe values repeat every 256 pixels along a line and each line is the one above shifted by
// a pixel: every line is a window into one ramp of width + 256 pixels.
std::vector<std::uint8_t> Ramp(const CTestPattern::SGeometry& g, std::uint32_t bpp) {
  std::vector<std::uint8_t> ramp((std::size_t(g.m_Width) + 256) * bpp);
  for (std::size_t i = 0; i < g.m_Width + 256u; ++i)
    PutPixel(ramp.data() + i * bpp, g.m_PixelFormat, static_cast<std::uint32_t>(i & 0xFF));
  return ramp;
}

std::size_t LineStart(const CTestPattern::SGeometry& g, std::uint32_t y, std::uint64_t frame) {
  return static_cast<std::size_t>((g.m_OffsetX + g.m_OffsetY + y + frame * 3) & 0xFF);
}

} // namespace

std::uint32_t CTestPattern::BytesPerPixel(std::uint32_t pixelFormat) {
  switch (pixelFormat) {
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

std::uint64_t CTestPattern::FrameSize(const SGeometry& g) {
  return std::uint64_t(g.m_Width) * g.m_Height * BytesPerPixel(g.m_PixelFormat);
}

void CTestPattern::Render(std::uint8_t* data, const SGeometry& g, std::uint64_t frameNumber) {
  const std::uint32_t bpp = BytesPerPixel(g.m_PixelFormat);
  const std::size_t line = std::size_t(g.m_Width) * bpp;
  if (!bpp || !line || !g.m_Height)
    return;
  // The ramp of a geometry is the same for every frame; keep the last one per thread.
  thread_local SGeometry cached{};
  thread_local std::vector<std::uint8_t> ramp;
  if (std::memcmp(&cached, &g, sizeof g) != 0 || ramp.empty()) {
    ramp = Ramp(g, bpp);
    cached = g;
  }
  for (std::uint32_t y = 0; y < g.m_Height; ++y)
    std::memcpy(data + y * line, ramp.data() + LineStart(g, y, frameNumber) * bpp, line);
  const std::size_t n = std::min<std::size_t>(NumberBytes, line * g.m_Height);
  for (std::size_t i = 0; i < n; ++i)
    data[i] = static_cast<std::uint8_t>(frameNumber >> (8 * i));
}

std::uint64_t CTestPattern::FrameNumber(const std::uint8_t* data, std::size_t size) {
  if (size < NumberBytes)
    return 0;
  std::uint64_t n = 0;
  for (std::size_t i = 0; i < NumberBytes; ++i)
    n |= std::uint64_t(data[i]) << (8 * i);
  return n;
}

bool CTestPattern::Check(const std::uint8_t* data, std::size_t size, const SGeometry& g,
                         std::size_t pitch) {
  const std::uint32_t bpp = BytesPerPixel(g.m_PixelFormat);
  const std::size_t line = std::size_t(g.m_Width) * bpp;
  if (!pitch)
    pitch = line;
  if (!bpp || pitch < line || g.m_Height == 0 || size < pitch * (g.m_Height - 1) + line ||
      line < NumberBytes)
    return false;
  const std::uint64_t frame = FrameNumber(data, size);
  const std::vector<std::uint8_t> ramp = Ramp(g, bpp);
  for (std::uint32_t y = 0; y < g.m_Height; ++y) {
    const std::size_t skip = y == 0 ? NumberBytes : 0;
    if (std::memcmp(data + y * pitch + skip, ramp.data() + LineStart(g, y, frame) * bpp + skip,
                    line - skip) != 0)
      return false;
  }
  return true;
}

} // namespace camsim
