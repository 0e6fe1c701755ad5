// The codecs in memory: round trips at every depth each writer takes, and
// hostile input of every kind failing cleanly.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "file_test_util.h"
#include "files/codec.h"
#include "test_images.h"

namespace ochrel {
namespace {

using test::Colours;
using test::Encoded;
using test::RandomDib;

using Encoder = bool (*)(const BITMAPINFOHEADER*, ByteSink&);
using Decoder = HDIB (*)(ByteSpan, bool);

bool JpgEncode90(const BITMAPINFOHEADER* h, ByteSink& s) { return JpgEncode(h, 90, s); }

struct Codec {
  const char* name;
  Encoder encode;
  Decoder decode;
};
const Codec kLossless[] = {
    {"bmp", BmpEncode, BmpDecode},
    {"pcx", PcxEncode, PcxDecode},
    {"tga", TgaEncode, TgaDecode},
    {"png", PngEncode, PngDecode},
};

// A smooth picture: what JPEG is made for, so that its error stays small.
HDIB SmoothDib(int w, int h, bool grey) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 10);
  HDIB dib = CreateDib(w, h, pal, grey ? 8 : 24);
  BITMAPINFOHEADER* hd = LockDib(dib);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      int r = x * 255 / (w - 1), g = y * 255 / (h - 1), b = (x + y) * 255 / (w + h - 2);
      PutDibPixel(hd, x, y, grey ? static_cast<std::uint32_t>(r) : RGB(r, g, b));
    }
  return dib;
}

TEST(CodecRoundTrip, LosslessFormatsKeepEveryPixelAtOddWidths) {
  for (const Codec& c : kLossless) EXPECT_TRUE(Encoded(c.encode, HDIB{}).empty()) << c.name;
  for (const Codec& c : kLossless)
    for (int bits : {1, 4, 8, 24})
      for (int w : {1, 3, 5, 7, 13, 33})
        for (int h : {1, 6}) {
          SCOPED_TRACE(std::string(c.name) + " bits " + std::to_string(bits) + " " + std::to_string(w) + "x" +
                       std::to_string(h));
          HDIB src = RandomDib(w, h, bits, static_cast<unsigned>(w * 131 + h * 7 + bits));
          std::vector<std::uint8_t> bytes = Encoded(c.encode, src);
          ASSERT_FALSE(bytes.empty());
          HDIB back = c.decode(bytes, false);
          ASSERT_TRUE(back);
          EXPECT_EQ(Colours(back), Colours(src));
          const BITMAPINFOHEADER* bh = LockDib(back);
          // TGA has no depth under 8: mono and 16-colour come back as 8-bit with
          // the same indices; everything else keeps its depth and its bytes.
          if (std::strcmp(c.name, "tga") == 0 && bits < 8) {
            EXPECT_EQ(bh->biBitCount, 8);
            for (int y = 0; y < h; ++y)
              for (int x = 0; x < w; ++x) ASSERT_EQ(GetDibPixel(bh, x, y), GetDibPixel(LockDib(src), x, y));
          } else {
            EXPECT_TRUE(test::SameBlock(back, src));
          }
          HDIB info = c.decode(bytes, true);
          ASSERT_TRUE(info);
          EXPECT_EQ(LockDib(info)->biWidth, w);
          EXPECT_EQ(LockDib(info)->biHeight, h);
          EXPECT_EQ(LockDib(info)->biBitCount, bh->biBitCount);
        }
}

