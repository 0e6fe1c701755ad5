#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "image/dib.h"
#include "image/gradient_basic.h"

namespace ochrel {
namespace {

constexpr COLORREF kStart = RGB(10, 200, 30);
constexpr COLORREF kEnd = RGB(250, 5, 128);

// The pixel as a COLORREF, whatever the depth (8 bits through the palette).
COLORREF At(const BITMAPINFOHEADER* h, int x, int y) {
  std::uint32_t v = GetDibPixel(h, x, y);
  if (h->biBitCount == 24) return v;
  const BYTE* e = DibPaletteEntries(h) + 4 * v;
  return RGB(e[2], e[1], e[0]);
}

int Channel(COLORREF c, int k) { return static_cast<int>((c >> (8 * k)) & 255); }

TEST(BasicGradient, LinearRampRunsFromStartToEndAlongTheAngle) {
  HDIB dib = RenderBasicGradient(101, 37, 0, kStart, kEnd, 0, 24, 0, 0);
  const BITMAPINFOHEADER* h = LockDib(dib);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biWidth, 101);
  EXPECT_EQ(h->biHeight, 37);
  EXPECT_EQ(h->biBitCount, 24);
  for (int y = 0; y < 37; ++y) {
    EXPECT_EQ(At(h, 0, y), kStart) << y;
    EXPECT_EQ(At(h, 100, y), kEnd) << y;
    // The middle column is halfway, to the rounding of one level.
    for (int k = 0; k < 3; ++k)
      EXPECT_NEAR(Channel(At(h, 50, y), k), (Channel(kStart, k) + Channel(kEnd, k)) / 2.0, 1.0);
  }
}

TEST(BasicGradient, AngleTurnsTheRamp) {
  // 90 puts the start at the top, 180 at the right, 270 (and -90) at the bottom.
  HDIB down = RenderBasicGradient(20, 30, 0, kStart, kEnd, 90, 24, 0, 0);
  HDIB left = RenderBasicGradient(20, 30, 0, kStart, kEnd, 180, 24, 0, 0);
  HDIB up = RenderBasicGradient(20, 30, 0, kStart, kEnd, -90, 24, 0, 0);
  HDIB up2 = RenderBasicGradient(20, 30, 0, kStart, kEnd, 270, 24, 0, 0);
  const BITMAPINFOHEADER *d = LockDib(down), *l = LockDib(left), *u = LockDib(up), *u2 = LockDib(up2);
  ASSERT_TRUE(d && l && u && u2);
  for (int x = 0; x < 20; ++x) {
    EXPECT_EQ(At(d, x, 0), kStart);
    EXPECT_EQ(At(d, x, 29), kEnd);
    EXPECT_EQ(At(u, x, 0), kEnd);
    EXPECT_EQ(At(u, x, 29), kStart);
  }
  for (int y = 0; y < 30; ++y) {
    EXPECT_EQ(At(l, 19, y), kStart);
    EXPECT_EQ(At(l, 0, y), kEnd);
  }
  ASSERT_EQ(up->size(), up2->size());
  EXPECT_EQ(0, std::memcmp(up->data(), up2->data(), up->size()));

  // 45 degrees on a square: the start in the top-left corner, the end in the
  // bottom-right, and the anti-diagonal all one level.
  HDIB diag = RenderBasicGradient(41, 41, 0, kStart, kEnd, 45, 24, 0, 0);
  const BITMAPINFOHEADER* g = LockDib(diag);
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(At(g, 0, 0), kStart);
  EXPECT_EQ(At(g, 40, 40), kEnd);
  for (int i = 0; i < 41; ++i) EXPECT_EQ(At(g, i, 40 - i), At(g, 20, 20)) << i;
}

TEST(BasicGradient, EightBitsUseTheGreyPaletteAndLowBytes) {
  HDIB dib = RenderBasicGradient(64, 8, 0, RGB(200, 1, 2), RGB(40, 255, 255), 0, 8, 0, 0);
  const BITMAPINFOHEADER* h = LockDib(dib);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biBitCount, 8);
  const BYTE* pal = DibPaletteEntries(h);
  for (int i = 0; i < 256; ++i) {
    ASSERT_EQ(pal[4 * i], i);
    ASSERT_EQ(pal[4 * i + 1], i);
    ASSERT_EQ(pal[4 * i + 2], i);
  }
  EXPECT_EQ(GetDibPixel(h, 0, 3), 200u);
  EXPECT_EQ(GetDibPixel(h, 63, 3), 40u);
  for (int x = 1; x < 64; ++x) EXPECT_LE(GetDibPixel(h, x, 5), GetDibPixel(h, x - 1, 5));
}

