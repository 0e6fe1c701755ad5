#include <gtest/gtest.h>

#include <vector>

#include "frame/attributes.h"
#include "frame/blockset.h"
#include "frame/view.h"
#include "test_images.h"

namespace ochrel {
namespace {

BLOCKSET At(int viewMode) {
  BLOCKSET r;
  r.ViewMode = viewMode;
  return r;
}

TEST(ViewArithmetic, ZoomAndUnZoomTruncateTowardZero) {
  BLOCKSET q = At(2), t = At(4), big = At(9), one = At(5);
  EXPECT_EQ(Zoom(&q, 3), 0);       // 25 percent of 3
  EXPECT_EQ(Zoom(&t, 3), 2);       // 75 percent of 3
  EXPECT_EQ(UnZoom(&big, 25), 2);  // 25 at 1200 percent
  EXPECT_EQ(Zoom(&t, -3), -2);     // signed, toward zero
  EXPECT_EQ(UnZoom(&t, -5), -6);
  for (int v : {-7, 0, 1, 12345}) EXPECT_EQ(std::pair(Zoom(&one, v), UnZoom(&one, v)), std::pair(v, v));
  RECT r{3, 5, 7, 9};
  BLOCKSET two = At(6);
  ZoomRect(&two, &r);
  EXPECT_EQ(r, (RECT{6, 10, 14, 18}));
  UnZoomRect(&two, &r);
  EXPECT_EQ(r, (RECT{3, 5, 7, 9}));
  POINT p{5, -5};
  UnZoomPoint(&q, &p);
  EXPECT_EQ(p, (POINT{20, -20}));
  RECT n{9, 8, 1, 2};
  NormalizeRect(&n);
  EXPECT_EQ(n, (RECT{1, 2, 9, 8}));
  EXPECT_EQ(std::pair(RectWidth(n), RectDepth(n)), std::pair(8, 6));
  EXPECT_EQ(ViewPercent(99), 1600);
  EXPECT_EQ(ViewPercent(-1), 10);
}

TEST(ViewArithmetic, ScrollRangesAndSteps) {
  // 400 percent: a 100-pixel image in a 120-pixel client scrolls (400 - 120) / 4 = 70.
  BLOCKSET r = At(7);
  EXPECT_EQ(ScrollRange(&r, 100, 120), 70);
  EXPECT_EQ(ScrollPage(70), 8);
  // An image that fits gives a negative range: nothing scrolls.
  BLOCKSET s = At(5);
  EXPECT_LT(ScrollRange(&s, 100, 300), 0);
  EXPECT_EQ(ScrollPage(-5), 0);
  // Change of scale from 100 to 200 percent.
  EXPECT_EQ(RescaleScrollPosition(50, 100, 200), 100);
  EXPECT_EQ(RescaleScrollPosition(7, 50, 100), 6);  // 7 at 50 percent is 3 view pixels, back to 6
}

// The plain rule: view pixel (i, j) shows image pixel (UnZoom(i) + sx, UnZoom(j) + sy).
std::uint32_t Expected(const BITMAPINFOHEADER* h, const ViewRender& v, int i, int j) {
  int x = UnZoomPercent(v.percent, i) + v.scrollX, y = UnZoomPercent(v.percent, j) + v.scrollY;
  if (x < 0 || y < 0 || x >= h->biWidth || y >= h->biHeight) return v.background;
  std::uint32_t px = GetDibPixel(h, x, y);
  bool gridPoint = v.grid && x % v.gridHorizontal == 0 && y % v.gridVertical == 0;
  if (h->biBitCount <= 8) {
    if (gridPoint) px ^= (1u << h->biBitCount) - 1;
    BYTE pal[768];
    GetDibPalette(h, pal);
    return 0xFF000000u | (pal[3 * px] << 16) | (pal[3 * px + 1] << 8) | pal[3 * px + 2];
  }
  if (gridPoint) px ^= 0xFFFFFF;
  return 0xFF000000u | (GetRValue(px) << 16) | (GetGValue(px) << 8) | GetBValue(px);
}

TEST(ViewRendering, MatchesThePlainRuleAtEveryScaleAndDepth) {
  for (int bits : {4, 8, 24}) {
    HDIB img = test::RandomDib(37, 23, bits, 40 + bits);
    const BITMAPINFOHEADER* h = LockDib(img);
    for (int mode = 0; mode < kViewModes; ++mode) {
      for (bool grid : {false, true}) {
        SCOPED_TRACE(testing::Message() << bits << " bits, mode " << mode << ", grid " << grid);
        ViewRender v;
        v.percent = ViewPercent(mode);
        v.scrollX = 3;
        v.scrollY = 2;
        v.grid = grid;
        v.gridHorizontal = 4;
        v.gridVertical = 5;
        const int w = 61, d = 47;
        std::vector<std::uint32_t> out(static_cast<std::size_t>(w * d));
        RenderView(h, v, 0, 0, w, d, out.data(), w * 4);
        for (int j = 0; j < d; ++j)
          for (int i = 0; i < w; ++i)
            ASSERT_EQ(out[static_cast<std::size_t>(j * w + i)], Expected(h, v, i, j)) << i << "," << j;
        // A part rendered alone equals the same part of the whole.
        std::vector<std::uint32_t> part(10 * 7);
        RenderView(h, v, 13, 9, 10, 7, part.data(), 10 * 4);
        for (int j = 0; j < 7; ++j)
          for (int i = 0; i < 10; ++i)
            ASSERT_EQ(part[static_cast<std::size_t>(j * 10 + i)], out[static_cast<std::size_t>((j + 9) * w + i + 13)]);
      }
    }
  }
}

TEST(ViewRendering, ShrunkMonoKeepsWhiteAndImageIsNeverChanged) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 0);
  HDIB mono = CreateDib(40, 40, pal, 1);
  PutDibPixel(LockDib(mono), 13, 17, 1);  // one white pixel
  HDIB before = DuplicateObject(mono);
  ViewRender v;
  v.percent = 10;
  std::vector<std::uint32_t> out(4 * 4);
  RenderView(LockDib(mono), v, 0, 0, 4, 4, out.data(), 16);
  EXPECT_EQ(out[1 * 4 + 1], 0xFFFFFFFFu);  // the block holding (13, 17) is white
  EXPECT_EQ(out[0], 0xFF000000u);
  v.percent = 100;
  v.grid = true;
  std::vector<std::uint32_t> full(40 * 40);
  RenderView(LockDib(mono), v, 0, 0, 40, 40, full.data(), 160);
  EXPECT_EQ(full[0], 0xFFFFFFFFu);  // grid point (0, 0) inverted
  EXPECT_TRUE(test::SameBlock(before, mono));
}

