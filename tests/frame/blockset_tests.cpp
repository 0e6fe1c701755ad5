#include "frame/blockset.h"

#include <gtest/gtest.h>

#include "frame/settings.h"
#include "test_images.h"

namespace ochrel {
namespace {

// A new document takes its fill and shadow parameters from the settings of the
// moment; later changes to the settings do not reach it.
TEST(DocumentRecord, FillAndShadowParametersComeFromTheSettings) {
  const int angle = GradientAngle, end = GradientEndColour, soft = ShadowSoft;
  GradientAngle = 33;
  GradientEndColour = 0x123456;
  ShadowSoft = 77;
  BLOCKSET r;
  CreateNewFile(&r);
  GradientAngle = angle;
  GradientEndColour = end;
  ShadowSoft = soft;
  EXPECT_EQ(r.Gradient.Angle, 33);
  EXPECT_EQ(r.Gradient.EndColour, 0x123456u);
  EXPECT_EQ(r.Shadow.ShadowSoft, 77);
  EXPECT_EQ(r.Shadow.ShadowActive, DefaultShadow);
  TEXTURE stock;
  CreateDefaultTexture(&stock);
  EXPECT_EQ(r.Texture.MatrixSize, stock.MatrixSize);
  EXPECT_EQ(r.Texture.SeedValue1, stock.SeedValue1);
  EXPECT_TRUE(r.Matrix.Tile) << "every new document has a tile to fill with";
}

TEST(DocumentRecord, FillImageFollowsTheFillType) {
  BLOCKSET r;
  CreateNewFile(&r);
  const RECT rect{10, 20, 74, 52};
  r.FillType = FILL_SOLID;
  EXPECT_FALSE(GetFillImage(&r, rect));
  for (int type : {FILL_GRADIENT, FILL_MATRIX}) {
    r.FillType = type;
    HDIB fill = GetFillImage(&r, rect);
    const BITMAPINFOHEADER* h = LockDib(fill);
    ASSERT_TRUE(h) << type;
    EXPECT_EQ(h->biWidth, 64);
    EXPECT_EQ(h->biHeight, 32);
  }
  EXPECT_EQ(r.Matrix.Rect.right - r.Matrix.Rect.left, 64) << "the request's size lands in the record";

  // A grey document asks for an 8-bit gradient.
  r.Image = test::Uniform(8, 8, 8, 0);
  SetImageType(&r);
  ASSERT_EQ(r.ImageType, IMAGE_GREY);
  r.FillType = FILL_GRADIENT;
  EXPECT_EQ(LockDib(GetFillImage(&r, rect))->biBitCount, 8);
}

}  // namespace
}  // namespace ochrel
