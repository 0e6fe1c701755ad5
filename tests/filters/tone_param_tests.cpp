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
bool PixelsEqual(const HDIB& a, const HDIB& b) {
  const BITMAPINFOHEADER *ha = LockDib(a), *hb = LockDib(b);
  return ha && hb && ha->biSizeImage == hb->biSizeImage &&
         std::memcmp(DibBits(ha), DibBits(hb), ha->biSizeImage) == 0;
}

// ---- The table and the validity rule ------------------------------------------

TEST(FilterTable, NamesOrderAndFlags) {
  const char* names[FILTER_COUNT] = {"Add Noise", "Color and Intensity", "Contrast and Brightness", "Despeckle",
                                     "Emboss", "Flip", "Gaussian Blur", "Invert Colours", "Oil Painting",
                                     "Resize", "Rotate", "Shade", "Sharpen", "Solarize", "Swirl",
                                     "Unsharp Mask", "Vignette"};
  for (int i = 0; i < FILTER_COUNT; ++i) {
    EXPECT_STREQ(filtertype[i].name, names[i]);
    EXPECT_EQ(FindFilterType(names[i]), i);
    EXPECT_NE(filtertype[i].function, nullptr);
  }
  EXPECT_EQ(FindFilterType("Blur"), -1);
  EXPECT_EQ(filtertype[10].flags, 0x1F);
  EXPECT_EQ(filtertype[8].flags, 0x41);
}

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
  RestoreFilterDefaults(&p);
  EXPECT_EQ(p.FilterContrast, 128);
  EXPECT_EQ(p.FilterGaussianRadius, 40);
  EXPECT_EQ(p.FilterOilpaintRadius, 250);
  EXPECT_EQ(p.FilterResizeConstant, 1);
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

// ---- Contrast curve ------------------------------------------------------------

TEST(ContrastCurve, IdentitiesAndHardStep) {
  LOOKUPTABLE t;
  FilterMakeContrastCurve(0, 0, &t);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(t.value[i], i);
  // Settings 127, 127 are the identity; the defaults 128, 128 are not.
  HDIB src = RandomDib(31, 17, 24, 2);
  FILTERPARAM p = Defaults(src);
  p.FilterContrast = p.FilterBrightness = 127;
  EXPECT_TRUE(SameBlock(FilterContrastBrightness(src, &p), src));
  p.FilterContrast = p.FilterBrightness = 128;
  EXPECT_FALSE(SameBlock(FilterContrastBrightness(src, &p), src));
  FilterMakeContrastCurve(1, 1, &t);  // step 256/254, start 0
  EXPECT_EQ(t.value[0], 0);
  // The value grows by repeated addition, so 127 steps land just short of 128.
  EXPECT_EQ(t.value[127], 127);
  EXPECT_EQ(t.value[128], 129);
  EXPECT_EQ(t.value[254], 255);
  // Contrast 128: d = 1, a hard step at the brightness.
  FilterMakeContrastCurve(128, 128, &t);
  EXPECT_EQ(t.value[0], 0);
  EXPECT_EQ(t.value[1], 255);
  // Contrast -127: step 256 / 510, start b + 127.
  FilterMakeContrastCurve(-127, 0, &t);
  EXPECT_EQ(t.value[0], 127);
  double v = 127;
  for (int i = 0; i < 256; ++i, v += 256.0 / 510) ASSERT_EQ(t.value[i], static_cast<int>(v)) << i;
}

TEST(ContrastBrightness, PaletteImagesChangeThePaletteOnly) {
  HDIB src = RandomDib(20, 20, 8, 3, 8);
  FILTERPARAM p = Defaults(src);
  ASSERT_EQ(p.ImageType, IMAGE_PALETTED);
  p.FilterContrast = 180;
  HDIB out = FilterContrastBrightness(src, &p);
  EXPECT_TRUE(PixelsEqual(out, src));
  BYTE before[768], after[768];
  GetDibPalette(LockDib(src), before);
  GetDibPalette(LockDib(out), after);
  LOOKUPTABLE t;
  FilterMakeContrastCurve(180 - 127, 128 - 127, &t);
  for (int i = 0; i < 768; ++i) ASSERT_EQ(after[i], t.value[before[i]]);
}

// ---- Offsets, invert, solarize -----------------------------------------------------

TEST(ColourIntensity, DefaultsCopyAndSumIsClampedOnce) {
  HDIB src = RandomDib(13, 11, 24, 4);
  FILTERPARAM p = Defaults(src);
  EXPECT_TRUE(SameBlock(FilterColourIntensity(src, &p), src));
  HDIB pal = RandomDib(13, 11, 8, 4, 8);
  FILTERPARAM pp = Defaults(pal);
  EXPECT_TRUE(SameBlock(FilterColourIntensity(pal, &pp), pal));

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

TEST(InvertColours, TwiceGivesTheSourceOnEveryType) {
  struct {
    int bits, palette;
  } kinds[] = {{24, 0}, {8, 10}, {8, 8}, {4, 3}, {1, 0}, {32, 0}};
  for (auto k : kinds) {
    HDIB src = RandomDib(19, 7, k.bits, 9, k.palette);
    FILTERPARAM p = Defaults(src);
    HDIB once = FilterInvertColours(src, &p);
    EXPECT_FALSE(SameBlock(once, src)) << k.bits;
    EXPECT_TRUE(SameBlock(FilterInvertColours(once, &p), src)) << k.bits;
  }
  HDIB one = CreateDib(1, 1, nullptr, 24);
  PutDibPixel(LockDib(one), 0, 0, RGB(0, 100, 255));
  FILTERPARAM p = Defaults(one);
  EXPECT_EQ(GetDibPixel(LockDib(FilterInvertColours(one, &p)), 0, 0), RGB(255, 155, 0));
}

TEST(Solarize, ThresholdsOneAnd255) {
  HDIB src = CreateDib(256, 1, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(src);
  for (int i = 0; i < 256; ++i) PutDibPixel(h, i, 0, RGB(i, i, 255 - i));
  FILTERPARAM p = Defaults(src);
  p.FilterSolarizeThreshold = 1;
  HDIB out = FilterSolarize(src, &p);
  for (int i = 0; i < 256; ++i) {
    int r = i == 0 ? 255 : i, b = (255 - i) == 0 ? 255 : 255 - i;
    ASSERT_EQ(GetDibPixel(LockDib(out), i, 0), RGB(r, r, b)) << i;
  }
  p.FilterSolarizeThreshold = 255;
  out = FilterSolarize(src, &p);
  for (int i = 0; i < 256; ++i) {
    int r = i < 255 ? 255 - i : 255, b = (255 - i) < 255 ? i : 255;
    ASSERT_EQ(GetDibPixel(LockDib(out), i, 0), RGB(r, r, b)) << i;
  }
}

}  // namespace
}  // namespace ochrel
