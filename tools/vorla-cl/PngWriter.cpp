#include "PngWriter.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace VorlaCl {
namespace {

constexpr std::size_t ErrorTextSize = 200;

extern "C" void OnPngError(png_structp png, png_const_charp message) {
  auto* text = static_cast<char*>(png_get_error_ptr(png));
  // A failed write has left its reason in errno; libpng only says "Write Error".
  std::snprintf(text, ErrorTextSize, "%s%s%s", message, errno ? ": " : "",
                errno ? std::strerror(errno) : "");
  png_longjmp(png, 1);
}

extern "C" void OnPngWarning(png_structp, png_const_charp) {}

// Only plain locals here: libpng reports errors by longjmp. `texts` is prepared by the caller.
bool WritePng(std::FILE* file, const SPngImage& image, png_text* texts, int textCount,
              char* errorText) {
  png_structp png =
      png_create_write_struct(PNG_LIBPNG_VER_STRING, errorText, OnPngError, OnPngWarning);
  png_infop info = png ? png_create_info_struct(png) : nullptr;
  if (!info) {
    std::snprintf(errorText, ErrorTextSize, "out of memory");
    png_destroy_write_struct(&png, nullptr);
    return false;
  }
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    return false;
  }
  png_init_io(png, file);
  const bool rgb = image.m_Colour == SPngImage::EColour::Rgb;
  png_set_IHDR(png, info, image.m_Width, image.m_Height, image.m_BitDepth,
               rgb ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_color_8 significant{};
  const auto bits = static_cast<png_byte>(image.m_SignificantBits);
  significant.red = significant.green = significant.blue = significant.gray = bits;
  png_set_sBIT(png, info, &significant);
  if (textCount > 0)
    png_set_text(png, info, texts, textCount);
  // Speed over size: grabbing goes on while pictures are written.
  png_set_compression_level(png, 1);
  png_write_info(png, info);
  const std::size_t row = image.RowBytes();
  for (std::uint32_t y = 0; y < image.m_Height; ++y)
    png_write_row(png, image.m_Pixels.data() + row * y);
  png_write_end(png, nullptr);
  png_destroy_write_struct(&png, &info);
  return true;
}

} // namespace

void CPngWriter::Write(const std::string& path, const SPngImage& image) {
  if (image.m_Pixels.size() < image.RowBytes() * image.m_Height || !image.m_Width ||
      !image.m_Height)
    throw std::runtime_error("cannot write '" + path + "': the picture is incomplete");
  const std::string temporary = path + ".part";
  char errorText[ErrorTextSize] = {};
  errno = 0;
  std::FILE* file = std::fopen(temporary.c_str(), "wb");
  bool ok = file != nullptr;
  if (!ok)
    std::snprintf(errorText, sizeof errorText, "%s", std::strerror(errno));
  if (ok) {
    std::vector<png_text> texts;
    for (const auto& text : image.m_Texts) {
      png_text entry{};
      entry.compression = PNG_TEXT_COMPRESSION_NONE;
      entry.key = const_cast<char*>(text.first.c_str());
      entry.text = const_cast<char*>(text.second.c_str());
      entry.text_length = text.second.size();
      texts.push_back(entry);
    }
    ok = WritePng(file, image, texts.data(), static_cast<int>(texts.size()), errorText);
    errno = 0;
    if (std::fclose(file) != 0 && ok) {
      std::snprintf(errorText, sizeof errorText, "%s", std::strerror(errno));
      ok = false;
    }
    if (ok && std::rename(temporary.c_str(), path.c_str()) != 0) {
      std::snprintf(errorText, sizeof errorText, "%s", std::strerror(errno));
      ok = false;
    }
    if (!ok)
      std::remove(temporary.c_str());
  }
  if (!ok)
    throw std::runtime_error("cannot write '" + path + "': " + errorText);
}

} // namespace VorlaCl
