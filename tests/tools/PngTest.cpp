// Frames to PNG files: every pixel format, file names, and no half-written file left behind.
#include <FramePathPattern.h>
#include <PixelConverter.h>
#include <PngWriter.h>

#include <png.h>

#include "TempFolder.h"

#include <gtest/gtest.h>

#include <csetjmp>
#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace VorlaCl;
using Bytes = std::vector<std::uint8_t>;
namespace fs = std::filesystem;

namespace {

struct SReadBack {
  std::uint32_t m_Width = 0, m_Height = 0;
  int m_BitDepth = 0, m_ColourType = -1, m_SignificantGrey = 0;
  Bytes m_Pixels;
};

// Only plain locals: libpng reports errors by longjmp.
bool ReadPng(const char* path, SReadBack& out) {
  std::FILE* file = std::fopen(path, "rb");
  if (!file)
    return false;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
    return false;
  }
  png_init_io(png, file);
  png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  out.m_Width = png_get_image_width(png, info);
  out.m_Height = png_get_image_height(png, info);
  out.m_BitDepth = png_get_bit_depth(png, info);
  out.m_ColourType = png_get_color_type(png, info);
  png_color_8p sbit = nullptr;
  if (png_get_sBIT(png, info, &sbit))
    out.m_SignificantGrey = out.m_ColourType == PNG_COLOR_TYPE_GRAY ? sbit->gray : sbit->red;
  const std::size_t row = png_get_rowbytes(png, info);
  png_bytepp rows = png_get_rows(png, info);
  for (std::uint32_t y = 0; y < out.m_Height; ++y)
    out.m_Pixels.insert(out.m_Pixels.end(), rows[y], rows[y] + row);
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(file);
  return true;
}

class Png : public ::testing::Test {
protected:
  std::size_t FilesInFolder() const {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(m_Folder), {}));
  }
  testsupport::CTempFolder m_Temp;
  const fs::path m_Folder = m_Temp.Path();
};

} // namespace

TEST_F(Png, EveryPixelFormatBecomesItsKindOfPicture) {
  const struct {
    std::uint64_t m_Format;
    Bytes m_Raw; // 2 x 2 pixels
    int m_BitDepth, m_ColourType, m_Significant;
    Bytes m_Png;
  } cases[] = {
      // clang-format off
      {0x01080001, {1, 2, 3, 4}, 8, PNG_COLOR_TYPE_GRAY, 8, {1, 2, 3, 4}},
      {0x01100003, {0xFF, 0x03, 1, 0, 0, 0, 0, 2}, 16, PNG_COLOR_TYPE_GRAY, 10,
       {0xFF, 0xC0, 0, 0x40, 0, 0, 0x80, 0}},
      {0x01100005, {0xBC, 0x0A, 0, 0, 0, 0, 0, 0}, 16, PNG_COLOR_TYPE_GRAY, 12,
       {0xAB, 0xC0, 0, 0, 0, 0, 0, 0}},
      {0x01100007, {0x34, 0x12, 0, 0, 0, 0, 0xFF, 0xFF}, 16, PNG_COLOR_TYPE_GRAY, 16,
       {0x12, 0x34, 0, 0, 0, 0, 0xFF, 0xFF}},
      {0x02180014, Bytes(12, 7), 8, PNG_COLOR_TYPE_RGB, 8, Bytes(12, 7)},
      // One colour everywhere: demosaicing must give that colour back at every site.
      {0x01080009, {200, 100, 100, 50}, 8, PNG_COLOR_TYPE_RGB, 8,
       {200, 100, 50, 200, 100, 50, 200, 100, 50, 200, 100, 50}},
      // clang-format on
  };
  for (const auto& c : cases) {
    const std::string path = (m_Folder / "frame.png").string();
    CPngWriter::Write(path,
                      CPixelConverter::Convert(c.m_Raw.data(), c.m_Raw.size(), c.m_Format, 2, 2));
    SReadBack png;
    ASSERT_TRUE(ReadPng(path.c_str(), png)) << std::hex << c.m_Format;
    EXPECT_EQ(png.m_Width, 2u);
    EXPECT_EQ(png.m_BitDepth, c.m_BitDepth) << std::hex << c.m_Format;
    EXPECT_EQ(png.m_ColourType, c.m_ColourType) << std::hex << c.m_Format;
    EXPECT_EQ(png.m_SignificantGrey, c.m_Significant) << std::hex << c.m_Format;
    EXPECT_EQ(png.m_Pixels, c.m_Png) << std::hex << c.m_Format;
  }
  EXPECT_EQ(FilesInFolder(), 1u);
}

TEST_F(Png, BadFramesAreRefusedWithTheirReason) {
  const Bytes raw(8);
  const struct {
    std::uint64_t m_Format;
    std::uint32_t m_Width, m_Height;
    const char* m_Text;
  } cases[] = {
      {0x0110000B, 2, 2, "pixel format 0x0110000B cannot be saved as PNG"},
      {0x01100007, 4, 2, "the frame holds 8 bytes, too few for 4 x 2 pixels"},
      {0x01080001, 0, 2, "the frame holds 8 bytes, too few for 0 x 2 pixels"},
  };
  for (const auto& c : cases) {
    try {
      CPixelConverter::Convert(raw.data(), raw.size(), c.m_Format, c.m_Width, c.m_Height);
      ADD_FAILURE() << c.m_Text;
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), c.m_Text);
    }
  }
}

// A missing folder is the grab script's case; a disk that fills up is this one's: a file-size
// limit in a child process.
TEST_F(Png, AFailedWriteLeavesNoFile) {
  const std::string path = (m_Folder / "full.png").string();
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{100, 100};
    setrlimit(RLIMIT_FSIZE, &limit);
    Bytes noise(256 * 256);
    for (std::size_t i = 0; i < noise.size(); ++i)
      noise[i] = static_cast<std::uint8_t>(i * 2654435761u >> 13);
    try {
      CPngWriter::Write(path,
                        CPixelConverter::Convert(noise.data(), noise.size(), 0x01080001, 256, 256));
    } catch (const std::runtime_error& e) {
      _exit(std::string(e.what()).find("File too large") != std::string::npos ? 0 : 2);
    }
    _exit(1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(FilesInFolder(), 0u);
}

TEST(FramePathPattern, IndexGoesIntoTheHashesOrBeforeTheExtension) {
  const struct {
    const char* m_Pattern;
    std::uint64_t m_Index;
    const char* m_Path;
  } cases[] = {
      {"f-####.png", 7, "f-0007.png"}, {"f-##.png", 123, "f-123.png"},
      {"f-##.png", 7, "f-07.png"},     {"out/img.png", 3, "out/img-3.png"},
      {"a.b/img", 1, "a.b/img-1.png"}, {"###", 5, "005"},
  };
  for (const auto& c : cases)
    EXPECT_EQ(CFramePathPattern(c.m_Pattern).Path(c.m_Index), c.m_Path) << c.m_Pattern;
}
