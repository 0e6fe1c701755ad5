#include "filters/tone.h"

#include <algorithm>
#include <cstring>

#include "filters/filterutil.h"
#include "image/parallel.h"

namespace ochrel {

using filterutil::SampleBytes;
using filterutil::StoredRow;

void FilterInitLookupTable(LOOKUPTABLE* table) {
  if (!table) return;
  for (int i = 0; i < 256; ++i) table->value[i] = static_cast<BYTE>(i);
}

void FilterMakeContrastCurve(int contrast, int brightness, LOOKUPTABLE* table) {
  if (!table) return;
  int d = 256 - 2 * contrast;
  if (d < 1) d = 1;
  double step = 256.0 / d;
  double value = static_cast<double>(brightness - contrast);
  for (int i = 0; i < 256; ++i) {
    table->value[i] = value > 255.0 ? 255 : value < 0.0 ? 0 : static_cast<BYTE>(static_cast<int>(value));
    value += step;
  }
}

namespace {

// Entries of the palette a filter may touch: min(2^depth, 256).
int PaletteEntries(const BITMAPINFOHEADER* h) { return h->biBitCount <= 8 ? (1 << h->biBitCount) : 0; }

// Duplicate a paletted image and pass its palette (768 bytes) through `change`.
template <class F>
HDIB WithNewPalette(const HDIB& image, F change) {
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* h = LockDib(out);
  if (!h || h->biBitCount > 8) return out;
  BYTE palette[768];
  GetDibPalette(h, palette);
  change(palette, PaletteEntries(h));
  PutDibPalette(h, palette);
  return out;
}

// Map every channel byte of a true-colour or grey image; a 32-bit pixel's
// fourth byte is carried over untouched.
template <class F>
HDIB MapSamples(const HDIB& image, int imageType, F map) {
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  int bytes = SampleBytes(src, imageType);
  if (!bytes) return out;
  int width = src->biWidth;
  ParallelBands(src->biHeight, 64, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* s = StoredRow(src, y);
      BYTE* d = StoredRow(o, y);
      if (bytes == 4) {
        for (int x = 0; x < width; ++x, s += 4, d += 4) map(s, d, 3);
      } else {
        map(s, d, width * bytes);
      }
    }
  });
  return out;
}

}  // namespace

HDIB FilterImposeLookupTable(const HDIB& image, const LOOKUPTABLE* table, const FILTERPARAM* param) {
  if (!table || !param || !LockDib(image)) return nullptr;
  const BYTE* t = table->value;
  if (param->ImageType == IMAGE_PALETTED || param->ImageType == IMAGE_MONO)
    return WithNewPalette(image, [&](BYTE* p, int n) {
      for (int i = 0; i < 3 * n; ++i) p[i] = t[p[i]];
    });
  return MapSamples(image, param->ImageType, [&](const BYTE* s, BYTE* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = t[s[i]];
  });
}

HDIB FilterImposeColourFilter(const HDIB& image, int red, int green, int blue, int intensity,
                              const FILTERPARAM* param) {
  if (!param || !LockDib(image)) return nullptr;
  if (param->ImageType == IMAGE_GREY || param->ImageType == IMAGE_MONO) return nullptr;
  // One table per channel: clamp(sample + offset + intensity).
  BYTE table[3][256];
  const int offset[3] = {red + intensity, green + intensity, blue + intensity};
  for (int c = 0; c < 3; ++c)
    for (int i = 0; i < 256; ++i) table[c][i] = static_cast<BYTE>(std::clamp(i + offset[c], 0, 255));
  if (param->ImageType == IMAGE_PALETTED)
    return WithNewPalette(image, [&](BYTE* p, int n) {
      for (int i = 0; i < n; ++i)
        for (int c = 0; c < 3; ++c) p[3 * i + c] = table[c][p[3 * i + c]];
    });
  // Stored bytes run blue, green, red.
  return MapSamples(image, IMAGE_TRUECOLOUR, [&](const BYTE* s, BYTE* d, int n) {
    for (int i = 0; i + 2 < n; i += 3) {
      d[i] = table[2][s[i]];
      d[i + 1] = table[1][s[i + 1]];
      d[i + 2] = table[0][s[i + 2]];
    }
  });
}

HDIB FilterContrastBrightness(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  LOOKUPTABLE table;
  FilterInitLookupTable(&table);
  FilterMakeContrastCurve(param->FilterContrast - 127, param->FilterBrightness - 127, &table);
  return FilterImposeLookupTable(image, &table, param);
}

HDIB FilterColourIntensity(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  return FilterImposeColourFilter(image, param->FilterRed - 128, param->FilterGreen - 128,
                                  param->FilterBlue - 128, param->FilterIntensity - 128, param);
}

HDIB FilterInvertColours(const HDIB& image, FILTERPARAM* param) {
  if (!param || !LockDib(image)) return nullptr;
  if (param->ImageType == IMAGE_PALETTED || param->ImageType == IMAGE_MONO)
    return WithNewPalette(image, [](BYTE* p, int n) {
      for (int i = 0; i < 3 * n; ++i) p[i] ^= 255;
    });
  return MapSamples(image, param->ImageType, [](const BYTE* s, BYTE* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<BYTE>(255 - s[i]);
  });
}

HDIB FilterSolarize(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  int threshold = param->FilterSolarizeThreshold;
  return MapSamples(image, param->ImageType, [threshold](const BYTE* s, BYTE* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i] < threshold ? static_cast<BYTE>(255 - s[i]) : s[i];
  });
}

}  // namespace ochrel
