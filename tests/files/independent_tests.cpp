// Our readers on files made by other programs (Pillow, ImageMagick, and a few
// made byte by byte in Python), and our files read by those programs.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <cstring>

#include "file_test_util.h"
#include "files/imagefile.h"
#include "test_images.h"

namespace ochrel {
namespace {

using test::ScratchDir;

const char* const kPython = "/usr/bin/python3";
const std::string kHelper = std::string(OCHREL_SOURCE_DIR) + "/tests/files/independent.py";

bool Have(const char* program) {
  std::string cmd = std::string("command -v ") + program + " >/dev/null 2>&1";
  return std::system(cmd.c_str()) == 0;
}
bool HavePillow() {
  std::string cmd = std::string(kPython) + " -c 'import PIL' >/dev/null 2>&1";
  return std::system(cmd.c_str()) == 0;
}
bool Shell(const std::string& cmd) {
  int r = std::system((cmd + " 2>/dev/null").c_str());
  return WIFEXITED(r) && WEXITSTATUS(r) == 0;
}
std::string Q(const std::string& s) { return "'" + s + "'"; }

// A binary PPM as 0xRRGGBB values, rows from the top; empty if unreadable.
std::vector<std::uint32_t> ReadPpm(const std::string& path, int* w, int* h) {
  std::vector<std::uint8_t> b = test::ReadBytes(path);
  std::size_t i = 0;
  auto token = [&]() {
    while (i < b.size() && (std::isspace(b[i]) || b[i] == '#')) {
      if (b[i] == '#')
        while (i < b.size() && b[i] != '\n') ++i;
      else ++i;
    }
    std::string t;
    while (i < b.size() && !std::isspace(b[i])) t += static_cast<char>(b[i++]);
    return t;
  };
  if (token() != "P6") return {};
  *w = std::atoi(token().c_str());
  *h = std::atoi(token().c_str());
  if (token() != "255") return {};
  ++i;
  std::size_t n = static_cast<std::size_t>(*w) * static_cast<std::size_t>(*h);
  if (b.size() - i < n * 3) return {};
  std::vector<std::uint32_t> px(n);
  for (std::size_t k = 0; k < n; ++k)
    px[k] = static_cast<std::uint32_t>((b[i + 3 * k] << 16) | (b[i + 3 * k + 1] << 8) | b[i + 3 * k + 2]);
  return px;
}

struct Variant {
  const char* name;
  int bits;       // the depth our reader gives
  int tolerance;  // per channel
};

class ForeignFiles : public testing::TestWithParam<Variant> {};

TEST_P(ForeignFiles, ReadAsTheOtherProgramReadsThem) {
  if (!HavePillow()) GTEST_SKIP() << "Python Pillow (python3-pil) is not installed";
  if (!Have("convert")) GTEST_SKIP() << "ImageMagick's convert is not installed";
  const Variant& v = GetParam();
  ScratchDir dir;
  std::string file = dir / (std::string("in.") + std::string(v.name).substr(0, 3));
  std::string expect = dir / "expected.ppm";
  ASSERT_TRUE(Shell(std::string(kPython) + " " + Q(kHelper) + " make " + v.name + " " + Q(file) + " " + Q(expect)));
  int w = 0, h = 0;
  std::vector<std::uint32_t> want = ReadPpm(expect, &w, &h);
  ASSERT_FALSE(want.empty());
  HDIB ours = LoadImage(file.c_str());
  ASSERT_TRUE(ours) << v.name;
  EXPECT_EQ(LockDib(ours)->biWidth, w);
  EXPECT_EQ(LockDib(ours)->biHeight, h);
  EXPECT_EQ(LockDib(ours)->biBitCount, v.bits);
  EXPECT_LE(test::MaxChannelDifference(test::Colours(ours), want), v.tolerance);
  int iw = 0, ih = 0, ibits = 0;
  ASSERT_EQ(GetImageInfo(file.c_str(), &iw, &ih, &ibits, nullptr), 1);
  EXPECT_EQ(ibits, v.bits);
  EXPECT_EQ(iw, w);
}

INSTANTIATE_TEST_SUITE_P(
    Variants, ForeignFiles,
    testing::Values(Variant{"bmp1", 1, 0}, Variant{"bmp4", 4, 0}, Variant{"bmp4rle", 4, 0}, Variant{"bmp8", 8, 0},
                    Variant{"bmp8rle", 8, 0}, Variant{"bmp16", 24, 1}, Variant{"bmp24", 24, 0}, Variant{"bmp32", 24, 0},
                    Variant{"bmpos2", 24, 0}, Variant{"bmpgrey", 8, 0}, Variant{"bmptopdown", 24, 0},
                    Variant{"pcx1", 1, 0}, Variant{"pcx4", 4, 0}, Variant{"pcx8", 8, 0}, Variant{"pcxgrey", 8, 0},
                    Variant{"pcx24", 24, 0}, Variant{"tgamap", 8, 0}, Variant{"tgamaprle", 8, 0},
                    Variant{"tgagrey", 8, 0}, Variant{"tgagreyrle", 8, 0}, Variant{"tga24", 24, 0},
                    Variant{"tga24rle", 24, 0}, Variant{"tga24top", 24, 0}, Variant{"tga24toprle", 24, 0},
                    Variant{"tga32", 24, 0}, Variant{"tga16", 24, 1}, Variant{"tga16top", 24, 1}, Variant{"png1", 1, 0},
                    Variant{"png2", 4, 0}, Variant{"png4", 4, 0}, Variant{"png8", 8, 0}, Variant{"pngpaltrns", 4, 0},
                    Variant{"pnggrey", 8, 0}, Variant{"pnggrey16", 8, 0}, Variant{"pnggreytrns", 8, 0},
                    Variant{"pngla", 8, 0}, Variant{"pngrgb", 24, 0}, Variant{"pngrgbtrns", 24, 0},
                    Variant{"pngrgba", 24, 0}, Variant{"pngrgb16", 24, 0}, Variant{"pngrgba16", 24, 1},
                    Variant{"pnginterlaced", 24, 0}, Variant{"pnginterlacedpal", 8, 0}, Variant{"jpggrey", 8, 2},
                    Variant{"jpgrgb", 24, 2}, Variant{"jpgprogressive", 24, 2}, Variant{"jpgcmyk", 24, 1}),
    [](const testing::TestParamInfo<Variant>& i) { return std::string(i.param.name); });

// Our writers, read back by Pillow and by ImageMagick (netpbm's tgatoppm for TGA,
// since ImageMagick mishandles the bottom-left origin). Pillow 9.4 reads 4-plane
// PCX with its planes swapped, so ImageMagick alone checks that one.
TEST(OurFilesElsewhere, OtherProgramsSeeTheSamePixels) {
  if (!HavePillow()) GTEST_SKIP() << "Python Pillow (python3-pil) is not installed";
  if (!Have("convert")) GTEST_SKIP() << "ImageMagick's convert is not installed";
  if (!Have("tgatoppm") || !Have("pcxtoppm")) GTEST_SKIP() << "netpbm is not installed";
  ScratchDir dir;
  struct Case {
    const char* ext;
    int bits, palette, tolerance;
  } cases[] = {{"bmp", 1, 0, 0},  {"bmp", 4, 8, 0}, {"bmp", 8, 8, 0}, {"bmp", 8, 10, 0}, {"bmp", 24, 8, 0},
               {"pcx", 1, 0, 0},  {"pcx", 4, 8, 0}, {"pcx", 8, 8, 0}, {"pcx", 8, 10, 0}, {"pcx", 24, 8, 0},
               {"tga", 1, 0, 0},  {"tga", 4, 8, 0}, {"tga", 8, 8, 0}, {"tga", 8, 10, 0}, {"tga", 24, 8, 0},
               {"png", 1, 0, 0},  {"png", 4, 8, 0}, {"png", 8, 8, 0}, {"png", 8, 10, 0}, {"png", 24, 8, 0},
               {"jpg", 24, 8, 2}, {"jpg", 8, 10, 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.ext) + " " + std::to_string(c.bits) + "-bit palette " + std::to_string(c.palette));
    HDIB src;
    if (std::strcmp(c.ext, "jpg") == 0) {
      // JPEG gets a smooth picture, so that the comparison is about decoding.
      BYTE grey[768];
      GetDefaultPalette(grey, nullptr, 10);
      src = CreateDib(45, 19, grey, c.bits);
      for (int y = 0; y < 19; ++y)
        for (int x = 0; x < 45; ++x)
          PutDibPixel(LockDib(src), x, y,
                      c.bits == 8 ? static_cast<std::uint32_t>(x * 5) : RGB(x * 5, y * 13, 200 - x * 2));
    } else {
      src = test::RandomDib(45, 19, c.bits, 21, c.palette);
    }
    std::string file = dir / (std::string("ours.") + c.ext);
    ASSERT_EQ(WriteImage(file.c_str(), src), 1);
    // For JPEG the reference is our own decode; both use the same library.
    HDIB ours = LoadImage(file.c_str());
    ASSERT_TRUE(ours);
    std::vector<std::uint32_t> want = test::Colours(std::strcmp(c.ext, "jpg") == 0 ? ours : src);
    int w = 0, h = 0;
    std::string pil = dir / "pil.ppm", other = dir / "other.ppm";
    ASSERT_TRUE(Shell(std::string(kPython) + " " + Q(kHelper) + " read " + Q(file) + " " + Q(pil)));
    if (!(std::strcmp(c.ext, "pcx") == 0 && c.bits == 4)) {
      EXPECT_LE(test::MaxChannelDifference(ReadPpm(pil, &w, &h), want), c.tolerance) << "Pillow";
    }
    // ImageMagick 6.9 shows mono PCX inverted whatever the palette says; netpbm
    // and Pillow agree with each other there, so netpbm checks that case.
    std::string cmd = std::strcmp(c.ext, "tga") == 0 ? "tgatoppm " + Q(file) + " > " + Q(other)
                      : std::strcmp(c.ext, "pcx") == 0 && c.bits == 1
                          ? "pcxtoppm " + Q(file) + " > " + Q(other)
                          : "convert " + Q(file) + " -depth 8 ppm:" + Q(other);
    ASSERT_TRUE(Shell(cmd));
    EXPECT_LE(test::MaxChannelDifference(ReadPpm(other, &w, &h), want), c.tolerance) << cmd;
    EXPECT_EQ(w, 45);
    EXPECT_EQ(h, 19);
  }
}

}  // namespace
}  // namespace ochrel
