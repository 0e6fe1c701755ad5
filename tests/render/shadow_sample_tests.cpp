// Shadow samples. The text sample needs the application object that the
// environment in wrapper_tests.cpp makes.
#include <gtest/gtest.h>

#include "render/shadow_sample.h"

namespace ochrel {
namespace {

int Grey(const HDIB& dib, int x, int y) { return static_cast<int>(GetDibPixel(LockDib(dib), x, y)); }
COLORREF Pixel(const HDIB& dib, int x, int y) { return GetDibPixel(LockDib(dib), x, y); }

}  // namespace

TEST(ShadowSampleMasks, RectangleEllipsePolygonSizesAndPlaces) {
  const RECT shape{30, 40, 90, 80};  // 60 by 40; only the size counts
  HDIB rect = CreateShadowRectangleSampleBitmap(shape, 200, 10, 7, 5);
  ASSERT_TRUE(rect);
  EXPECT_EQ(LockDib(rect)->biWidth, 74);
  EXPECT_EQ(LockDib(rect)->biHeight, 50);
  EXPECT_EQ(LockDib(rect)->biBitCount, 8);
  EXPECT_EQ(Grey(rect, 0, 0), 10);
  EXPECT_EQ(Grey(rect, 6, 4), 10);     // just outside the shape
  EXPECT_EQ(Grey(rect, 7, 5), 200);    // its first pixel
  EXPECT_EQ(Grey(rect, 66, 44), 200);  // its last
  EXPECT_EQ(Grey(rect, 67, 45), 10);

  HDIB ellipse = CreateShadowEllipseSampleBitmap(shape, 255, 0, 7, 5);
  ASSERT_TRUE(ellipse);
  EXPECT_EQ(Grey(ellipse, 37, 25), 255);  // centre
  EXPECT_EQ(Grey(ellipse, 8, 6), 0);      // the box's corner is outside the ellipse
  EXPECT_EQ(Grey(ellipse, 8, 25), 255);   // its left end is inside

  // The six-point figure: (15, 0), (59, 13), (45, 39), (0, 26), (30, 13).
  HDIB poly = CreateShadowPolygonSampleBitmap(shape, 255, 0, 0, 0);
  ASSERT_TRUE(poly);
  EXPECT_EQ(LockDib(poly)->biWidth, 60);
  EXPECT_EQ(Grey(poly, 45, 20), 255);  // in the right lobe
  EXPECT_EQ(Grey(poly, 2, 2), 0);
  EXPECT_EQ(Grey(poly, 58, 38), 0);

  EXPECT_FALSE(CreateShadowRectangleSampleBitmap(RECT{0, 0, 0, 10}, 255, 0, 1, 1));
  EXPECT_FALSE(CreateShadowRectangleSampleBitmap(shape, 255, 0, -1, 1));
}

TEST(ShadowSampleMasks, TextLineInTheFont) {
  HDIB text = CreateShadowTextSampleBitmap(nullptr, 30, 0, 0, 0, 255, 0, 4, 6);
  ASSERT_TRUE(text);
  const BITMAPINFOHEADER* h = LockDib(text);
  EXPECT_GT(h->biWidth, 6 * 8);
  EXPECT_GE(h->biHeight, 30 + 12 - 2);
  int ink = 0;
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) {
      const int v = Grey(text, x, y);
      ink += v;
      if (x < 4 || y < 6) {
        ASSERT_EQ(v, 0);  // the pad stays back
      }
    }
  EXPECT_GT(ink, 255 * 50);
  HDIB bold = CreateShadowTextSampleBitmap(nullptr, 30, 1, 0, 0, 255, 0, 4, 6);
  int boldInk = 0;
  for (int y = 0; y < LockDib(bold)->biHeight; ++y)
    for (int x = 0; x < LockDib(bold)->biWidth; ++x) boldInk += Grey(bold, x, y);
  EXPECT_GT(boldInk, ink);
  HDIB one = CreateShadowTextSampleBitmap(nullptr, 30, 0, 0, 0, 255, 0, 0, 0, "W");
  ASSERT_TRUE(one);
  EXPECT_LT(LockDib(one)->biWidth, h->biWidth / 3);
}

