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
}  // namespace

// Every kind's bytes, grey and colour, off-centre, at three angles are pinned
// by the generator digests; angles a whole turn apart are not among them.
TEST(ConicalGradient, AnglesAWholeTurnApartAgree) {
  GRADIENT a = Conical(33, 27, -360), b = Conical(33, 27, 0), c = Conical(33, 27, 360);
  HDIB da = CreateGradient(&a), db = CreateGradient(&b), dc = CreateGradient(&c);
  ASSERT_TRUE(da && db && dc);
  EXPECT_TRUE(test::SameBlock(da, db));
  EXPECT_TRUE(test::SameBlock(db, dc));
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
