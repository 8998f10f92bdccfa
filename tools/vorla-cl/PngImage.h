#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace VorlaCl {

//! A picture as PNG stores it: grey or RGB, 8 or 16 bits per sample (16-bit samples
//! big-endian), rows contiguous.
struct SPngImage {
  enum class EColour { Grey, Rgb };
  std::uint32_t m_Width = 0;
  std::uint32_t m_Height = 0;
  EColour m_Colour = EColour::Grey;
  int m_BitDepth = 8;
  //! Bits that carry information (10 for Mono10 in a 16-bit sample); written as PNG's sBIT.
  int m_SignificantBits = 8;
  std::vector<std::uint8_t> m_Pixels;
  //! Text chunks (keyword, Latin-1 text), e.g. the frame's number and time stamp.
  std::vector<std::pair<std::string, std::string>> m_Texts;

  std::size_t RowBytes() const {
    return std::size_t(m_Width) * (m_Colour == EColour::Rgb ? 3 : 1) * (m_BitDepth / 8);
  }
};

} // namespace VorlaCl
