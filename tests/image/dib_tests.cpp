#include <gtest/gtest.h>

#include <cstring>

#include "image/crand.h"
#include "image/dib.h"
#include "image/parallel.h"
#include "test_images.h"

namespace ochrel {
namespace {

TEST(DibLayout, HeaderStrideAndPalette) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 8);
  HDIB dib = CreateDib(3, 2, pal, 8);
  BITMAPINFOHEADER* h = LockDib(dib);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biSize, 40u);
  EXPECT_EQ(h->biWidth, 3);
  EXPECT_EQ(h->biHeight, 2);
  EXPECT_EQ(h->biPlanes, 1);
  EXPECT_EQ(h->biBitCount, 8);
  EXPECT_EQ(h->biCompression, 0u);
  EXPECT_EQ(h->biSizeImage, 8u);
  EXPECT_EQ(h->biClrUsed, 256u);
  EXPECT_EQ(h->biClrImportant, 256u);
  EXPECT_EQ(dib->size(), 40u + 1024u + 8u);
  // Entry 255 of the 3-3-2 palette is white, stored blue, green, red, 0.
  const BYTE* e = DibPaletteEntries(h);
  EXPECT_EQ(e[4 * 255], 255);
  EXPECT_EQ(e[4 * 255 + 3], 0);
  // Rows are bottom-up: image row 0 is the last stored row.
  PutDibPixel(h, 1, 0, 77);
  EXPECT_EQ(DibBits(h)[4 + 1], 77);

  EXPECT_EQ(DibStride(1, 24), 4u);
  EXPECT_EQ(DibStride(3, 1), 4u);
  EXPECT_EQ(DibStride(33, 1), 8u);
  HDIB tc = CreateDib(1, 1, nullptr, 24);
  EXPECT_EQ(LockDib(tc)->biClrUsed, 0u);
  EXPECT_EQ(tc->size(), 44u);
}

TEST(DibLayout, AdjustDIBits) {
  const int asked[] = {0, 1, 2, 4, 5, 16, 24, 25}, given[] = {32, 1, 4, 4, 8, 24, 24, 32};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(AdjustDIBits(asked[i]), given[i]) << asked[i];
  EXPECT_EQ(LockDib(CreateDib(2, 2, nullptr, 0))->biBitCount, 32);
}

TEST(DibPixels, EveryDepthRoundTripsAndOutsideIsMinusOne) {
  for (int bits : {1, 4, 8, 24, 32}) {
    SCOPED_TRACE(bits);
    BYTE pal[768];
    GetDefaultPalette(pal, nullptr, 8);
    HDIB dib = CreateDib(9, 5, pal, bits);
    BITMAPINFOHEADER* h = LockDib(dib);
    std::uint32_t mask = bits == 1 ? 1 : bits == 4 ? 15 : bits == 8 ? 255 : bits == 24 ? 0xFFFFFF : 0xFFFFFFFE;
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 9; ++x) PutDibPixel(h, x, y, static_cast<std::uint32_t>(x * 37 + y * 101) & mask);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 9; ++x) EXPECT_EQ(GetDibPixel(h, x, y), static_cast<std::uint32_t>(x * 37 + y * 101) & mask);
    HDIB before = DuplicateObject(dib);
    EXPECT_EQ(GetDibPixel(h, 9, 0), NOPIXEL);
    EXPECT_EQ(GetDibPixel(h, 0, 5), NOPIXEL);
    EXPECT_EQ(GetDibPixel(h, -1, 0), NOPIXEL);
    PutDibPixel(h, 9, 0, 1);
    PutDibPixel(h, 0, 5, 1);
    PutDibPixel(h, -1, -1, 1);
    PutDibPixel(h, 2, 2, NOPIXEL);
    EXPECT_TRUE(test::SameBlock(before, dib));
  }
}