TEST(CodecRoundTrip, JpegTrueColourWithinSmallErrorAndQualityMatters) {
  HDIB smooth = SmoothDib(67, 45, false);
  std::vector<std::uint8_t> q90 = Encoded(JpgEncode90, smooth);
  HDIB back = JpgDecode(q90, false);
  ASSERT_TRUE(back);
  EXPECT_EQ(LockDib(back)->biBitCount, 24);
  EXPECT_EQ(LockDib(back)->biWidth, 67);
  EXPECT_LE(test::MaxChannelDifference(Colours(back), Colours(smooth)), 12);
  VectorSink low, high;
  ASSERT_TRUE(JpgEncode(LockDib(smooth), 5, low));
  ASSERT_TRUE(JpgEncode(LockDib(smooth), 100, high));
  EXPECT_LT(low.bytes.size(), q90.size());
  EXPECT_LT(q90.size(), high.bytes.size());
  // Paletted pictures go out as true colour.
  HDIB pal = RandomDib(9, 9, 4, 3);
  HDIB palBack = JpgDecode(Encoded(JpgEncode90, pal), false);
  ASSERT_TRUE(palBack);
  EXPECT_EQ(LockDib(palBack)->biBitCount, 24);
  // Cut mid-scan the pixels fail (every cut is tried below), but the header
  // alone still informs.
  q90.resize(q90.size() * 2 / 3);
  HDIB info = JpgDecode(q90, true);
  ASSERT_TRUE(info);
  EXPECT_EQ(LockDib(info)->biWidth, 67);
}

// ---- Hostile input -------------------------------------------------------------------

const Decoder kDecoders[] = {BmpDecode, PcxDecode, TgaDecode, PngDecode, JpgDecode};

TEST(CodecHostile, EmptyAndEveryTruncationFailOrStayInBounds) {
  HDIB src = RandomDib(11, 7, 24, 77);
  HDIB smooth = SmoothDib(24, 24, false);
  std::vector<std::vector<std::uint8_t>> files = {Encoded(BmpEncode, src), Encoded(PcxEncode, src),
                                                  Encoded(TgaEncode, src), Encoded(PngEncode, src),
                                                  Encoded(JpgEncode90, smooth)};
  for (std::size_t k = 0; k < 5; ++k) {
    EXPECT_FALSE(kDecoders[k](ByteSpan{}, false));
    EXPECT_FALSE(kDecoders[k](ByteSpan{}, true));
    const auto& f = files[k];
    ASSERT_FALSE(f.empty());
    // Each prefix is its own allocation, so that any read past its end is caught
    // by the sanitizers.
    for (std::size_t n = 0; n < f.size(); ++n) {
      std::vector<std::uint8_t> cut(f.begin(), f.begin() + static_cast<long>(n));
      HDIB d = kDecoders[k](cut, false);
      // Every format needs every pixel byte; BMP alone forgives a last row
      // without its padding (11 pixels of 3 bytes leave 3 bytes of it).
      if (k == 0 && n >= f.size() - 3) {
        EXPECT_TRUE(d);
        continue;
      }
      EXPECT_FALSE(d) << "format " << k << " cut at " << n << " of " << f.size();
    }
  }
}

TEST(CodecHostile, WrongMagicFails) {
  HDIB src = RandomDib(8, 8, 8, 1);
  std::vector<std::uint8_t> bmp = Encoded(BmpEncode, src);
  std::vector<std::uint8_t> png = Encoded(PngEncode, src);
  std::vector<std::uint8_t> pcx = Encoded(PcxEncode, src);
  EXPECT_FALSE(PngDecode(bmp, false));
  EXPECT_FALSE(JpgDecode(bmp, false));
  EXPECT_FALSE(BmpDecode(png, false));
  EXPECT_FALSE(PcxDecode(png, false));
  bmp[1] = 'X';
  EXPECT_FALSE(BmpDecode(bmp, false));
  pcx[0] = 0x0B;
  EXPECT_FALSE(PcxDecode(pcx, false));
}

