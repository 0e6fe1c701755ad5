#include <gtest/gtest.h>

#include "fills/shadow.h"
#include "test_images.h"

using namespace ochrel;

namespace {

HDIB GreyMask(int w, int h, int level, RECT shape) {
  HDIB dib = test::Uniform(w, h, 8, 0);
  InsetSolidRectangle(dib, static_cast<std::uint32_t>(level), shape);
  return dib;
}

long long Sum(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  long long s = 0;
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) s += GetDibPixel(h, x, y) & 255;
  return s;
}

}  // namespace

TEST(Shadow, OffsetsForAllDirections) {
  const int expect[9][2] = {{-6, -6}, {0, -6}, {6, -6}, {6, 0}, {-6, 0}, {-6, 6}, {0, 6}, {6, 6}, {6, 6}};
  for (int d = 0; d < 9; ++d) {
    SHADOW s;
    s.ShadowDirection = d == 8 ? 42 : d;  // out of range counts as 7
    s.ShadowOffset = 6;
    s.ShadowSoft = 15;
    s.ShadowOpacity = 255;
    HDIB mask = GreyMask(10, 8, 255, RECT{2, 2, 8, 6});
    int x = 0, y = 0;
    COLORREF colour = 0;
    ASSERT_EQ(HandleShadowImage(&mask, &x, &y, &colour, &s, SHADOWCOLOURS{}), 1) << d;
    EXPECT_EQ(x, expect[d][0] - 50) << d;
    EXPECT_EQ(y, expect[d][1] - 50) << d;
    EXPECT_EQ(LockDib(mask)->biWidth, 110);
    EXPECT_EQ(LockDib(mask)->biHeight, 108);
  }
  SHADOW s;
  s.ShadowDirection = -1;
  s.ShadowOffset = 3;
  int dx, dy;
  ShadowOffsetFor(-1, 3, &dx, &dy);
  EXPECT_EQ(dx, 3);
  EXPECT_EQ(dy, 3);
}

TEST(Shadow, ColourByType) {
  SHADOWCOLOURS c{RGB(1, 2, 3), RGB(4, 5, 6), RGB(7, 8, 9)};
  SHADOW s;
  s.ShadowColor = RGB(10, 11, 12);
  const COLORREF want[4] = {c.PaintColour, c.FillColour, s.ShadowColor, s.ShadowColor};
  for (int type = 0; type < 4; ++type) {
    s.ShadowType = type;
    int x, y;
    COLORREF colour = 0;
    HDIB mask;  // no mask: result 0, the outputs set all the same
    EXPECT_EQ(HandleShadowImage(&mask, &x, &y, &colour, &s, c), 0);
    EXPECT_EQ(colour, want[type]);
    EXPECT_EQ(x, -50);
  }
}

TEST(Shadow, BlurKeepsTheShapeSoftensTheEdgeAndConservesInk) {
  SHADOW s;
  s.ShadowOpacity = 200;
  s.ShadowSoft = 15;
  s.ShadowOffset = 0;
  HDIB mask = GreyMask(60, 40, 200, RECT{0, 0, 60, 40});
  const long long before = Sum(mask);
  int x, y;
  COLORREF colour;
  ASSERT_EQ(HandleShadowImage(&mask, &x, &y, &colour, &s, SHADOWCOLOURS{}), 1);
  const BITMAPINFOHEADER* h = LockDib(mask);
  EXPECT_EQ(h->biBitCount, 8);
  EXPECT_EQ(GetDibPixel(h, 80, 70), 200u);  // deep inside: the level itself
  EXPECT_EQ(GetDibPixel(h, 2, 2), 0u);      // far outside: nothing
  const int edge = static_cast<int>(GetDibPixel(h, 50, 70));
  EXPECT_GT(edge, 60);
  EXPECT_LT(edge, 140);  // about half at the old edge
  EXPECT_NEAR(static_cast<double>(Sum(mask)), static_cast<double>(before), before * 0.01);

  // A 24-bit mask from the text tool goes through the true-colour blur.
  HDIB colourMask = test::RandomDib(12, 9, 24, 3);
  ASSERT_EQ(HandleShadowImage(&colourMask, &x, &y, &colour, &s, SHADOWCOLOURS{}), 1);
  EXPECT_EQ(LockDib(colourMask)->biBitCount, 24);
  EXPECT_EQ(LockDib(colourMask)->biWidth, 112);

  // Depths the blur doesn't take are refused and left alone.
  HDIB mono = test::RandomDib(8, 8, 1, 4);
  const std::string copy(reinterpret_cast<const char*>(mono->data()), mono->size());
  EXPECT_EQ(HandleShadowImage(&mono, &x, &y, &colour, &s, SHADOWCOLOURS{}), 0);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(mono->data()), mono->size()), copy);
}

TEST(Shadow, OpacityZeroLeavesTheImageAndFullReplacesIt) {
  SHADOW s;
  s.ShadowOpacity = 0;
  s.ShadowSoft = 30;
  s.ShadowOffset = 4;
  s.ShadowDirection = 3;
  s.ShadowType = 2;
  s.ShadowColor = RGB(0, 0, 0);
  HDIB mask = GreyMask(20, 20, 0, RECT{5, 5, 15, 15});
  int x, y;
  COLORREF colour;
  ASSERT_EQ(HandleShadowImage(&mask, &x, &y, &colour, &s, SHADOWCOLOURS{}), 1);
  HDIB image = test::RandomDib(40, 40, 24, 9);
  HDIB original = DuplicateObject(image);
  BlendShadow(image, mask, x + 10, y + 10, colour);
  EXPECT_TRUE(test::SameBlock(image, original));

  // Mask 255 puts the colour; mask 0 keeps the pixel; between, the coverage blend.
  HDIB full = GreyMask(3, 1, 0, RECT{});
  PutDibPixel(LockDib(full), 0, 0, 255);
  PutDibPixel(LockDib(full), 1, 0, 100);
  BlendShadow(image, full, 2, 5, RGB(10, 20, 30));
  EXPECT_EQ(GetDibPixel(LockDib(image), 2, 5), RGB(10, 20, 30));
  const COLORREF o = GetDibPixel(LockDib(original), 3, 5);
  auto mix = [](int i, int c) { return (i * 155) / 255 + (c * 100) / 255; };
  EXPECT_EQ(GetDibPixel(LockDib(image), 3, 5),
            RGB(mix(GetRValue(o), 10), mix(GetGValue(o), 20), mix(GetBValue(o), 30)));
  EXPECT_EQ(GetDibPixel(LockDib(image), 4, 5), GetDibPixel(LockDib(original), 4, 5));
  BlendShadow(image, full, -2, 39, RGB(1, 1, 1));  // partly outside: dropped, no harm
}