TEST(DibPixels, BitOrderNibbleOrderAndColourref) {
  HDIB mono = CreateDib(16, 1, nullptr, 1);
  BITMAPINFOHEADER* m = LockDib(mono);
  PutDibPixel(m, 0, 0, 5);  // any non-zero sets the bit
  PutDibPixel(m, 9, 0, 1);
  EXPECT_EQ(DibBits(m)[0], 0x80);
  EXPECT_EQ(DibBits(m)[1], 0x40);
  HDIB four = CreateDib(2, 1, nullptr, 4);
  BITMAPINFOHEADER* f = LockDib(four);
  PutDibPixel(f, 0, 0, 0x1A);  // low nibble stored
  PutDibPixel(f, 1, 0, 0x3);
  EXPECT_EQ(DibBits(f)[0], 0xA3);
  HDIB tc = CreateDib(1, 1, nullptr, 24);
  BITMAPINFOHEADER* t = LockDib(tc);
  PutDibPixel(t, 0, 0, 0x00FFFFFF);
  EXPECT_EQ(GetDibPixel(t, 0, 0), 0x00FFFFFFu);
  PutDibPixel(t, 0, 0, RGB(1, 2, 3));
  EXPECT_EQ(DibBits(t)[0], 3);  // memory holds blue, green, red
  EXPECT_EQ(DibBits(t)[2], 1);
  HDIB q = CreateDib(1, 1, nullptr, 32);
  PutDibPixel(LockDib(q), 0, 0, 0x7F010203);
  EXPECT_EQ(DibBits(LockDib(q))[3], 0x7F);
  EXPECT_EQ(GetDibPixel(LockDib(q), 0, 0), 0x7F010203u);
}

TEST(DibPalette, GetAndPutPalette) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 3);
  HDIB d = CreateDib(1, 1, pal, 4);
  BYTE back[768];
  std::memset(back, 0xEE, sizeof back);
  EXPECT_EQ(GetDibPalette(LockDib(d), back), 16);
  EXPECT_EQ(std::memcmp(back, pal, 48), 0);
  for (int i = 48; i < 768; ++i) ASSERT_EQ(back[i], 0);
  back[0] = 9;
  EXPECT_EQ(PutDibPalette(LockDib(d), back), 16);
  EXPECT_EQ(DibPaletteEntries(LockDib(d))[2], 9);
  HDIB tc = CreateDib(1, 1, nullptr, 24);
  EXPECT_EQ(GetDibPalette(LockDib(tc), back), 0);
  EXPECT_EQ(PutDibPalette(LockDib(tc), back), 0);
}

TEST(DibPalette, DefaultPalettesCountsDepthsAndEnds) {
  // Every default palette runs from black to white; anything past its count is zero.
  struct Row {
    int number, count, bits;
  };
  const Row rows[] = {{0, 2, 1},   {2, 8, 3},   {3, 16, 4},   {4, 32, 5},  {5, 64, 6},  {6, 128, 7},
                      {7, 216, 8}, {9, 256, 8}, {10, 256, 8}, {1, 256, 8}, {8, 256, 8}, {99, 256, 8}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.number);
    int bits = -1;
    EXPECT_EQ(GetDefaultPalette(nullptr, &bits, r.number), r.count);
    EXPECT_EQ(bits, r.bits);
    BYTE pal[768];
    std::memset(pal, 0xCC, sizeof pal);
    EXPECT_EQ(GetDefaultPalette(pal, nullptr, r.number), r.count);
    const BYTE black[3] = {0, 0, 0}, white[3] = {255, 255, 255};
    EXPECT_EQ(std::memcmp(pal, black, 3), 0);
    EXPECT_EQ(std::memcmp(pal + 3 * (r.count - 1), white, 3), 0);
    for (int i = 3 * r.count; i < 768; ++i) ASSERT_EQ(pal[i], 0);
  }
  // Palettes 0, 2, 3, 8 and 10 are pinned by the byte-identity digests; a few
  // entries of the others: {palette, entry, red, green, blue}.
  const int entries[][5] = {
      {4, 15, 85, 255, 255}, {6, 87, -1, 180, -1},    {7, 1, -1, -1, 51},
      {7, 36, 51, -1, -1},   {9, 111, 128, 109, 255},  // last of the first 16 of the red-128 block
      {9, 112, 1, -1, 1},    {9, 143, 254, -1, -1},    // the grey ramp
      {9, 144, 128, 146, 0},                           // the red-128 block resumes at green 146
      {9, 32, 43, -1, -1},   {10, 77, -1, 77, -1}};
  for (const auto& e : entries) {
    BYTE pal[768];
    GetDefaultPalette(pal, nullptr, e[0]);
    for (int c = 0; c < 3; ++c)
      if (e[2 + c] >= 0) EXPECT_EQ(pal[3 * e[1] + c], e[2 + c]) << e[0] << " " << e[1] << " " << c;
  }
}

