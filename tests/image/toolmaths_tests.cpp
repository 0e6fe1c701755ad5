// The small sums the tools and dialogs share: the line angle, the coverage
// blend and hue, luminosity and saturation.
#include <gtest/gtest.h>

#include "image/colourblend.h"
#include "image/colourspace.h"
#include "image/lineangle.h"

namespace ochrel {
namespace {

TEST(ToolMaths, GetLineAngleQuadrantsAndZero) {
  POINT a{0, 0};
  EXPECT_EQ(GetLineAngle(a, a), 0);
  EXPECT_EQ(GetLineAngle(a, POINT{10, -10}), 45);    // b right, above: v
  EXPECT_EQ(GetLineAngle(a, POINT{-10, -10}), 135);  // left, above: 180 - v
  EXPECT_EQ(GetLineAngle(a, POINT{-10, 10}), 225);   // left, below: 180 + v
  EXPECT_EQ(GetLineAngle(a, POINT{10, 10}), 315);    // right, below: 360 - v
  EXPECT_EQ(GetLineAngle(a, POINT{10, 0}), 360);     // on the axis: 360 - 0
  EXPECT_EQ(GetLineAngle(a, POINT{0, -7}), 90);
  // Not linear: r = 5 for (3, 4), v = 16 * 90 / 25 = 57.
  EXPECT_EQ(GetLineAngle(a, POINT{3, -4}), 57);
}

TEST(ToolMaths, CoverageBlend) {
  EXPECT_EQ(CoverageBlend(RGB(200, 100, 50), RGB(0, 255, 10), 0), RGB(200, 100, 50));
  EXPECT_EQ(CoverageBlend(RGB(200, 100, 50), RGB(0, 255, 10), 255), RGB(0, 255, 10));
  // m = 128: 200*127/255 = 99, 0; 100*127/255 = 49, 255*128/255 = 128 -> 177; 50*127/255 = 24, 10*128/255 = 5 -> 29.
  EXPECT_EQ(CoverageBlend(RGB(200, 100, 50), RGB(0, 255, 10), 128), RGB(99, 177, 29));
  // Each division truncates by itself: 49 + 100, where one division would give 150.
  EXPECT_EQ(BlendChannel(100, 200, 128), 149);
}

TEST(ToolMaths, HlsFieldsAndTheWayBack) {
  EXPECT_EQ(RgbToHls(RGB(255, 0, 0)).Hue, 0);
  EXPECT_EQ(RgbToHls(RGB(0, 255, 0)).Hue, 80);
  EXPECT_EQ(RgbToHls(RGB(0, 0, 255)).Hue, 160);
  EXPECT_EQ(RgbToHls(RGB(255, 0, 0)).Saturation, 240);
  EXPECT_EQ(RgbToHls(RGB(255, 0, 0)).Luminosity, 120);
  EXPECT_EQ(RgbToHls(RGB(255, 255, 255)).Luminosity, 240);
  EXPECT_EQ(RgbToHls(RGB(128, 128, 128)).Saturation, 0);
  EXPECT_EQ(RgbToHls(RGB(128, 128, 128)).Hue, 160);  // a grey's hue
  // Every grey and a spread of colours come back from their HLS within one step.
  for (int r = 0; r < 256; r += 17)
    for (int g = 0; g < 256; g += 51)
      for (int b = 0; b < 256; b += 85) {
        HLSCOLOUR h = RgbToHls(RGB(r, g, b));
        ASSERT_LE(h.Hue, 239);
        ASSERT_LE(h.Saturation, 240);
        ASSERT_LE(h.Luminosity, 240);
        COLORREF back = HlsToRgb(h);
        EXPECT_NEAR(GetRValue(back), r, 3) << r << "," << g << "," << b;
        EXPECT_NEAR(GetGValue(back), g, 3);
        EXPECT_NEAR(GetBValue(back), b, 3);
      }
  // Out of range fields are clamped, not wrapped.
  EXPECT_EQ(HlsToRgb({500, 120, 240}), HlsToRgb({239, 120, 240}));
}

}  // namespace
}  // namespace ochrel
