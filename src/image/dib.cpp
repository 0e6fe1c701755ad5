#include "image/dib.h"

#include <algorithm>
#include <cstring>

namespace ochrel {

const BYTE masktable[8] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01};

BITMAPINFOHEADER* LockDib(const HDIB& handle) { return LockDib(handle.get()); }

namespace {
// The header must describe a block we can walk: a known size and a depth we handle.
bool PixelGeometryOk(const BITMAPINFOHEADER* h) { return h && h->biWidth > 0 && h->biHeight > 0; }
}  // namespace

std::uint32_t GetDibPixel(const BITMAPINFOHEADER* h, int x, int y) {
  if (!PixelGeometryOk(h) || x < 0 || y < 0 || x >= h->biWidth || y >= h->biHeight) return NOPIXEL;
  const BYTE* row = DibRow(h, y);
  switch (h->biBitCount) {
    case 1: return (row[x >> 3] & masktable[x & 7]) ? 1u : 0u;
    case 4: return (x & 1) ? (row[x >> 1] & 0x0F) : (row[x >> 1] >> 4);
    case 8: return row[x];
    case 24: {
      const BYTE* p = row + 3 * static_cast<std::size_t>(x);
      return RGB(p[2], p[1], p[0]);
    }
    case 32: {
      const BYTE* p = row + 4 * static_cast<std::size_t>(x);
      return RGB(p[2], p[1], p[0]) | (static_cast<std::uint32_t>(p[3]) << 24);
    }
    default: return NOPIXEL;
  }
}

void PutDibPixel(BITMAPINFOHEADER* h, int x, int y, std::uint32_t value) {
  if (value == NOPIXEL || !PixelGeometryOk(h) || x < 0 || y < 0 || x >= h->biWidth || y >= h->biHeight) return;
  BYTE* row = DibRow(h, y);
  switch (h->biBitCount) {
    case 1:
      if (value) row[x >> 3] |= masktable[x & 7];
      else row[x >> 3] &= static_cast<BYTE>(~masktable[x & 7]);
      break;
    case 4: {
      BYTE& b = row[x >> 1];
      if (x & 1) b = static_cast<BYTE>((b & 0xF0) | (value & 0x0F));
      else b = static_cast<BYTE>((b & 0x0F) | ((value & 0x0F) << 4));
      break;
    }
    case 8: row[x] = static_cast<BYTE>(value); break;
    case 24: {
      BYTE* p = row + 3 * static_cast<std::size_t>(x);
      p[0] = static_cast<BYTE>(GetBValue(value));
      p[1] = static_cast<BYTE>(GetGValue(value));
      p[2] = static_cast<BYTE>(GetRValue(value));
      break;
    }
    case 32: {
      BYTE* p = row + 4 * static_cast<std::size_t>(x);
      p[0] = static_cast<BYTE>(GetBValue(value));
      p[1] = static_cast<BYTE>(GetGValue(value));
      p[2] = static_cast<BYTE>(GetRValue(value));
      p[3] = static_cast<BYTE>(value >> 24);
      break;
    }
    default: break;
  }
}

int GetDibPalette(const BITMAPINFOHEADER* h, BYTE* palette) {
  if (palette) std::memset(palette, 0, 768);
  if (!h || h->biBitCount > 8) return 0;
  int n = 1 << h->biBitCount;
  if (palette) {
    const BYTE* e = DibPaletteEntries(h);
    for (int i = 0; i < n; ++i) {
      palette[3 * i] = e[4 * i + 2];
      palette[3 * i + 1] = e[4 * i + 1];
      palette[3 * i + 2] = e[4 * i];
    }
  }
  return n;
}

int PutDibPalette(BITMAPINFOHEADER* h, const BYTE* palette) {
  if (!h || h->biBitCount > 8) return 0;
  int n = 1 << h->biBitCount;
  if (palette) {
    BYTE* e = DibPaletteEntries(h);
    for (int i = 0; i < n; ++i) {
      e[4 * i] = palette[3 * i + 2];
      e[4 * i + 1] = palette[3 * i + 1];
      e[4 * i + 2] = palette[3 * i];
      e[4 * i + 3] = 0;
    }
  }
  return n;
}

