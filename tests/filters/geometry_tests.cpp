#include "filters/geometry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "image/resample.h"
#include "filter_test_util.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

using test::Defaults;
void Size(const HDIB& d, int* w, int* h) { GetBitmapDimensions(d, w, h, nullptr, nullptr); }

TEST(Rotate, RoutingCounterClockwiseOnTheFilterSide) {
  HDIB src = RandomDib(30, 20, 24, 1);
  FILTERPARAM p = Defaults(src);
  p.FilterRotateAngle = 90;
  EXPECT_TRUE(SameBlock(FilterRotateImage(src, &p), RotateImage270(src)));
  p.FilterRotateDirection = 1;
  EXPECT_TRUE(SameBlock(FilterRotateImage(src, &p), RotateImage90(src)));
  p.FilterRotateAngle = 180;
  EXPECT_TRUE(SameBlock(FilterRotateImage(src, &p), RotateImage180(src)));
  p.FilterRotateAngle = 0;
  p.FilterRotateDirection = 0;
  EXPECT_TRUE(SameBlock(FilterRotateImage(src, &p), src));
  EXPECT_FALSE(p.NewMask);
  // Angle 0 turned the other way is 360: a free rotation with its mask.
  p.FilterRotateDirection = 1;
  HDIB full = FilterRotateImage(src, &p);
  ASSERT_TRUE(full);
  ASSERT_TRUE(p.NewMask);
  EXPECT_EQ(LockDib(p.NewMask)->biBitCount, 4);
  FilterFreeMasks(&p);
  EXPECT_FALSE(p.NewMask);
}

TEST(Rotate, FortyFiveDegreesWithAndWithoutPreserve) {
  HDIB src = RandomDib(100, 100, 24, 2);
  FILTERPARAM p = Defaults(src);
  p.FilterRotateAngle = 45;
  p.PaperColour = RGB(1, 2, 3);
  HDIB out = FilterRotateImage(src, &p);
  int w = 0, h = 0;
  Size(out, &w, &h);
  EXPECT_NEAR(w, 141, 1);
  EXPECT_NEAR(h, 141, 1);
  const BITMAPINFOHEADER *o = LockDib(out), *m = LockDib(p.NewMask);
  ASSERT_TRUE(m);
  EXPECT_EQ(m->biWidth, w);
  EXPECT_EQ(m->biHeight, h);
  for (auto [x, y] : {std::pair{0, 0}, {w - 1, 0}, {0, h - 1}, {w - 1, h - 1}}) {
    EXPECT_EQ(GetDibPixel(o, x, y), RGB(1, 2, 3));
    EXPECT_EQ(GetDibPixel(m, x, y), 0u);
  }
  EXPECT_EQ(GetDibPixel(m, w / 2, h / 2), 1u);
  // Every pixel the mask marks as background holds the paper colour.
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (GetDibPixel(m, x, y) == 0) {
        ASSERT_EQ(GetDibPixel(o, x, y), RGB(1, 2, 3));
      }
  // Without interpolation the marked pixels are source pixels, unchanged.
  p.FilterRotateInterpolate = 0;
  p.FilterRotatePreserve = 1;
  HDIB kept = FilterRotateImage(src, &p);
  Size(kept, &w, &h);
  EXPECT_EQ(w, 100);
  EXPECT_EQ(h, 100);
  m = LockDib(p.NewMask);
  for (int y = 30; y < 70; ++y)
    for (int x = 30; x < 70; ++x) ASSERT_EQ(GetDibPixel(m, x, y), 1u);
  EXPECT_EQ(GetDibPixel(m, 0, 0), 0u);
}

TEST(Resize, HundredBothWaysAndTheTwoPaths) {
  for (int bits : {24, 8, 4, 1}) {
    HDIB src = RandomDib(17, 9, bits, 5, bits == 8 ? 10 : 3);
    FILTERPARAM p = Defaults(src);
    EXPECT_TRUE(SameBlock(FilterResizeImage(src, &p), src)) << bits;
    p.FilterResizeInterpolate = 0;
    EXPECT_TRUE(SameBlock(FilterResizeImage(src, &p), src)) << bits;
  }
  HDIB src = RandomDib(20, 10, 24, 6);
  FILTERPARAM p = Defaults(src);
  p.ResizeHorizontal = 150;
  p.ResizeVertical = 50;  // ignored while Constant is set
  int w, h;
  Size(FilterResizeImage(src, &p), &w, &h);
  EXPECT_EQ(w, 30);
  EXPECT_EQ(h, 15);
  HDIB expect = ScaleUpVertical(ScaleUpHorizontal(src, 150), 150);
  EXPECT_TRUE(SameBlock(FilterResizeImage(src, &p), expect));
  p.FilterResizeConstant = 0;
  Size(FilterResizeImage(src, &p), &w, &h);
  EXPECT_EQ(h, 5);
  // Paletted images take the nearest sample whatever the check box says.
  HDIB pal = RandomDib(20, 10, 8, 7, 8);
  FILTERPARAM q = Defaults(pal);
  q.ResizeHorizontal = 173;
  EXPECT_TRUE(SameBlock(FilterResizeImage(pal, &q), FilterScaleImage(pal, 173, 173)));
  // 5 percent of 10 pixels is no pixel: a plain failure.
  HDIB tiny = RandomDib(10, 10, 24, 8);
  q = Defaults(tiny);
  q.ResizeHorizontal = 5;
  EXPECT_FALSE(FilterResizeImage(tiny, &q));
}

// The nearest-sample tables of every depth and the bilinear sampler are pinned
// by the byte-identity digests (each breaks a digest when broken on purpose).

}  // namespace
}  // namespace ochrel
