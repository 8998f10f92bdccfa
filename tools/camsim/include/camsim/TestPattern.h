#pragma once
#include <camsim/CamSimDef.h>

#include <cstddef>
#include <cstdint>

namespace camsim {

//! The simulated camera's picture: diagonal stripes that move by three pixels per frame and
//! follow the region's place on the sensor, with the frame number (64 bits, little-endian) in
//! the first eight bytes. Every byte follows from the frame number and the geometry, so a
//! reader can check a whole frame for order, completeness and tearing. Stateless.
class CAMSIM_API CTestPattern {
public:
  struct SGeometry {
    std::uint32_t m_Width = 0;
    std::uint32_t m_Height = 0;
    std::uint32_t m_OffsetX = 0;
    std::uint32_t m_OffsetY = 0;
    std::uint32_t m_PixelFormat = 0;
  };
  //! Bytes per pixel of the formats the camera has (0 for others).
  static std::uint32_t BytesPerPixel(std::uint32_t pixelFormat);
  static std::uint64_t FrameSize(const SGeometry& geometry);
  //! Draws frame `frameNumber` into `data` (FrameSize bytes, contiguous lines).
  static void Render(std::uint8_t* data, const SGeometry& geometry, std::uint64_t frameNumber);
  //! The frame number in the first bytes; 0 when the frame is too short to hold one.
  static std::uint64_t FrameNumber(const std::uint8_t* data, std::size_t size);
  //! Whether every byte is that of the frame whose number it carries. Lines may be `pitch`
  //! bytes apart (0: contiguous).
  static bool Check(const std::uint8_t* data, std::size_t size, const SGeometry& geometry,
                    std::size_t pitch = 0);
};

} // namespace camsim