int AdjustDIBits(int bits) {
  if (bits == 1) return 1;
  if (bits >= 2 && bits <= 4) return 4;
  if (bits >= 5 && bits <= 8) return 8;
  if (bits >= 9 && bits <= 24) return 24;
  return 32;
}

namespace {
HDIB NewDib(int width, int height, const BYTE* palette, int bits, bool clear) {
  bits = AdjustDIBits(bits);
  if (width <= 0 || height <= 0) return nullptr;
  std::size_t stride = DibStride(width, bits);
  std::size_t pixels = 0, total = 0;
  if (__builtin_mul_overflow(stride, static_cast<std::size_t>(height), &pixels)) return nullptr;
  if (__builtin_add_overflow(pixels, 40 + DibPaletteSize(bits), &total)) return nullptr;
  HDIB block = clear ? MemBlock::Allocate(total) : MemBlock::AllocateUncleared(total);
  BITMAPINFOHEADER* h = LockDib(block);
  if (!h) return nullptr;
  h->biSize = 40;
  h->biWidth = width;
  h->biHeight = height;
  h->biPlanes = 1;
  h->biBitCount = static_cast<std::uint16_t>(bits);
  h->biCompression = 0;
  h->biSizeImage = static_cast<std::uint32_t>(pixels);
  h->biXPelsPerMeter = 0;
  h->biYPelsPerMeter = 0;
  h->biClrUsed = h->biClrImportant = bits <= 8 ? (1u << bits) : 0u;
  if (bits <= 8 && palette) PutDibPalette(h, palette);
  return block;
}
}  // namespace

HDIB CreateDib(int width, int height, const BYTE* palette, int bits) {
  return NewDib(width, height, palette, bits, true);
}
HDIB CreateDibUncleared(int width, int height, const BYTE* palette, int bits) {
  return NewDib(width, height, palette, bits, false);
}

HGLOBAL DuplicateObject(const HGLOBAL& handle) {
  if (!handle || handle->size() < 1) return nullptr;
  HGLOBAL copy = MemBlock::AllocateUncleared(handle->size());  // every byte is copied over
  if (!copy) return nullptr;
  std::memcpy(copy->data(), handle->data(), handle->size());
  return copy;
}

int GetBitmapDimensions(const HDIB& handle, int* width, int* height, int* bits, BYTE* palette) {
  const BITMAPINFOHEADER* h = LockDib(handle);
  if (!h) return 0;
  if (width) *width = h->biWidth;
  if (height) *height = h->biHeight;
  if (bits) *bits = h->biBitCount;
  if (palette) GetDibPalette(h, palette);
  return 1;
}

namespace {
RECT Normalized(RECT r) {
  if (r.left > r.right) std::swap(r.left, r.right);
  if (r.top > r.bottom) std::swap(r.top, r.bottom);
  return r;
}

// Copies w pixels of a row at any supported depth; sx and dx are pixel columns.
void CopyRowPixels(const BYTE* src, int sx, BYTE* dst, int dx, int w, int bits) {
  if (w <= 0) return;
  switch (bits) {
    case 24:
      std::memcpy(dst + 3 * static_cast<std::size_t>(dx), src + 3 * static_cast<std::size_t>(sx),
                  3 * static_cast<std::size_t>(w));
      return;
    case 32:
      std::memcpy(dst + 4 * static_cast<std::size_t>(dx), src + 4 * static_cast<std::size_t>(sx),
                  4 * static_cast<std::size_t>(w));
      return;
    case 8: std::memcpy(dst + dx, src + sx, static_cast<std::size_t>(w)); return;
    case 4:
      for (int i = 0; i < w; ++i) {
        int s = sx + i, d = dx + i;
        int v = (s & 1) ? (src[s >> 1] & 0x0F) : (src[s >> 1] >> 4);
        BYTE& b = dst[d >> 1];
        b = (d & 1) ? static_cast<BYTE>((b & 0xF0) | v) : static_cast<BYTE>((b & 0x0F) | (v << 4));
      }
      return;
    case 1:
      for (int i = 0; i < w; ++i) {
        int s = sx + i, d = dx + i;
        if (src[s >> 3] & masktable[s & 7]) dst[d >> 3] |= masktable[d & 7];
        else dst[d >> 3] &= static_cast<BYTE>(~masktable[d & 7]);
      }
      return;
    default: return;
  }
}

HDIB CreateLike(const BITMAPINFOHEADER* src, int width, int height) {
  BYTE palette[768];
  GetDibPalette(src, palette);
  return CreateDib(width, height, src->biBitCount <= 8 ? palette : nullptr, src->biBitCount);
}
}  // namespace

