#include <gtest/gtest.h>

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

// The linear ramp, its angles, the 8-bit form and every kind's exact bytes are
// pinned by the fill generators' digests (tests/fills/generator_bytes.txt).
// What they don't pin is where the far corner and edges lie.

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
