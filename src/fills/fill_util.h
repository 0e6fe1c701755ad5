// Small helpers shared by the fill generators.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "image/dib.h"

namespace ochrel::fills {

// A 24-bit DIB with the default true-colour palette, every pixel `colour`.
// Null on failure (including a width or depth below 1).
inline HDIB CreateSolidDib24(int width, int depth, COLORREF colour) {
  if (width < 1 || depth < 1) return nullptr;
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  HDIB dib = CreateDib(width, depth, palette, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  const BYTE b = static_cast<BYTE>(GetBValue(colour)), g = static_cast<BYTE>(GetGValue(colour)),
             r = static_cast<BYTE>(GetRValue(colour));
  for (int y = 0; y < depth; ++y) {
    BYTE* p = DibRow(h, y);
    for (int x = 0; x < width; ++x, p += 3) {
      p[0] = b;
      p[1] = g;
      p[2] = r;
    }
  }
  return dib;
}

// Working memory that never throws: null when it cannot be had.
template <typename T>
struct Scratch {
  HGLOBAL block;
  T* data() { return block ? reinterpret_cast<T*>(block->data()) : nullptr; }
  explicit operator bool() const { return static_cast<bool>(block); }
};
template <typename T>
Scratch<T> AllocScratch(std::size_t count) {
  if (count == 0 || count > SIZE_MAX / sizeof(T)) return {};
  return {MemBlock::Allocate(count * sizeof(T))};
}

// The coverage blend of one 8-bit channel.
inline BYTE BlendChannel(int colour, int old, int w) {
  return static_cast<BYTE>((colour * w) / 255 + (old * (255 - w)) / 255);
}

}  // namespace ochrel::fills