HDIB CropImage(const HDIB& handle, RECT rect) {
  const BITMAPINFOHEADER* s = LockDib(handle);
  if (!s) return nullptr;
  RECT r = Normalized(rect);
  long long w = static_cast<long long>(r.right) - r.left, d = static_cast<long long>(r.bottom) - r.top;
  if (w <= 0 || d <= 0 || w > INT32_MAX || d > INT32_MAX) return nullptr;
  HDIB out = CreateLike(s, static_cast<int>(w), static_cast<int>(d));
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  // Only the overlap with the source is copied; the rest stays zero.
  long long x0 = std::max<long long>(r.left, 0), x1 = std::min<long long>(r.right, s->biWidth);
  long long y0 = std::max<long long>(r.top, 0), y1 = std::min<long long>(r.bottom, s->biHeight);
  for (long long y = y0; y < y1; ++y)
    CopyRowPixels(DibRow(s, static_cast<int>(y)), static_cast<int>(x0), DibRow(o, static_cast<int>(y - r.top)),
                  static_cast<int>(x0 - r.left), static_cast<int>(x1 - x0), s->biBitCount);
  return out;
}

namespace {
void FillRect(BITMAPINFOHEADER* h, std::uint32_t value, int x0, int y0, int x1, int y1) {
  x0 = std::max(x0, 0);
  y0 = std::max(y0, 0);
  x1 = std::min(x1, h->biWidth);
  y1 = std::min(y1, h->biHeight);
  if (x0 >= x1 || y0 >= y1 || value == NOPIXEL) return;
  int bits = h->biBitCount;
  if (bits == 8) {
    for (int y = y0; y < y1; ++y)
      std::memset(DibRow(h, y) + x0, static_cast<int>(value & 255), static_cast<std::size_t>(x1 - x0));
  } else if (bits == 24) {
    BYTE px[3] = {static_cast<BYTE>(GetBValue(value)), static_cast<BYTE>(GetGValue(value)),
                  static_cast<BYTE>(GetRValue(value))};
    for (int y = y0; y < y1; ++y) {
      BYTE* p = DibRow(h, y) + 3 * static_cast<std::size_t>(x0);
      for (int x = x0; x < x1; ++x, p += 3) {
        p[0] = px[0];
        p[1] = px[1];
        p[2] = px[2];
      }
    }
  } else {
    for (int y = y0; y < y1; ++y)
      for (int x = x0; x < x1; ++x) PutDibPixel(h, x, y, value);
  }
}
}  // namespace

HDIB MattImage(const HDIB& handle, int width, int height, int x, int y, std::uint32_t colour) {
  const BITMAPINFOHEADER* s = LockDib(handle);
  if (!s) return nullptr;
  HDIB out = CreateLike(s, width, height);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  FillRect(o, colour, 0, 0, width, height);
  long long sx0 = std::max<long long>(0, -static_cast<long long>(x));
  long long sx1 = std::min<long long>(s->biWidth, static_cast<long long>(width) - x);
  for (int sy = 0; sy < s->biHeight; ++sy) {
    long long dy = static_cast<long long>(sy) + y;
    if (dy < 0 || dy >= height) continue;
    if (sx1 > sx0)
      CopyRowPixels(DibRow(s, sy), static_cast<int>(sx0), DibRow(o, static_cast<int>(dy)), static_cast<int>(sx0 + x),
                    static_cast<int>(sx1 - sx0), s->biBitCount);
  }
  return out;
}

int InsetSolidRectangle(const HDIB& handle, std::uint32_t value, RECT rect) {
  BITMAPINFOHEADER* h = LockDib(handle);
  if (!h) return 0;
  FillRect(h, value, rect.left, rect.top, rect.right, rect.bottom);
  return 1;
}