TEST(DibPalette, FindPaletteColour) {
  BYTE pal[768] = {};
  // Entries 1 and 2 are equally far from (10, 10, 10); entry 3 is exact.
  pal[3] = 20;
  pal[4] = 10;
  pal[5] = 10;
  pal[6] = 0;
  pal[7] = 10;
  pal[8] = 10;
  pal[9] = 200;
  pal[10] = 200;
  pal[11] = 200;
  EXPECT_EQ(FindPaletteColour(10, 10, 10, pal + 3, 2), 0);
  EXPECT_EQ(FindPaletteColour(200, 200, 200, pal, 4), 3);
  EXPECT_EQ(FindPaletteColour(1, 2, 3, pal, 0), 0);
  EXPECT_EQ(FindPaletteColour(1, 2, 3, pal, -4), 0);
  // The weights are 3, 4, 2: a green difference costs more than blue.
  BYTE two[6] = {0, 10, 0, 0, 0, 12};
  EXPECT_EQ(FindPaletteColour(0, 0, 0, two, 2), 1);
  // A later entry that is strictly nearer replaces the first.
  BYTE far[6] = {255, 255, 255, 255, 255, 254};
  EXPECT_EQ(FindPaletteColour(0, 0, 0, far, 2), 1);
}

TEST(DibCopy, CropImageNormalizesAndZeroesOutside) {
  HDIB src = test::RandomDib(10, 8, 24, 1);
  HDIB a = CropImage(src, RECT{2, 1, 7, 6});
  HDIB b = CropImage(src, RECT{7, 6, 2, 1});
  HDIB c = CropImage(src, RECT{2, 6, 7, 1});
  ASSERT_TRUE(a);
  EXPECT_TRUE(test::SameBlock(a, b));
  EXPECT_TRUE(test::SameBlock(a, c));
  EXPECT_EQ(GetDibPixel(LockDib(a), 0, 0), GetDibPixel(LockDib(src), 2, 1));
  EXPECT_EQ(GetDibPixel(LockDib(a), 4, 4), GetDibPixel(LockDib(src), 6, 5));
  HDIB d = CropImage(src, RECT{-2, -2, 3, 3});
  EXPECT_EQ(GetDibPixel(LockDib(d), 0, 0), 0u);
  EXPECT_EQ(GetDibPixel(LockDib(d), 2, 2), GetDibPixel(LockDib(src), 0, 0));
  for (int bits : {1, 4, 8}) {
    HDIB s = test::RandomDib(13, 4, bits, 7);
    HDIB cr = CropImage(s, RECT{3, 1, 12, 4});
    BYTE p1[768], p2[768];
    GetDibPalette(LockDib(s), p1);
    GetDibPalette(LockDib(cr), p2);
    EXPECT_EQ(std::memcmp(p1, p2, 768), 0);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 9; ++x) ASSERT_EQ(GetDibPixel(LockDib(cr), x, y), GetDibPixel(LockDib(s), x + 3, y + 1));
  }
  EXPECT_FALSE(CropImage(src, RECT{3, 3, 3, 9}));
  EXPECT_FALSE(CropImage(HDIB{}, RECT{0, 0, 1, 1}));
}