TEST(ShadowSample, ObjectShadowAndColoursByDocumentKind) {
  SHADOW s;
  s.ShadowType = 0;
  s.ShadowColor = RGB(0, 0, 200);
  s.ShadowDirection = 7;
  s.ShadowOpacity = 255;
  s.ShadowOffset = 8;
  s.ShadowSoft = 10;
  SHADOWSAMPLE doc;
  doc.PaintColour = RGB(200, 0, 0);
  doc.FillColour = RGB(0, 150, 0);
  doc.PaperColour = RGB(250, 250, 240);
  const RECT rect{0, 0, 140, 100};
  HDIB pic = CreateSampleShadow(s, doc, rect);
  ASSERT_TRUE(pic);
  EXPECT_EQ(LockDib(pic)->biBitCount, 24);
  EXPECT_EQ(LockDib(pic)->biWidth, 140);
  EXPECT_EQ(Pixel(pic, 70, 50), doc.FillColour);  // the object in the middle
  EXPECT_EQ(Pixel(pic, 1, 1), doc.PaperColour);
  // Direction 7: the shadow shows below right of the object, in the paint colour.
  const COLORREF below = Pixel(pic, 70 + 50 + 2, 50 + 30 + 2);
  EXPECT_GT(GetRValue(below), GetGValue(below) + 50);
  const COLORREF above = Pixel(pic, 70 - 50 - 3, 50 - 30 - 3);
  EXPECT_EQ(above, doc.PaperColour);

  // Opacity 0: no shadow at all, only object and paper.
  s.ShadowOpacity = 0;
  HDIB none = CreateSampleShadow(s, doc, rect);
  for (int y = 0; y < 100; ++y)
    for (int x = 0; x < 140; ++x) {
      const COLORREF c = Pixel(none, x, y);
      ASSERT_TRUE(c == doc.PaperColour || c == doc.FillColour) << x << "," << y;
    }

  // A grey document ignores ShadowType and uses ShadowColor; grey levels from the low bytes.
  s.ShadowOpacity = 255;
  doc.ImageType = 1;
  HDIB grey = CreateSampleShadow(s, doc, rect);
  EXPECT_EQ(Pixel(grey, 1, 1), RGB(250, 250, 250));
  EXPECT_EQ(Pixel(grey, 70, 50), RGB(0, 0, 0));
  EXPECT_GT(GetBValue(Pixel(grey, 70 + 50 + 2, 50 + 30 + 2)), GetRValue(Pixel(grey, 70 + 50 + 2, 50 + 30 + 2)));
  // Other kinds: black on white with a mid-grey shadow.
  doc.ImageType = 2;
  HDIB other = CreateSampleShadow(s, doc, rect);
  EXPECT_EQ(Pixel(other, 1, 1), RGB(255, 255, 255));
  EXPECT_EQ(Pixel(other, 70, 50), RGB(0, 0, 0));
  EXPECT_FALSE(CreateSampleShadow(s, doc, RECT{0, 0, 40, 90}));  // no room for an object
}

TEST(ShadowSample, ShiftsNeverLeaveTheRectangle) {
  for (int dir = 0; dir < 9; ++dir) {
    POINT o, sh;
    SampleShifts(dir == 8 ? 99 : dir, 5, &o, &sh);
    int dx, dy;
    ShadowOffsetFor(dir == 8 ? 99 : dir, 5, &dx, &dy);
    EXPECT_EQ(sh.x - o.x, dx) << dir;  // relative placement as on the image
    EXPECT_EQ(sh.y - o.y, dy) << dir;
    EXPECT_GE(std::min({o.x, o.y, sh.x, sh.y}), 0) << dir;
  }
  SHADOW s;
  s.ShadowOpacity = 255;
  s.ShadowSoft = 20;
  s.ShadowOffset = 6;
  SHADOWSAMPLE doc;
  doc.FillColour = RGB(0, 200, 0);
  for (int tool : {13, 14, 16, 3}) {
    doc.Tool = tool;
    HDIB pic = CreateSampleShadow(s, doc, RECT{0, 0, 160, 90});
    ASSERT_TRUE(pic) << tool;
    int objectPixels = 0;
    for (int y = 0; y < 90; ++y)
      for (int x = 0; x < 160; ++x) objectPixels += Pixel(pic, x, y) == doc.FillColour;
    EXPECT_GT(objectPixels, 200) << tool;
  }
}

}  // namespace ochrel