int InsetSolidMask(const HDIB& handle, std::uint32_t value, RECT rect, const HDIB& mask) {
  BITMAPINFOHEADER* h = LockDib(handle);
  const BITMAPINFOHEADER* m = LockDib(mask);
  if (!h || !m) return 0;
  int w = rect.right - rect.left, d = rect.bottom - rect.top;
  for (int j = 0; j < d; ++j)
    for (int i = 0; i < w; ++i) {
      std::uint32_t v = GetDibPixel(m, i, j);
      if (v != NOPIXEL && v > 0) PutDibPixel(h, rect.left + i, rect.top + j, value);
    }
  return 1;
}

int GetImageType(const HDIB& handle, const BITMAPINFOHEADER* header) {
  const BITMAPINFOHEADER* h = handle ? LockDib(handle) : header;
  if (!h) return IMAGE_NONE;
  int bits = h->biBitCount;
  if (bits == 0 || bits > 8) return IMAGE_TRUECOLOUR;
  if (bits == 1) return IMAGE_MONO;
  if (bits == 8) {
    const BYTE* e = DibPaletteEntries(h);
    bool grey = true;
    for (int i = 0; i < 256 && grey; ++i) grey = e[4 * i] == i && e[4 * i + 1] == i && e[4 * i + 2] == i;
    if (grey) return IMAGE_GREY;
  }
  return IMAGE_PALETTED;
}

namespace {
int g_displayBits = 24;
}
int GetDisplayBits() { return g_displayBits; }
void SetDisplayBits(int bits) { g_displayBits = bits >= 9 ? 24 : bits; }

int RealizeWindowPalette(PALSTATE* state, const BYTE* palette, int count) {
  if (state) *state = PALSTATE{};
  if (count > 256) return 1;
  int entries = count >= 17 ? 256 : (count >= 2 ? 16 : count);
  if (state) state->count = entries;
  (void)palette;
  return 1;
}

void UnrealizeWindowPalette(PALSTATE* state) {
  if (state) *state = PALSTATE{};
}

void DibToRgb32(const BITMAPINFOHEADER* h, int x, int y, int w, int hgt, std::uint32_t* dst, std::size_t dstStride) {
  if (!h || w <= 0 || hgt <= 0) return;
  std::uint32_t lut[256] = {};
  int bits = h->biBitCount;
  if (bits <= 8) {
    const BYTE* e = DibPaletteEntries(h);
    for (int i = 0; i < (1 << bits); ++i)
      lut[i] = 0xFF000000u | (std::uint32_t{e[4 * i + 2]} << 16) | (std::uint32_t{e[4 * i + 1]} << 8) | e[4 * i];
  }
  for (int j = 0; j < hgt; ++j) {
    const BYTE* row = DibRow(h, y + j);
    auto* out =
        reinterpret_cast<std::uint32_t*>(reinterpret_cast<BYTE*>(dst) + dstStride * static_cast<std::size_t>(j));
    switch (bits) {
      case 24: {
        const BYTE* p = row + 3 * static_cast<std::size_t>(x);
        for (int i = 0; i < w; ++i, p += 3)
          out[i] = 0xFF000000u | (std::uint32_t{p[2]} << 16) | (std::uint32_t{p[1]} << 8) | p[0];
        break;
      }
      case 32: {
        const BYTE* p = row + 4 * static_cast<std::size_t>(x);
        for (int i = 0; i < w; ++i, p += 4)
          out[i] = 0xFF000000u | (std::uint32_t{p[2]} << 16) | (std::uint32_t{p[1]} << 8) | p[0];
        break;
      }
      case 8: {
        const BYTE* p = row + x;
        for (int i = 0; i < w; ++i) out[i] = lut[p[i]];
        break;
      }
      case 4:
        for (int i = 0; i < w; ++i) {
          int s = x + i;
          out[i] = lut[(s & 1) ? (row[s >> 1] & 0x0F) : (row[s >> 1] >> 4)];
        }
        break;
      case 1:
        for (int i = 0; i < w; ++i) {
          int s = x + i;
          out[i] = lut[(row[s >> 3] & masktable[s & 7]) ? 1 : 0];
        }
        break;
      default:
        for (int i = 0; i < w; ++i) out[i] = 0xFF000000u;
    }
  }
}

}  // namespace ochrel