TEST(CanvasSize, AnchorsAndClamps) {
  EXPECT_EQ(AnchorOffset(ANCHOR_UPPERLEFT, 100, 100, 50, 50), (POINT{0, 0}));
  EXPECT_EQ(AnchorOffset(ANCHOR_LOWERRIGHT, 100, 100, 50, 50), (POINT{-50, -50}));
  EXPECT_EQ(AnchorOffset(ANCHOR_UPPERRIGHT, 10, 10, 15, 20), (POINT{5, 0}));
  EXPECT_EQ(AnchorOffset(ANCHOR_LOWERLEFT, 10, 10, 15, 20), (POINT{0, 10}));
  EXPECT_EQ(AnchorOffset(ANCHOR_CENTER, 10, 10, 15, 17), (POINT{2, 3}));    // odd: toward zero
  EXPECT_EQ(AnchorOffset(ANCHOR_CENTER, 15, 17, 10, 10), (POINT{-2, -3}));  // toward zero, not down
  EXPECT_EQ(ClampCanvasSize(0), 1);
  EXPECT_EQ(ClampCanvasSize(40000), 32760);

  BLOCKSET r;
  CreateNewFile(&r);
  r.Image = test::RandomDib(100, 100, 24, 9);
  HDIB original = DuplicateObject(r.Image);
  r.Modified = 0;
  ASSERT_TRUE(ApplyImageAttributes(&r, 50, 50, ANCHOR_LOWERRIGHT));
  EXPECT_EQ(r.Modified, 1);
  EXPECT_EQ(r.UndoAvailable, 1);
  EXPECT_TRUE(test::SameBlock(r.UndoImage, original));
  for (int y = 0; y < 50; y += 7)
    for (int x = 0; x < 50; x += 7)
      ASSERT_EQ(GetDibPixel(LockDib(r.Image), x, y), GetDibPixel(LockDib(original), x + 50, y + 50));
  // Enlarging surrounds the picture with paper.
  r.PaperColour = RGB(1, 2, 3);
  ASSERT_TRUE(ApplyImageAttributes(&r, 53, 50, ANCHOR_CENTER));
  EXPECT_EQ(GetDibPixel(LockDib(r.Image), 0, 0), RGB(1, 2, 3));
  EXPECT_EQ(GetDibPixel(LockDib(r.Image), 1, 0), GetDibPixel(LockDib(original), 50, 50));
  // No memory: the image stays as it was.
  HDIB kept = DuplicateObject(r.Image);
  SetAllocationLimit(1000);
  EXPECT_FALSE(ApplyImageAttributes(&r, 400, 400, ANCHOR_UPPERLEFT));
  SetAllocationLimit(0);
  EXPECT_TRUE(test::SameBlock(r.Image, kept));
}

}  // namespace
}  // namespace ochrel
