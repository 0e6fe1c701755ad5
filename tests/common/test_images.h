// Small helpers shared by the test folders: deterministic images of every depth.
#pragma once

#include <cstdint>
#include <random>

#include "image/dib.h"

namespace ochrel::test {

// A DIB of the given depth filled with reproducible random pixels. Paletted
// depths get palette `paletteNumber` (10, the grey ramp, for a grey image).
inline HDIB RandomDib(int width, int height, int bits, unsigned seed, int paletteNumber = 8) {
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, bits == 1 ? 0 : paletteNumber);
  HDIB dib = CreateDib(width, height, palette, bits);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  std::mt19937 rng(seed);
  BYTE* bits0 = DibBits(h);
  for (std::size_t i = 0; i < h->biSizeImage; ++i) bits0[i] = static_cast<BYTE>(rng());
  // Keep padding bytes at zero so that whole-block comparisons are meaningful.
  std::size_t used = (static_cast<std::size_t>(width) * h->biBitCount + 7) / 8;
  for (int y = 0; y < height; ++y) {
    BYTE* row = DibRow(h, y);
    for (std::size_t k = used; k < DibStride(h); ++k) row[k] = 0;
    if ((width * h->biBitCount) % 8) row[used - 1] &= static_cast<BYTE>(0xFF00 >> ((width * h->biBitCount) % 8));
  }
  return dib;
}

// An image of one pixel value: a colour at 24 bits, an index below (on the
// grey ramp unless another default palette is named).
inline HDIB Uniform(int width, int height, int bits, std::uint32_t value, int paletteNumber = 10) {
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, paletteNumber);
  HDIB dib = CreateDib(width, height, palette, bits);
  InsetSolidRectangle(dib, value, RECT{0, 0, width, height});
  return dib;
}

inline bool SameBlock(const HDIB& a, const HDIB& b) {
  if (!a || !b || a->size() != b->size()) return false;
  for (std::size_t i = 0; i < a->size(); ++i)
    if (a->data()[i] != b->data()[i]) return false;
  return true;
}

// Same size, depth and pixel values, whatever the palettes and header extras.
inline bool SamePixels(const HDIB& a, const HDIB& b) {
  const BITMAPINFOHEADER *ha = LockDib(a), *hb = LockDib(b);
  if (!ha || !hb || ha->biWidth != hb->biWidth || ha->biHeight != hb->biHeight || ha->biBitCount != hb->biBitCount)
    return false;
  for (int y = 0; y < ha->biHeight; ++y)
    for (int x = 0; x < ha->biWidth; ++x)
      if (GetDibPixel(ha, x, y) != GetDibPixel(hb, x, y)) return false;
  return true;
}

inline COLORREF Pixel(const HDIB& dib, int x, int y) { return GetDibPixel(LockDib(dib), x, y); }

}  // namespace ochrel::test
