// The filter engine's shared record and table.
//
// A filter is a plain function from an image and a FILTERPARAM to a new image
// (null on failure; the source is never changed). Everything a filter needs
// stands in the record, so the algorithms run without any user interface.
#pragma once

#include <cstdint>

#include "image/dib.h"

namespace ochrel {

// One filter invocation. The dialog fills the image fields and takes the
// values from the stored settings (ImposeFilterParams, frame/options.h); code
// that runs a filter by itself can just call RestoreFilterDefaults and set
// ImageType.
struct FILTERPARAM {
  int FilterType = -1;

  // The image the filters read. Not owned, unless it is the masked copy of an
  // irregular selection, which then lives in MaskedBefore.
  const HDIB* BeforeImage = nullptr;
  HDIB MaskedBefore;
  int ImageType = IMAGE_TRUECOLOUR;
  int BeforeWidth = 0, BeforeDepth = 0;

  HDIB AfterImage;
  int AfterWidth = 0, AfterDepth = 0;

  int Changed = 0;
  COLORREF PaperColour = RGB(255, 255, 255);
  int HasSelection = 0, HasMask = 0;
  HDIB NewMask;  // made by a free rotation for its result, else null

  int FilterContrast = 0, FilterBrightness = 0, FilterRed = 0, FilterGreen = 0, FilterBlue = 0, FilterIntensity = 0;
  int FilterGaussianRadius = 0, FilterGaussianSigma = 0, FilterUnsharpAmount = 0, FilterUnsharpThreshold = 0,
      FilterSolarizeThreshold = 0;
  int FilterNoiseType = 0, FilterNoiseLevel = 0, FilterNoiseColour = 0;
  int FilterVignetteLevel = 0, FilterVignetteOffsetLevel = 0;
  int FilterEmbossWidth = 0, FilterEmbossSigma = 0, FilterSharpenWidth = 0, FilterSharpenSigma = 0;
  int FilterResizeInterpolate = 0, ResizeHorizontal = 0, ResizeVertical = 0, FilterResizeConstant = 0;
  int FilterRotateAngle = 0, FilterRotateDirection = 0, FilterRotateInterpolate = 0, FilterRotatePreserve = 0,
      FilterFlipDirection = 0;
  int FilterOilpaintRadius = 0, FilterShadeAzimuth = 0, FilterShadeElevation = 0, FilterShadeLevel = 0,
      FilterSwirlDegrees = 0;
};

using FilterFunction = HDIB (*)(const HDIB& image, FILTERPARAM* param);

// Flag bits of a filtertype row.
inline constexpr int FILTER_TRUECOLOUR = 0x01;
inline constexpr int FILTER_GREY = 0x02;
inline constexpr int FILTER_PALETTED = 0x04;
inline constexpr int FILTER_MONO = 0x08;
inline constexpr int FILTER_NOMASK = 0x10;        // not on a selection that has a mask
inline constexpr int FILTER_NOPALETTESEL = 0x20;  // works on the palette: no selection of types 2, 3
inline constexpr int FILTER_NOSELECTION = 0x40;   // never on a selection

struct FilterType {
  const char* name;
  FilterFunction function;
  const int* controls;  // zero-terminated dialog control ids
  int flags;
  const char* const* fields;  // null-terminated names of the settings the filter reads
};

inline constexpr int FILTER_COUNT = 17;
inline constexpr int FILTER_MENU_FIRST = 2049;  // menu command of filter 0
extern const FilterType filtertype[FILTER_COUNT];

// Index of the filter of that name, or -1.
int FindFilterType(const char* name);

// One adjustable value of the record: its field, whether a setting of the same
// name keeps it between runs (not the two resize percentages), range, default
// and whether it is shown in tenths.
struct FilterSetting {
  const char* name;
  int FILTERPARAM::*field;
  bool stored;
  int minimum, maximum, defaultValue;
  bool tenths;
};
extern const FilterSetting filtersettings[];
extern const int FILTER_SETTING_COUNT;
const FilterSetting* FindFilterSetting(const char* name);

// "12" or "1.2": how the dialog labels show a value.
void FormatFilterValue(const FilterSetting& setting, int value, char* text, int size);

bool FilterIsValidFilter(int imageType, int hasSelection, int hasMask, int filter);

void RestoreFilterDefaults(FILTERPARAM* param);
void FilterFreeMasks(FILTERPARAM* param);

// ---- The seventeen filters ---------------------------------------------------
HDIB FilterAddNoise(const HDIB& image, FILTERPARAM* param);
HDIB FilterColourIntensity(const HDIB& image, FILTERPARAM* param);
HDIB FilterContrastBrightness(const HDIB& image, FILTERPARAM* param);
HDIB FilterDespeckleImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterEmbossImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterFlipImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterGaussianBlur(const HDIB& image, FILTERPARAM* param);
HDIB FilterInvertColours(const HDIB& image, FILTERPARAM* param);
HDIB FilterOilPaint(const HDIB& image, FILTERPARAM* param);
HDIB FilterResizeImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterRotateImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterShade(const HDIB& image, FILTERPARAM* param);
HDIB FilterSharpenImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterSolarize(const HDIB& image, FILTERPARAM* param);
HDIB FilterSwirl(const HDIB& image, FILTERPARAM* param);
HDIB FilterUnsharpMaskImage(const HDIB& image, FILTERPARAM* param);
HDIB FilterVignetteImage(const HDIB& image, FILTERPARAM* param);

}  // namespace ochrel
