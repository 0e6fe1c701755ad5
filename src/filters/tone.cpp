#include "filters/tone.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "filters/filterutil.h"
#include "image/fastpath.h"
#include "image/parallel.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#define OCHREL_HAVE_BYTE_PERMUTE 1
#endif

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

#if OCHREL_HAVE_BYTE_PERMUTE
// A 256-entry byte table looked up 64 bytes at a time: two 128-byte permutes,
// chosen by each byte's top bit. Exactly t[s[i]] for every byte. With
// `stream`, whole aligned lines are stored past the cache: a picture larger
// than the cache then skips reading each destination line before writing it.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) void TableRowWide(const BYTE* t, const BYTE* s, BYTE* d, int n,
                                                                         bool stream) {
  const __m512i t0 = _mm512_loadu_si512(t), t1 = _mm512_loadu_si512(t + 64);
  const __m512i t2 = _mm512_loadu_si512(t + 128), t3 = _mm512_loadu_si512(t + 192);
  auto map = [&](int i) __attribute__((target("avx512f,avx512bw,avx512vbmi"))) {
    __m512i v = _mm512_loadu_si512(s + i);
    __m512i lo = _mm512_permutex2var_epi8(t0, v, t1), hi = _mm512_permutex2var_epi8(t2, v, t3);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(v), lo, hi);
  };
  int i = 0;
  if (stream) {
    for (; i < n && (reinterpret_cast<std::uintptr_t>(d + i) & 63); ++i) d[i] = t[s[i]];
    for (; i + 64 <= n; i += 64) _mm512_stream_si512(reinterpret_cast<__m512i*>(d + i), map(i));
    _mm_sfence();
  }
  for (; i + 64 <= n; i += 64) _mm512_storeu_si512(d + i, map(i));
  for (; i < n; ++i) d[i] = t[s[i]];
}
bool HaveByteTable() {
  static const bool have = __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw");
  return have;
}
#endif

// The quick form of a per-byte rule given as a table: each row copied (so the
// row's padding and a 32-bit pixel's fourth byte come along) and mapped while
// it is in the cache, instead of a whole copy of the image followed by a
// second pass. Null when the quick form does not apply.
HDIB MapByTable(const HDIB& image, int imageType, const BYTE* t) {
  const BITMAPINFOHEADER* src = LockDib(image);
  const int bytes = SampleBytes(src, imageType);
  if (!FastPaths() || !bytes) return nullptr;
  HDIB out = MemBlock::AllocateUncleared(image->size());  // every byte is written below
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const std::size_t head = static_cast<std::size_t>(DibBits(src) - image->data());
  const std::size_t stride = DibStride(src), rows = stride * static_cast<std::size_t>(src->biHeight);
  std::memcpy(out->data(), image->data(), head);
  if (head + rows < image->size())
    std::memcpy(out->data() + head + rows, image->data() + head + rows, image->size() - head - rows);
  const int width = src->biWidth;
#if OCHREL_HAVE_BYTE_PERMUTE
  const bool wide = VectorUnit() >= 2 && HaveByteTable();
  const bool stream = rows >= (std::size_t{16} << 20);
#endif
  ParallelBands(src->biHeight, 64, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* s = StoredRow(src, y);
      BYTE* d = StoredRow(o, y);
      if (bytes == 4) {
        std::memcpy(d, s, stride);
        for (int x = 0; x < width; ++x, s += 4, d += 4) d[0] = t[s[0]], d[1] = t[s[1]], d[2] = t[s[2]];
        continue;
      }
      const int n = width * bytes;
      std::memcpy(d + n, s + n, stride - n);
#if OCHREL_HAVE_BYTE_PERMUTE
      if (wide) {
        TableRowWide(t, s, d, n, stream);
        continue;
      }
#endif
      for (int i = 0; i < n; ++i) d[i] = t[s[i]];
    }
  });
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
  if (HDIB quick = MapByTable(image, param->ImageType, t)) return quick;
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
  return FilterImposeColourFilter(image, param->FilterRed - 128, param->FilterGreen - 128, param->FilterBlue - 128,
                                  param->FilterIntensity - 128, param);
}

HDIB FilterInvertColours(const HDIB& image, FILTERPARAM* param) {
  if (!param || !LockDib(image)) return nullptr;
  if (param->ImageType == IMAGE_PALETTED || param->ImageType == IMAGE_MONO)
    return WithNewPalette(image, [](BYTE* p, int n) {
      for (int i = 0; i < 3 * n; ++i) p[i] ^= 255;
    });
  BYTE table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<BYTE>(255 - i);
  if (HDIB quick = MapByTable(image, param->ImageType, table)) return quick;
  return MapSamples(image, param->ImageType, [](const BYTE* s, BYTE* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<BYTE>(255 - s[i]);
  });
}

HDIB FilterSolarize(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  int threshold = param->FilterSolarizeThreshold;
  if (!LockDib(image)) return nullptr;
  BYTE table[256];
  for (int i = 0; i < 256; ++i) table[i] = i < threshold ? static_cast<BYTE>(255 - i) : static_cast<BYTE>(i);
  if (HDIB quick = MapByTable(image, param->ImageType, table)) return quick;
  return MapSamples(image, param->ImageType, [threshold](const BYTE* s, BYTE* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i] < threshold ? static_cast<BYTE>(255 - s[i]) : s[i];
  });
}

}  // namespace ochrel
