#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "filters/filterparam.h"
#include "filters/tone.h"
#include "filter_test_util.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

using test::Defaults;

// ---- The table and the validity rule ------------------------------------------

std::string Offered(int type, int sel, int mask) {
  std::string s;
  for (int i = 0; i < FILTER_COUNT; ++i)
    if (FilterIsValidFilter(type, sel, mask, i)) s += std::string(filtertype[i].name) + ";";
  return s;
}

TEST(FilterValidity, ImageTypesAndSelections) {
  EXPECT_EQ(Offered(IMAGE_MONO, 0, 0), "Flip;Invert Colours;Resize;Rotate;");
  EXPECT_EQ(Offered(IMAGE_PALETTED, 0, 0),
            "Color and Intensity;Contrast and Brightness;Flip;Invert Colours;Resize;Rotate;");
  EXPECT_EQ(Offered(IMAGE_PALETTED, 1, 0), "Flip;Resize;Rotate;");
  EXPECT_EQ(Offered(IMAGE_MONO, 1, 0), "Flip;Resize;Rotate;");
  std::string all = Offered(IMAGE_TRUECOLOUR, 0, 0);
  EXPECT_EQ(std::count(all.begin(), all.end(), ';'), 17);
  std::string rect = Offered(IMAGE_TRUECOLOUR, 1, 0);
  EXPECT_EQ(std::count(rect.begin(), rect.end(), ';'), 16);
  EXPECT_EQ(rect.find("Oil Painting"), std::string::npos);
  std::string irregular = Offered(IMAGE_TRUECOLOUR, 1, 1);
  for (const char* gone : {"Oil Painting", "Resize", "Rotate", "Shade", "Swirl"})
    EXPECT_EQ(irregular.find(gone), std::string::npos) << gone;
  EXPECT_EQ(std::count(irregular.begin(), irregular.end(), ';'), 12);
  EXPECT_EQ(Offered(IMAGE_NONE, 0, 0), "");
  EXPECT_EQ(Offered(IMAGE_GREY, 0, 0).find("Color and Intensity"), std::string::npos);
  EXPECT_FALSE(FilterIsValidFilter(IMAGE_TRUECOLOUR, 0, 0, 17));
  EXPECT_FALSE(FilterIsValidFilter(IMAGE_TRUECOLOUR, 0, 0, -1));
}

TEST(FilterSettings, RestoreAndFormats) {
  FILTERPARAM p;
  RestoreFilterDefaults(&p);  // the defaults' outputs are pinned by the byte-identity digests
  EXPECT_EQ(p.FilterSwirlDegrees, 45);
  EXPECT_EQ(p.ResizeHorizontal, 100);
  // Every setting's compiled-in default lies in its range.
  for (int i = 0; i < FILTER_SETTING_COUNT; ++i) {
    const FilterSetting& s = filtersettings[i];
    EXPECT_LE(s.minimum, s.defaultValue) << s.name;
    EXPECT_GE(s.maximum, s.defaultValue) << s.name;
  }
  char text[16];
  FormatFilterValue(*FindFilterSetting("FilterGaussianRadius"), 40, text, sizeof text);
  EXPECT_STREQ(text, "4.0");
  FormatFilterValue(*FindFilterSetting("FilterOilpaintRadius"), 255, text, sizeof text);
  EXPECT_STREQ(text, "25.5");
  FormatFilterValue(*FindFilterSetting("FilterContrast"), 128, text, sizeof text);
  EXPECT_STREQ(text, "128");
  EXPECT_FALSE(FindFilterSetting("ResizeVertical")->stored);
  EXPECT_EQ(FindFilterSetting("Nonsense"), nullptr);
}

// The contrast curve (its repeated addition, its hard step, its clamps) is
// pinned by the digests of the contrast filter at each setting's ends.

// ---- Offsets, invert, solarize -----------------------------------------------------

TEST(ColourIntensity, SumIsClampedOnce) {
  // Red channel 10 with red 255 and intensity 255: 10 + 127 + 127 -> 255.
  // Blue with blue 0 and intensity 255: 200 - 128 + 127 = 199 (not clamped twice).
  HDIB one = CreateDib(1, 1, nullptr, 24);
  PutDibPixel(LockDib(one), 0, 0, RGB(10, 50, 200));
  FILTERPARAM q = Defaults(one);
  q.FilterRed = 255;
  q.FilterIntensity = 255;
  q.FilterBlue = 0;
  HDIB out = FilterColourIntensity(one, &q);
  EXPECT_EQ(GetDibPixel(LockDib(out), 0, 0), RGB(255, 177, 199));
  q.FilterIntensity = 0;  // 10 + 127 - 128 = 9, 50 - 128 -> 0, 200 - 256 -> 0
  EXPECT_EQ(GetDibPixel(LockDib(FilterColourIntensity(one, &q)), 0, 0), RGB(9, 0, 0));
  FILTERPARAM g = Defaults(RandomDib(4, 4, 8, 1, 10));
  EXPECT_FALSE(FilterColourIntensity(RandomDib(4, 4, 8, 1, 10), &g));
}

}  // namespace
}  // namespace ochrel
