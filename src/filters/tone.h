// Tone and colour filters: each sample is mapped on its own. On paletted and
// mono images they change the palette and leave the pixel indices alone.
#pragma once

#include "filters/filterparam.h"

namespace ochrel {

// The new value of each old one; one table serves every channel.
struct LOOKUPTABLE {
  BYTE value[256];
};

void FilterInitLookupTable(LOOKUPTABLE* table);
// contrast and brightness are the signed values (setting - 127).
void FilterMakeContrastCurve(int contrast, int brightness, LOOKUPTABLE* table);
HDIB FilterImposeLookupTable(const HDIB& image, const LOOKUPTABLE* table, const FILTERPARAM* param);
// Offsets are signed (setting - 128); each channel gets its offset plus the
// intensity, the sum clamped once.
HDIB FilterImposeColourFilter(const HDIB& image, int red, int green, int blue, int intensity, const FILTERPARAM* param);

}  // namespace ochrel
