// Small helpers shared by the filter sources; not part of the engine's interface.
#pragma once

#include <cstring>
#include <new>
#include <vector>

#include "image/dib.h"
#include "image/progress.h"

namespace ochrel::filterutil {

// A new image of the given size with the source's depth and palette.
inline HDIB CreateLike(const BITMAPINFOHEADER* src, int width, int height) {
  BYTE palette[768];
  GetDibPalette(src, palette);
  return CreateDib(width, height, src->biBitCount <= 8 ? palette : nullptr, src->biBitCount);
}

// Bytes of one pixel for the layouts the sample-based filters handle: 3 or 4 for
// true colour, 1 for 8-bit grey; 0 for anything they leave alone.
inline int SampleBytes(const BITMAPINFOHEADER* h, int imageType) {
  if (!h) return 0;
  if (imageType == IMAGE_TRUECOLOUR && (h->biBitCount == 24 || h->biBitCount == 32)) return h->biBitCount / 8;
  if (imageType == IMAGE_GREY && h->biBitCount == 8) return 1;
  return 0;
}

// Stored row y (0 is the bottom row of the picture).
inline BYTE* StoredRow(BITMAPINFOHEADER* h, int y) { return DibBits(h) + DibStride(h) * static_cast<std::size_t>(y); }
inline const BYTE* StoredRow(const BITMAPINFOHEADER* h, int y) {
  return DibBits(h) + DibStride(h) * static_cast<std::size_t>(y);
}

// A vector that reports failure instead of throwing.
template <class T>
bool TryResize(std::vector<T>& v, std::size_t n) {
  try {
    v.resize(n);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::length_error&) {
    return false;
  }
}

inline BYTE ClampRound(double v) {
  return v < 0.0 ? 0 : v > 255.0 ? 255 : static_cast<BYTE>(static_cast<int>(v + 0.5));
}

}  // namespace ochrel::filterutil