TEST(CodecHostile, DimensionBombsFailBeforeAllocating) {
  // Headers that claim a 60000 x 60000 image with a handful of bytes behind them.
  HDIB small = RandomDib(4, 4, 8, 2);
  std::vector<std::uint8_t> bmp = Encoded(BmpEncode, small);
  PutLe32(&bmp[18], 60000);
  PutLe32(&bmp[22], 60000);
  std::vector<std::uint8_t> tga = Encoded(TgaEncode, small);
  PutLe16(&tga[12], 60000);
  PutLe16(&tga[14], 60000);
  std::vector<std::uint8_t> pcx = Encoded(PcxEncode, small);
  PutLe16(&pcx[8], 59999);
  PutLe16(&pcx[10], 59999);
  PutLe16(&pcx[66], 60000);
  // An allocation limit far under the claimed size shows that none is tried:
  // the refusal comes from the size check, before any block is asked for.
  SetImagePixelLimit(1 << 20);
  for (auto* f : {&bmp, &tga, &pcx}) {
    EXPECT_FALSE(BmpDecode(*f, false));
    EXPECT_FALSE(TgaDecode(*f, false));
    EXPECT_FALSE(PcxDecode(*f, false));
  }
  // Within the limit but with too little data for an uncompressed image.
  SetImagePixelLimit(0);
  PutLe32(&bmp[18], 3000);
  PutLe32(&bmp[22], 3000);
  EXPECT_FALSE(BmpDecode(bmp, false));
  PutLe16(&tga[12], 3000);
  PutLe16(&tga[14], 3000);
  EXPECT_FALSE(TgaDecode(tga, false));
  // A PNG header that claims 2^20 x 2^20 pixels.
  std::vector<std::uint8_t> png = Encoded(PngEncode, small);
  SetImagePixelLimit(1 << 20);
  HDIB big = CreateDib(2048, 1024, nullptr, 8);
  EXPECT_FALSE(PngDecode(Encoded(PngEncode, big), false));
  EXPECT_TRUE(PngDecode(png, false));
  SetImagePixelLimit(0);
  EXPECT_TRUE(PngDecode(Encoded(PngEncode, big), false));
}

TEST(CodecHostile, SelfContradictingHeadersAreRefused) {
  HDIB pal8 = RandomDib(6, 5, 8, 3), pal4 = RandomDib(6, 5, 4, 4), rgb = RandomDib(6, 5, 24, 5);
  struct Case {
    const char* what;
    Decoder decode;
    std::vector<std::uint8_t> file;
    std::function<void(std::vector<std::uint8_t>&)> spoil;
  };
  const Case cases[] = {
      {"bmp 8-bit with 257 colours", BmpDecode, Encoded(BmpEncode, pal8), [](auto& f) { PutLe32(&f[46], 257); }},
      {"bmp 4-bit with 17 colours", BmpDecode, Encoded(BmpEncode, pal4), [](auto& f) { PutLe32(&f[46], 17); }},
      {"bmp 24-bit with a billion colours", BmpDecode, Encoded(BmpEncode, rgb),
       [](auto& f) { PutLe32(&f[46], 1u << 30); }},
      {"bmp pixels inside the colour table", BmpDecode, Encoded(BmpEncode, pal8),
       [](auto& f) { PutLe32(&f[10], 54 + 40); }},
      {"bmp with two planes", BmpDecode, Encoded(BmpEncode, rgb), [](auto& f) { PutLe16(&f[26], 2); }},
      {"tga map beyond index 255", TgaDecode, Encoded(TgaEncode, pal8), [](auto& f) { PutLe16(&f[3], 100); }},
      {"tga map of 7-bit entries", TgaDecode, Encoded(TgaEncode, pal8), [](auto& f) { f[7] = 7; }},
      {"tga 24-bit with alpha bits", TgaDecode, Encoded(TgaEncode, rgb), [](auto& f) { f[17] |= 8; }},
      {"pcx version 1", PcxDecode, Encoded(PcxEncode, pal8), [](auto& f) { f[1] = 1; }},
  };
  for (const Case& c : cases) {
    std::vector<std::uint8_t> f = c.file;
    ASSERT_TRUE(c.decode(f, false)) << c.what;
    c.spoil(f);
    EXPECT_FALSE(c.decode(f, false)) << c.what;
  }
}

