// Hue, luminosity and saturation: the colour fields of the colour dialog.
#pragma once

#include "image/dib.h"

namespace ochrel {

// Hue runs 0..239, luminosity and saturation 0..240.
inline constexpr int kHlsMax = 240;

struct HLSCOLOUR {
  int Hue = 0, Luminosity = 0, Saturation = 0;
};
// A grey has no hue: it gets two thirds of the range (160).
HLSCOLOUR RgbToHls(COLORREF colour);
// Out-of-range fields are clamped first.
COLORREF HlsToRgb(const HLSCOLOUR& hls);

}  // namespace ochrel