TEST(DibCopy, MattImageWithNegativeOffsetAndSourceUntouched) {
  for (int bits : {1, 4, 8, 24}) {
    SCOPED_TRACE(bits);
    HDIB src = test::RandomDib(6, 4, bits, 3);
    HDIB copy = DuplicateObject(src);
    std::uint32_t matte = bits == 24 ? RGB(9, 8, 7) : 1;
    HDIB out = MattImage(src, 8, 5, -2, 1, matte);
    ASSERT_TRUE(out);
    EXPECT_TRUE(test::SameBlock(src, copy));
    const BITMAPINFOHEADER* o = LockDib(out);
    for (int y = 0; y < 5; ++y)
      for (int x = 0; x < 8; ++x) {
        std::uint32_t want = (y >= 1 && x < 4) ? GetDibPixel(LockDib(src), x + 2, y - 1) : matte;
        ASSERT_EQ(GetDibPixel(o, x, y), want) << x << "," << y;
      }
  }
}

TEST(DibCopy, InsetSolidRectangleAndMask) {
  HDIB d = CreateDib(5, 5, nullptr, 24);
  EXPECT_EQ(InsetSolidRectangle(d, RGB(1, 2, 3), RECT{1, 1, 3, 4}), 1);
  EXPECT_EQ(GetDibPixel(LockDib(d), 2, 3), RGB(1, 2, 3));
  EXPECT_EQ(GetDibPixel(LockDib(d), 3, 3), 0u);
  EXPECT_EQ(GetDibPixel(LockDib(d), 0, 0), 0u);
  EXPECT_EQ(InsetSolidRectangle(HDIB{}, 1, RECT{}), 0);
  HDIB mask = CreateDib(2, 2, nullptr, 8);
  PutDibPixel(LockDib(mask), 1, 0, 1);
  HDIB g = CreateDib(5, 5, nullptr, 8);
  EXPECT_EQ(InsetSolidMask(g, 200, RECT{3, 3, 5, 5}, mask), 1);
  EXPECT_EQ(GetDibPixel(LockDib(g), 4, 3), 200u);
  EXPECT_EQ(GetDibPixel(LockDib(g), 3, 3), 0u);
  EXPECT_EQ(InsetSolidMask(g, 200, RECT{3, 3, 5, 5}, HDIB{}), 0);
}

