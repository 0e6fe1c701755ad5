#include "filters/filterparam.h"

#include <cstdio>
#include <cstring>

namespace ochrel {

namespace {
const int kAddNoiseControls[] = {234, 235, 236, 237, 238, 239, 0};
const int kColourIntensityControls[] = {207, 208, 209, 210, 211, 212, 213, 214, 215, 216, 217, 218, 0};
const int kContrastBrightnessControls[] = {201, 202, 203, 204, 205, 206, 0};
const int kNoControls[] = {0};
const int kEmbossControls[] = {246, 247, 248, 249, 250, 251, 0};
const int kFlipControls[] = {272, 273, 0};
const int kGaussianBlurControls[] = {219, 220, 221, 222, 223, 224, 0};
const int kOilPaintControls[] = {274, 275, 276, 0};
const int kResizeControls[] = {258, 10258, 259, 10259, 260, 261, 262, 263, 0};
const int kRotateControls[] = {264, 10264, 265, 266, 267, 268, 269, 270, 271, 0};
const int kShadeControls[] = {277, 278, 279, 280, 281, 282, 283, 0};
const int kSharpenControls[] = {252, 253, 254, 255, 256, 257, 0};
const int kSolarizeControls[] = {231, 232, 233, 0};
const int kSwirlControls[] = {284, 285, 10284, 0};
const int kUnsharpControls[] = {219, 220, 221, 222, 223, 224, 225, 226, 227, 228, 229, 230, 0};
const int kVignetteControls[] = {240, 241, 242, 243, 244, 245, 0};

const char* const kAddNoiseFields[] = {"FilterNoiseType", "FilterNoiseLevel", "FilterNoiseColour", nullptr};
const char* const kColourIntensityFields[] = {"FilterRed", "FilterGreen", "FilterBlue", "FilterIntensity", nullptr};
const char* const kContrastBrightnessFields[] = {"FilterContrast", "FilterBrightness", nullptr};
const char* const kNoFields[] = {nullptr};
const char* const kEmbossFields[] = {"FilterEmbossWidth", "FilterEmbossSigma", nullptr};
const char* const kFlipFields[] = {"FilterFlipDirection", nullptr};
const char* const kGaussianFields[] = {"FilterGaussianSigma", "FilterGaussianRadius", nullptr};
const char* const kOilPaintFields[] = {"FilterOilpaintRadius", nullptr};
const char* const kResizeFields[] = {"ResizeHorizontal", "ResizeVertical", "FilterResizeConstant",
                                     "FilterResizeInterpolate", nullptr};
const char* const kRotateFields[] = {"FilterRotateAngle", "FilterRotateDirection", "FilterRotateInterpolate",
                                     "FilterRotatePreserve", nullptr};
const char* const kShadeFields[] = {"FilterShadeAzimuth", "FilterShadeElevation", "FilterShadeLevel", nullptr};
const char* const kSharpenFields[] = {"FilterSharpenWidth", "FilterSharpenSigma", nullptr};
const char* const kSolarizeFields[] = {"FilterSolarizeThreshold", nullptr};
const char* const kSwirlFields[] = {"FilterSwirlDegrees", nullptr};
const char* const kUnsharpFields[] = {"FilterGaussianSigma", "FilterGaussianRadius", "FilterUnsharpAmount",
                                      "FilterUnsharpThreshold", nullptr};
const char* const kVignetteFields[] = {"FilterVignetteLevel", "FilterVignetteOffsetLevel", nullptr};
}  // namespace

const FilterType filtertype[FILTER_COUNT] = {
    {"Add Noise", FilterAddNoise, kAddNoiseControls, 0x03, kAddNoiseFields},
    {"Color and Intensity", FilterColourIntensity, kColourIntensityControls, 0x25, kColourIntensityFields},
    {"Contrast and Brightness", FilterContrastBrightness, kContrastBrightnessControls, 0x27, kContrastBrightnessFields},
    {"Despeckle", FilterDespeckleImage, kNoControls, 0x03, kNoFields},
    {"Emboss", FilterEmbossImage, kEmbossControls, 0x03, kEmbossFields},
    {"Flip", FilterFlipImage, kFlipControls, 0x0F, kFlipFields},
    {"Gaussian Blur", FilterGaussianBlur, kGaussianBlurControls, 0x03, kGaussianFields},
    {"Invert Colours", FilterInvertColours, kNoControls, 0x2F, kNoFields},
    {"Oil Painting", FilterOilPaint, kOilPaintControls, 0x41, kOilPaintFields},
    {"Resize", FilterResizeImage, kResizeControls, 0x1F, kResizeFields},
    {"Rotate", FilterRotateImage, kRotateControls, 0x1F, kRotateFields},
    {"Shade", FilterShade, kShadeControls, 0x11, kShadeFields},
    {"Sharpen", FilterSharpenImage, kSharpenControls, 0x03, kSharpenFields},
    {"Solarize", FilterSolarize, kSolarizeControls, 0x03, kSolarizeFields},
    {"Swirl", FilterSwirl, kSwirlControls, 0x11, kSwirlFields},
    {"Unsharp Mask", FilterUnsharpMaskImage, kUnsharpControls, 0x03, kUnsharpFields},
    {"Vignette", FilterVignetteImage, kVignetteControls, 0x03, kVignetteFields},
};

int FindFilterType(const char* name) {
  if (!name) return -1;
  for (int i = 0; i < FILTER_COUNT; ++i)
    if (std::strcmp(filtertype[i].name, name) == 0) return i;
  return -1;
}

#define OCHREL_FS(name, lo, hi, def, tenths) \
  { #name, &FILTERPARAM::name, true, lo, hi, def, tenths }
const FilterSetting filtersettings[] = {
    OCHREL_FS(FilterContrast, 0, 255, 128, false),
    OCHREL_FS(FilterBrightness, 0, 255, 128, false),
    OCHREL_FS(FilterRed, 0, 255, 128, false),
    OCHREL_FS(FilterGreen, 0, 255, 128, false),
    OCHREL_FS(FilterBlue, 0, 255, 128, false),
    OCHREL_FS(FilterIntensity, 0, 255, 128, false),
    OCHREL_FS(FilterGaussianSigma, 10, 100, 50, true),
    OCHREL_FS(FilterGaussianRadius, 10, 990, 40, true),
    OCHREL_FS(FilterUnsharpAmount, 0, 50, 4, true),
    OCHREL_FS(FilterUnsharpThreshold, 1, 15, 1, true),
    OCHREL_FS(FilterSolarizeThreshold, 1, 255, 128, false),
    OCHREL_FS(FilterNoiseType, 0, 4, 0, false),
    OCHREL_FS(FilterNoiseLevel, 1, 32, 16, false),
    OCHREL_FS(FilterNoiseColour, 0, 1, 0, false),
    OCHREL_FS(FilterVignetteLevel, 1, 50, 10, false),
    OCHREL_FS(FilterVignetteOffsetLevel, 0, 25, 0, false),
    OCHREL_FS(FilterEmbossWidth, 3, 15, 5, false),
    OCHREL_FS(FilterEmbossSigma, 15, 50, 25, true),
    OCHREL_FS(FilterSharpenWidth, 3, 15, 5, false),
    OCHREL_FS(FilterSharpenSigma, 15, 50, 25, true),
    OCHREL_FS(FilterResizeInterpolate, 0, 1, 1, false),
    {"ResizeHorizontal", &FILTERPARAM::ResizeHorizontal, false, 5, 5000, 100, false},
    {"ResizeVertical", &FILTERPARAM::ResizeVertical, false, 5, 5000, 100, false},
    OCHREL_FS(FilterResizeConstant, 0, 1, 1, false),
    OCHREL_FS(FilterRotateAngle, 0, 359, 0, false),
    OCHREL_FS(FilterRotateDirection, 0, 1, 0, false),
    OCHREL_FS(FilterRotateInterpolate, 0, 1, 1, false),
    OCHREL_FS(FilterRotatePreserve, 0, 1, 0, false),
    OCHREL_FS(FilterFlipDirection, 0, 1, 0, false),
    OCHREL_FS(FilterOilpaintRadius, 100, 400, 250, true),
    OCHREL_FS(FilterShadeAzimuth, 0, 359, 135, false),
    OCHREL_FS(FilterShadeElevation, 1, 90, 30, false),
    OCHREL_FS(FilterShadeLevel, 0, 1, 1, false),
    OCHREL_FS(FilterSwirlDegrees, -1440, 1440, 45, false),
};
#undef OCHREL_FS
const int FILTER_SETTING_COUNT = static_cast<int>(sizeof(filtersettings) / sizeof(filtersettings[0]));

const FilterSetting* FindFilterSetting(const char* name) {
  if (!name) return nullptr;
  for (const FilterSetting& s : filtersettings)
    if (std::strcmp(s.name, name) == 0) return &s;
  return nullptr;
}

void FormatFilterValue(const FilterSetting& setting, int value, char* text, int size) {
  if (!text || size <= 0) return;
  if (setting.tenths) std::snprintf(text, static_cast<std::size_t>(size), "%d.%d", value / 10, value % 10);
  else std::snprintf(text, static_cast<std::size_t>(size), "%d", value);
}

bool FilterIsValidFilter(int imageType, int hasSelection, int hasMask, int filter) {
  if (filter < 0 || filter >= FILTER_COUNT) return false;
  if (imageType < 0 || imageType > 3) return false;
  int flags = filtertype[filter].flags;
  if (!(flags & (1 << imageType))) return false;
  if (!hasSelection) return true;
  if (flags & FILTER_NOSELECTION) return false;
  if ((imageType == IMAGE_PALETTED || imageType == IMAGE_MONO) && (flags & FILTER_NOPALETTESEL)) return false;
  return !(hasMask && (flags & FILTER_NOMASK));
}

void RestoreFilterDefaults(FILTERPARAM* param) {
  if (!param) return;
  for (const FilterSetting& s : filtersettings) param->*s.field = s.defaultValue;
}

void FilterFreeMasks(FILTERPARAM* param) {
  if (param) param->NewMask.reset();
}

}  // namespace ochrel
