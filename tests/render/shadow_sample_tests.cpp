// Shadow samples. The text sample needs the application object that the
// environment in wrapper_tests.cpp makes.
#include <gtest/gtest.h>

#include "render/shadow_sample.h"
#include "draw_util.h"

namespace ochrel {

// The sample masks and pictures are pinned by digests recorded from
// known-good code; a changed digest is a changed sample.
TEST(ShadowSampleMasks, ShapesAndTextMatchTheRecordedDigests) {
  const RECT shape{30, 40, 90, 80};  // 60 by 40; only the size counts
  EXPECT_EQ(test::Digest(CreateShadowRectangleSampleBitmap(shape, 200, 10, 7, 5)), 0xc56030dccaa12f70ull)
      << "rectangle";
  EXPECT_EQ(test::Digest(CreateShadowEllipseSampleBitmap(shape, 255, 0, 7, 5)), 0x5e35d79d397fcd7dull) << "ellipse";
  EXPECT_EQ(test::Digest(CreateShadowPolygonSampleBitmap(shape, 255, 0, 0, 0)), 0xe63eeeb9557eae52ull) << "polygon";
  EXPECT_FALSE(CreateShadowRectangleSampleBitmap(RECT{0, 0, 0, 10}, 255, 0, 1, 1));
  EXPECT_FALSE(CreateShadowRectangleSampleBitmap(shape, 255, 0, -1, 1));

  EXPECT_EQ(test::Digest(CreateShadowTextSampleBitmap(nullptr, 30, 0, 0, 0, 255, 0, 4, 6)), 0xf061eae7eefd19a3ull)
      << "text";
  EXPECT_EQ(test::Digest(CreateShadowTextSampleBitmap(nullptr, 30, 1, 0, 0, 255, 0, 4, 6)), 0xce1d9776c5783843ull)
      << "bold";
  EXPECT_EQ(test::Digest(CreateShadowTextSampleBitmap(nullptr, 30, 0, 0, 0, 255, 0, 0, 0, "W")), 0x937385cbdf3f8968ull)
      << "W";
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
  EXPECT_EQ(test::Digest(CreateSampleShadow(s, doc, rect)), 0xaa2afed6be2b5200ull) << "colour";
  s.ShadowOpacity = 0;
  EXPECT_EQ(test::Digest(CreateSampleShadow(s, doc, rect)), 0xe1117ffe8b6f956eull) << "no shadow";
  s.ShadowOpacity = 255;
  doc.ImageType = 1;  // grey: ignores ShadowType, uses ShadowColor
  EXPECT_EQ(test::Digest(CreateSampleShadow(s, doc, rect)), 0x8c46bf1ac1df8827ull) << "grey";
  doc.ImageType = 2;
  EXPECT_EQ(test::Digest(CreateSampleShadow(s, doc, rect)), 0xfc7ed3aa7578ff77ull) << "other";
  EXPECT_FALSE(CreateSampleShadow(s, doc, RECT{0, 0, 40, 90}));  // no room for an object
}

TEST(ShadowSample, ShiftsStayInsideAndEachToolDrawsItsFigure) {
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
  // Each tool's figure (ellipse, polygon, text, rectangle), soft and offset.
  for (auto [tool, digest] : {std::pair{13, 0xaea0d895903bc774ull},
                              {14, 0x83ab084094030809ull},
                              {16, 0x65a5485aac56c864ull},
                              {3, 0x64b0c984edecfb6aull}}) {
    doc.Tool = tool;
    EXPECT_EQ(test::Digest(CreateSampleShadow(s, doc, RECT{0, 0, 160, 90})), digest) << tool;
  }
}

}  // namespace ochrel