TEST(CodecHostile, BmpRunLengthOverrunsStayInsideTheImage) {
  // A 5x3 RLE8 picture whose runs and absolute groups overrun their rows, and a
  // delta that jumps past the end.
  std::vector<std::uint8_t> f(14 + 40 + 1024, 0);
  f[0] = 'B', f[1] = 'M';
  PutLe32(&f[14], 40);
  PutLe32(&f[18], 5);
  PutLe32(&f[22], 3);
  PutLe16(&f[26], 1);
  PutLe16(&f[28], 8);
  PutLe32(&f[30], 1);
  for (int i = 0; i < 256; ++i) f[54 + 4 * i] = f[55 + 4 * i] = f[56 + 4 * i] = static_cast<std::uint8_t>(i);
  PutLe32(&f[10], static_cast<std::uint32_t>(f.size()));
  const std::uint8_t rle[] = {200, 7, 0, 0,                  // run of 200 in a row of 5
                              0,   6, 1, 2, 3,   4,   5, 6,  // absolute group of 6
                              0,   0, 0, 2, 250, 250,        // delta far outside
                              9,   9, 0, 1};
  f.insert(f.end(), std::begin(rle), std::end(rle));
  HDIB d = BmpDecode(f, false);
  ASSERT_TRUE(d);
  const BITMAPINFOHEADER* h = LockDib(d);
  for (int x = 0; x < 5; ++x) EXPECT_EQ(GetDibPixel(h, x, 2), 7u);  // bottom row
  for (int x = 0; x < 5; ++x) EXPECT_EQ(GetDibPixel(h, x, 1), static_cast<std::uint32_t>(x + 1));
  // An absolute group that claims more bytes than remain.
  std::vector<std::uint8_t> g(f.begin(), f.end() - sizeof rle);
  for (std::uint8_t b : {0, 40, 1, 2}) g.push_back(b);
  EXPECT_FALSE(BmpDecode(g, false));
}

TEST(CodecHostile, TgaAndPcxPacketsThatOverrunTheImage) {
  // A 2x2 grey TGA whose one run packet claims 128 pixels.
  std::vector<std::uint8_t> tga(18, 0);
  tga[2] = 11;
  PutLe16(&tga[12], 2);
  PutLe16(&tga[14], 2);
  tga[16] = 8;
  tga.push_back(0xFF);
  tga.push_back(42);
  HDIB d = TgaDecode(tga, false);
  ASSERT_TRUE(d);
  for (int y = 0; y < 2; ++y)
    for (int x = 0; x < 2; ++x) EXPECT_EQ(GetDibPixel(LockDib(d), x, y), 42u);
  // A raw packet promising more bytes than the file has.
  tga.resize(18);
  tga.push_back(0x7F);
  tga.push_back(1);
  EXPECT_FALSE(TgaDecode(tga, false));

  // A 4x2 8-bit PCX whose one run covers both lines and then some.
  HDIB small = CreateDib(4, 2, nullptr, 8);
  std::vector<std::uint8_t> pcx = Encoded(PcxEncode, small);
  pcx.resize(128);
  pcx.push_back(0xC0 | 63);
  pcx.push_back(9);
  HDIB p = PcxDecode(pcx, false);
  ASSERT_TRUE(p);
  EXPECT_EQ(GetDibPixel(LockDib(p), 3, 1), 9u);
}

TEST(CodecHostile, PngWithBadChecksumFails) {
  HDIB src = RandomDib(16, 16, 24, 9);
  std::vector<std::uint8_t> png = Encoded(PngEncode, src);
  ASSERT_TRUE(PngDecode(png, false));
  // Find the IDAT chunk and change one byte of its data: the CRC no longer holds.
  std::size_t at = 8;
  while (at + 8 < png.size() && std::memcmp(&png[at + 4], "IDAT", 4) != 0)
    at += 12 + (static_cast<std::size_t>(png[at]) << 24 | png[at + 1] << 16 | png[at + 2] << 8 | png[at + 3]);
  ASSERT_LT(at + 12, png.size());
  png[at + 10] ^= 0x01;
  EXPECT_FALSE(PngDecode(png, false));
}

}  // namespace
}  // namespace ochrel