TEST(BasicGradient, CircularRampAroundTheCentre) {
  // Odd size, centred: start in the middle, end in all four corners, and the
  // picture symmetric under both mirrors and the transpose.
  HDIB dib = RenderBasicGradient(51, 51, 1, kStart, kEnd, 123, 24, 0, 0);
  const BITMAPINFOHEADER* h = LockDib(dib);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(At(h, 25, 25), kStart);
  EXPECT_EQ(At(h, 0, 0), kEnd);
  EXPECT_EQ(At(h, 50, 0), kEnd);
  EXPECT_EQ(At(h, 0, 50), kEnd);
  EXPECT_EQ(At(h, 50, 50), kEnd);
  for (int y = 0; y < 51; ++y)
    for (int x = 0; x < 51; ++x) {
      ASSERT_EQ(At(h, x, y), At(h, 50 - x, y));
      ASSERT_EQ(At(h, x, y), At(h, x, 50 - y));
      ASSERT_EQ(At(h, x, y), At(h, y, x));
    }
  // Equal distance, equal colour: (25+15, 25) and (25+9, 25+12) are both 15 away.
  EXPECT_EQ(At(h, 40, 25), At(h, 34, 37));
  // The edge midpoint is nearer than the corner, so it is not yet the end.
  EXPECT_NE(At(h, 50, 25), kEnd);

  // The centre follows CenterX/CenterY: -50 is the left edge, +50 the top.
  HDIB moved = RenderBasicGradient(40, 30, 1, kStart, kEnd, 0, 24, -50, 50);
  const BITMAPINFOHEADER* m = LockDib(moved);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(At(m, 0, 0), kStart);
  EXPECT_EQ(At(m, 39, 29), kEnd);
  HDIB right = RenderBasicGradient(40, 30, 1, kStart, kEnd, 0, 24, 25, -25);
  const BITMAPINFOHEADER* r = LockDib(right);
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(At(r, 30, 22), kStart);  // trunc(40 * 0.75), trunc(30 * 0.75)
  EXPECT_EQ(At(r, 0, 0), kEnd);
}

TEST(BasicGradient, RectangularRampAroundTheCentre) {
  HDIB dib = RenderBasicGradient(41, 21, 2, kStart, kEnd, 0, 24, 0, 0);
  const BITMAPINFOHEADER* h = LockDib(dib);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(At(h, 20, 10), kStart);
  // The whole border is the end colour: rings have the image's own shape.
  for (int x = 0; x < 41; ++x) {
    EXPECT_EQ(At(h, x, 0), kEnd);
    EXPECT_EQ(At(h, x, 20), kEnd);
  }
  for (int y = 0; y < 21; ++y) {
    EXPECT_EQ(At(h, 0, y), kEnd);
    EXPECT_EQ(At(h, 40, y), kEnd);
  }
  // Half way out in x and in y lie on the same ring.
  EXPECT_EQ(At(h, 30, 10), At(h, 20, 15));
  EXPECT_EQ(At(h, 30, 10), At(h, 25, 15));
  // And it differs from the circular kind.
  HDIB round = RenderBasicGradient(41, 21, 1, kStart, kEnd, 0, 24, 0, 0);
  const BITMAPINFOHEADER* c = LockDib(round);
  ASSERT_NE(c, nullptr);
  EXPECT_NE(At(c, 0, 10), kEnd);
}

TEST(BasicGradient, DegenerateAndHostileRequestsFailCleanly) {
  EXPECT_EQ(RenderBasicGradient(0, 10, 0, kStart, kEnd, 0, 24, 0, 0), nullptr);
  EXPECT_EQ(RenderBasicGradient(10, -1, 1, kStart, kEnd, 0, 24, 0, 0), nullptr);
  EXPECT_EQ(RenderBasicGradient(10, 10, 3, kStart, kEnd, 0, 24, 0, 0), nullptr);
  EXPECT_EQ(RenderBasicGradient(10, 10, -1, kStart, kEnd, 0, 24, 0, 0), nullptr);
  EXPECT_EQ(RenderBasicGradient(10, 10, 0, kStart, kEnd, 0, 16, 0, 0), nullptr);
  EXPECT_EQ(RenderBasicGradient(1 << 30, 1 << 30, 0, kStart, kEnd, 0, 24, 0, 0), nullptr);

  // One pixel is the start colour for every kind; out-of-range centres and
  // angles still give a full image.
  for (int type = 0; type < 3; ++type) {
    HDIB one = RenderBasicGradient(1, 1, type, kStart, kEnd, 77, 24, 0, 0);
    const BITMAPINFOHEADER* h = LockDib(one);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(At(h, 0, 0), kStart) << type;
    HDIB wild = RenderBasicGradient(9, 7, type, kStart, kEnd, 100000, 8, 5000, -5000);
    EXPECT_NE(LockDib(wild), nullptr) << type;
  }
}

}  // namespace
}  // namespace ochrel