TEST(DibCopy, DuplicateAndDimensions) {
  HDIB src = test::RandomDib(7, 3, 4, 11);
  HDIB dup = DuplicateObject(src);
  EXPECT_TRUE(test::SameBlock(src, dup));
  EXPECT_NE(src->data(), dup->data());
  int w = 0, h = 0, b = 0;
  BYTE pal[768];
  EXPECT_EQ(GetBitmapDimensions(src, &w, &h, &b, pal), 1);
  EXPECT_EQ(w, 7);
  EXPECT_EQ(h, 3);
  EXPECT_EQ(b, 4);
  EXPECT_EQ(GetBitmapDimensions(src, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(GetBitmapDimensions(HDIB{}, &w, nullptr, nullptr, nullptr), 0);
  EXPECT_FALSE(DuplicateObject(HDIB{}));
}

TEST(DibImageType, FiveKinds) {
  BYTE grey[768];
  GetDefaultPalette(grey, nullptr, 10);
  HDIB g = CreateDib(2, 2, grey, 8);
  EXPECT_EQ(GetImageType(g), IMAGE_GREY);
  EXPECT_EQ(GetImageType(LockDib(g)), IMAGE_GREY);
  grey[3 * 200 + 1] ^= 1;  // one byte off the ramp
  HDIB p = CreateDib(2, 2, grey, 8);
  EXPECT_EQ(GetImageType(p), IMAGE_PALETTED);
  GetDefaultPalette(grey, nullptr, 10);
  EXPECT_EQ(GetImageType(CreateDib(2, 2, grey, 4)), IMAGE_PALETTED);
  EXPECT_EQ(GetImageType(CreateDib(2, 2, grey, 1)), IMAGE_MONO);
  EXPECT_EQ(GetImageType(CreateDib(2, 2, nullptr, 24)), IMAGE_TRUECOLOUR);
  EXPECT_EQ(GetImageType(CreateDib(2, 2, nullptr, 32)), IMAGE_TRUECOLOUR);
  EXPECT_EQ(GetImageType(HDIB{}, nullptr), IMAGE_NONE);
}

TEST(DibMemory, AbsurdSizesReturnNull) {
  EXPECT_FALSE(CreateDib(0x7FFFFFFF, 0x7FFFFFFF, nullptr, 24));
  EXPECT_FALSE(CreateDib(100000, 100000, nullptr, 32));  // 40 GB
  EXPECT_FALSE(CreateDib(0, 5, nullptr, 24));
  EXPECT_FALSE(CreateDib(5, -1, nullptr, 24));
  SetAllocationLimit(1000);
  EXPECT_FALSE(CreateDib(100, 100, nullptr, 24));
  EXPECT_TRUE(CreateDib(10, 10, nullptr, 24));
  HDIB big = nullptr;
  SetAllocationLimit(0);
  big = CreateDib(100, 100, nullptr, 24);
  EXPECT_TRUE(big);
}

TEST(DibScreen, ConversionMatchesPixelsForEveryDepth) {
  for (int bits : {1, 4, 8, 24, 32}) {
    SCOPED_TRACE(bits);
    HDIB d = test::RandomDib(11, 6, bits, 5);
    const BITMAPINFOHEADER* h = LockDib(d);
    BYTE pal[768];
    GetDibPalette(h, pal);
    std::uint32_t out[4 * 5];
    DibToRgb32(h, 3, 1, 5, 4, out, 5 * 4);
    for (int y = 0; y < 4; ++y)
      for (int x = 0; x < 5; ++x) {
        std::uint32_t v = GetDibPixel(h, x + 3, y + 1);
        int r, g, b;
        if (bits <= 8) {
          r = pal[3 * v];
          g = pal[3 * v + 1];
          b = pal[3 * v + 2];
        } else {
          r = GetRValue(v);
          g = GetGValue(v);
          b = GetBValue(v);
        }
        ASSERT_EQ(out[y * 5 + x], 0xFF000000u | (r << 16) | (g << 8) | b);
      }
  }
}

TEST(DibMisc, PaletteRealisationAndDisplayBits) {
  PALSTATE st;
  EXPECT_EQ(RealizeWindowPalette(&st, nullptr, 1 << 24), 1);
  EXPECT_EQ(st.count, 0);
  RealizeWindowPalette(&st, nullptr, 20);
  EXPECT_EQ(st.count, 256);
  RealizeWindowPalette(&st, nullptr, 3);
  EXPECT_EQ(st.count, 16);
  SetDisplayBits(32);
  EXPECT_EQ(GetDisplayBits(), 24);
  SetDisplayBits(8);
  EXPECT_EQ(GetDisplayBits(), 8);
  SetDisplayBits(24);
}

TEST(Rand, SequenceAfterSeedOneAndReseeding) {
  srand(1);
  EXPECT_EQ(rand(), 346);
  EXPECT_EQ(rand(), 130);
  EXPECT_EQ(rand(), 10982);
  EXPECT_EQ(rand(), 1090);
  srand(1);
  EXPECT_EQ(rand(), 346);
}

TEST(Parallel, BandsCoverEveryRowOnce) {
  std::vector<int> hits(1001, 0);
  ParallelBands(1001, 10, [&](int b, int e) {
    for (int i = b; i < e; ++i) hits[i]++;
  });
  for (int v : hits) ASSERT_EQ(v, 1);
  int calls = 0;
  ParallelBands(0, 1, [&](int, int) { ++calls; });
  EXPECT_EQ(calls, 0);
}

}  // namespace
}  // namespace ochrel
