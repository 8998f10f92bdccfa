#pragma once
#include <cstdint>

namespace Vorla {

//! Pixel types in the standard pixel-format numbering: bits 24..31 say mono (0x01) or colour
//! (0x02), bits 16..23 the bits per pixel, bits 0..15 the format's id.
enum EPixelType : uint32_t {
  PixelType_Undefined = 0xFFFFFFFF,

  PixelType_Mono8 = 0x01080001,
  PixelType_Mono8signed = 0x01080002,
  PixelType_Mono10 = 0x01100003,
  PixelType_Mono10packed = 0x010C0004,
  PixelType_Mono12 = 0x01100005,
  PixelType_Mono12packed = 0x010C0006,
  PixelType_Mono16 = 0x01100007,
  PixelType_Mono14 = 0x01100025,

  PixelType_BayerGR8 = 0x01080008,
  PixelType_BayerRG8 = 0x01080009,
  PixelType_BayerGB8 = 0x0108000A,
  PixelType_BayerBG8 = 0x0108000B,
  PixelType_BayerGR10 = 0x0110000C,
  PixelType_BayerRG10 = 0x0110000D,
  PixelType_BayerGB10 = 0x0110000E,
  PixelType_BayerBG10 = 0x0110000F,
  PixelType_BayerGR12 = 0x01100010,
  PixelType_BayerRG12 = 0x01100011,
  PixelType_BayerGB12 = 0x01100012,
  PixelType_BayerBG12 = 0x01100013,
  PixelType_BayerGR16 = 0x0110002E,
  PixelType_BayerRG16 = 0x0110002F,
  PixelType_BayerGB16 = 0x01100030,
  PixelType_BayerBG16 = 0x01100031,

  PixelType_RGB8packed = 0x02180014,
  PixelType_BGR8packed = 0x02180015,
  PixelType_RGBA8packed = 0x02200016,
  PixelType_BGRA8packed = 0x02200017,
  PixelType_RGB10packed = 0x02300018,
  PixelType_BGR10packed = 0x02300019,
  PixelType_RGB12packed = 0x0230001A,
  PixelType_BGR12packed = 0x0230001B,
  PixelType_RGB16packed = 0x02300033,

  PixelType_YUV411packed = 0x020C001E,
  PixelType_YUV422packed = 0x0210001F, // UYVY
  PixelType_YUV444packed = 0x02180020,
  PixelType_YUV422_YUYV_Packed = 0x02100032
};

} // namespace Vorla
