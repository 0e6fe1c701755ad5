#include <gtest/gtest.h>

#include "fills/gradient.h"
#include "test_images.h"

using namespace ochrel;

namespace {
GRADIENT Conical(int w, int h, int angle) {
  GRADIENT g;
  g.GradientType = 3;
  g.StartColour = RGB(255, 255, 255);
  g.EndColour = RGB(0, 0, 0);
  g.Rect = RECT{5, 5, 5 + w, 5 + h};
  g.Angle = angle;
  return g;
}
COLORREF Pixel(const HDIB& dib, int x, int y) { return GetDibPixel(LockDib(dib), x, y); }
}  // namespace

TEST(ConicalGradient, CentreAndTheFourAxes) {
  GRADIENT g = Conical(41, 31, 0);
  HDIB dib = CreateGradient(&g);
  ASSERT_TRUE(dib);
  const BITMAPINFOHEADER* h = LockDib(dib);
  EXPECT_EQ(h->biBitCount, 24);
  EXPECT_EQ(h->biWidth, 41);
  EXPECT_EQ(h->biHeight, 31);
  const int cx = 20, cy = 15;  // trunc(41 * 0.5), trunc(31 * 0.5)
  // The centre takes a = 90, as the pixels straight above: half way, 127.
  EXPECT_EQ(Pixel(dib, cx, cy), RGB(127, 127, 127));
  EXPECT_EQ(Pixel(dib, cx, cy - 7), RGB(127, 127, 127));
  EXPECT_EQ(Pixel(dib, cx, cy + 7), RGB(127, 127, 127));  // 270 mirrors to 90
  EXPECT_EQ(Pixel(dib, cx + 9, cy), RGB(0, 0, 0));         // a = 180: the end colour
  EXPECT_EQ(Pixel(dib, cx - 9, cy), RGB(255, 255, 255));   // a = 360 stays, mirrors to 0
  // A diagonal: a = 45 + 180 = 225, mirrored 135, t = 0.75.
  EXPECT_EQ(Pixel(dib, cx + 5, cy + 5), RGB(63, 63, 63));
}

TEST(ConicalGradient, AnglesMinus360ZeroAnd360AgreeAndRotationTurns) {
  GRADIENT a = Conical(33, 27, -360), b = Conical(33, 27, 0), c = Conical(33, 27, 360);
  HDIB da = CreateGradient(&a), db = CreateGradient(&b), dc = CreateGradient(&c);
  ASSERT_TRUE(da && db && dc);
  EXPECT_TRUE(test::SameBlock(da, db));
  EXPECT_TRUE(test::SameBlock(db, dc));
  GRADIENT r = Conical(33, 27, 90);  // rot 270
  HDIB dr = CreateGradient(&r);
  EXPECT_FALSE(test::SameBlock(dr, db));
  // Left of the centre: a = 0 + 270 -> 90 after the mirror, half way.
  EXPECT_EQ(Pixel(dr, 16 - 6, 13), RGB(127, 127, 127));
  // Above: 90 + 270 = 360 -> 0: the start colour.
  EXPECT_EQ(Pixel(dr, 16, 13 - 6), RGB(255, 255, 255));
}

TEST(ConicalGradient, CentreOffsetsMoveRightAndUp) {
  GRADIENT g = Conical(100, 50, 0);
  g.CenterX = 20;   // cx = trunc(100 * 0.7) = 70
  g.CenterY = -30;  // cy = trunc(50 * 0.8) = 40
  HDIB dib = CreateGradient(&g);
  EXPECT_EQ(Pixel(dib, 80, 40), RGB(0, 0, 0));
  EXPECT_EQ(Pixel(dib, 60, 40), RGB(255, 255, 255));
  EXPECT_EQ(Pixel(dib, 70, 40), RGB(127, 127, 127));
}

TEST(ConicalGradient, GreyImageUsesLowBytesInEightBits) {
  GRADIENT g = Conical(21, 21, 0);
  g.ImageType = 1;
  g.StartColour = RGB(200, 7, 9);
  g.EndColour = RGB(100, 250, 251);
  HDIB dib = CreateGradient(&g);
  ASSERT_TRUE(dib);
  const BITMAPINFOHEADER* h = LockDib(dib);
  EXPECT_EQ(h->biBitCount, 8);
  EXPECT_EQ(GetDibPixel(h, 10 - 5, 10), 200u);        // start, from the red byte only
  EXPECT_EQ(GetDibPixel(h, 10 + 5, 10), 100u);        // end
  EXPECT_EQ(GetDibPixel(h, 10, 10), 150u);            // half way: trunc(100 + 50)
  BYTE palette[768];
  GetDibPalette(h, palette);
  EXPECT_EQ(palette[3 * 77], 77);  // the grey ramp
  EXPECT_EQ(palette[3 * 77 + 2], 77);
}

TEST(FillImage, KindsAndTheSolidFillTouchingNothing) {
  GRADIENT g = Conical(1, 1, 0);
  TEXTURE t;
  CreateDefaultTexture(&t);
  t.MatrixSize = 32;
  MATRIX m;
  m.Tile = CreateBuiltinMatrixTile();
  const RECT before{1, 2, 3, 4};
  g.Rect = t.Rect = m.Rect = before;
  const RECT want{10, 10, 50, 40};
  for (int kind : {0, 4, -1}) {
    EXPECT_FALSE(GetFillImage(kind, &g, &t, &m, want));
    EXPECT_EQ(g.Rect, before);
    EXPECT_EQ(t.Rect, before);
    EXPECT_EQ(m.Rect, before);
  }
  for (int kind : {1, 2, 3}) {
    HDIB dib = GetFillImage(kind, &g, &t, &m, want);
    ASSERT_TRUE(dib) << kind;
    EXPECT_EQ(LockDib(dib)->biWidth, 40);
    EXPECT_EQ(LockDib(dib)->biHeight, 30);
  }
  EXPECT_EQ(g.Rect, want);
  EXPECT_EQ(t.Rect, want);
  EXPECT_EQ(m.Rect, want);
  GRADIENT empty = Conical(0, 10, 0);
  EXPECT_FALSE(CreateGradient(&empty));
}
