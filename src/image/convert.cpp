#include "image/convert.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#endif

#include "image/dither.h"
#include "image/fastpath.h"
#include "image/nearest.h"
#include "image/parallel.h"
#include "image/progress.h"
#include "image/quantize.h"
#include "image/resample.h"

namespace ochrel {

namespace {

constexpr int kBand = 32;

// Calls pixel(x, r, g, b) for each pixel of stored row y, colours through the
// palette below 24 bits.
template <class F>
void ForRowColours(const BITMAPINFOHEADER* s, const BYTE* pal, int y, F pixel) {
  const BYTE* row = DibBits(s) + DibStride(s) * static_cast<std::size_t>(y);
  const int w = s->biWidth, bits = s->biBitCount;
  for (int x = 0; x < w; ++x) {
    if (bits >= 24) {
      const BYTE* p = row + static_cast<std::size_t>(x) * (bits / 8);
      pixel(x, p[2], p[1], p[0]);
    } else {
      int v = bits == 8   ? row[x]
              : bits == 4 ? ((x & 1) ? row[x >> 1] & 15 : row[x >> 1] >> 4)
                          : ((row[x >> 3] & masktable[x & 7]) ? 1 : 0);
      pixel(x, pal[3 * v], pal[3 * v + 1], pal[3 * v + 2]);
    }
  }
}

// The grey of a row of true-colour pixels. Each term of Luminance is
// truncated by itself, so three tables of the terms give it exactly.
struct LuminanceTerms {
  BYTE r[256], g[256], b[256];
  LuminanceTerms() {
    for (int v = 0; v < 256; ++v)
      r[v] = static_cast<BYTE>(v * 30 / 100), g[v] = static_cast<BYTE>(v * 59 / 100),
      b[v] = static_cast<BYTE>(v * 11 / 100);
  }
};
const LuminanceTerms kTerms;

void GreyRow(const BYTE* s, BYTE* d, int w, int step) {
  for (int x = 0; x < w; ++x, s += step) d[x] = static_cast<BYTE>(kTerms.r[s[2]] + kTerms.g[s[1]] + kTerms.b[s[0]]);
}

// The same terms as multiplies by 2^16 / 100 rounded so that the high half
// gives each quotient (checked below for every byte value). Written without tables so
// that the compiler can vectorise the loop.
constexpr bool GreyTermsExact() {
  for (unsigned v = 0; v < 256; ++v)
    if (v * 30 / 100 != (v * 19661u) >> 16 || v * 59 / 100 != (v * 38667u) >> 16 || v * 11 / 100 != (v * 7209u) >> 16)
      return false;
  return true;
}
static_assert(GreyTermsExact());

OCHREL_WIDE_VECTORS
void GreyRow24(const BYTE* __restrict s, BYTE* __restrict d, int w) {
  for (int x = 0; x < w; ++x)
    d[x] = static_cast<BYTE>(((s[3 * x + 2] * 19661u) >> 16) + ((s[3 * x + 1] * 38667u) >> 16) +
                             ((s[3 * x] * 7209u) >> 16));
}

#if defined(__GNUC__) && defined(__x86_64__)
// Thirty-two pixels at a time: byte permutes pick each channel into 16-bit
// lanes, and the high half of one multiply per channel gives its term.
__attribute__((target("avx512f,avx512bw,avx512vbmi"))) void GreyRow24Wide(const BYTE* s, BYTE* d, int w) {
  alignas(64) std::uint8_t index[3][64];
  for (int c = 0; c < 3; ++c)
    for (int x = 0; x < 32; ++x) index[c][2 * x] = static_cast<std::uint8_t>(3 * x + c), index[c][2 * x + 1] = 0;
  const __m512i ib = _mm512_load_si512(index[0]), ig = _mm512_load_si512(index[1]), ir = _mm512_load_si512(index[2]);
  const __mmask64 even = 0x5555555555555555ull;
  const __m512i mb = _mm512_set1_epi16(7209), mg = _mm512_set1_epi16(static_cast<short>(38667)),
                mr = _mm512_set1_epi16(19661);
  int x = 0;
  for (; x + 32 <= w; x += 32, s += 96) {
    const __m512i lo = _mm512_loadu_si512(s), hi = _mm512_maskz_loadu_epi8(0xFFFFFFFFull, s + 64);
    const __m512i b = _mm512_maskz_permutex2var_epi8(even, lo, ib, hi);
    const __m512i g = _mm512_maskz_permutex2var_epi8(even, lo, ig, hi);
    const __m512i r = _mm512_maskz_permutex2var_epi8(even, lo, ir, hi);
    const __m512i sum = _mm512_add_epi16(_mm512_add_epi16(_mm512_mulhi_epu16(r, mr), _mm512_mulhi_epu16(g, mg)),
                                         _mm512_mulhi_epu16(b, mb));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + x), _mm512_cvtepi16_epi8(sum));
  }
  GreyRow24(s, d + x, w - x);
}
bool HaveBytePermute() {
  static const bool have = __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw");
  return have;
}
#endif

inline void PutIndex(BYTE* row, int x, int bits, int v) {
  if (bits == 8) row[x] = static_cast<BYTE>(v);
  else if (bits == 4)
    row[x >> 1] = static_cast<BYTE>((x & 1) ? (row[x >> 1] & 0xF0) | (v & 15) : (row[x >> 1] & 0x0F) | ((v & 15) << 4));
  else if (v) row[x >> 3] |= masktable[x & 7];
  else row[x >> 3] &= static_cast<BYTE>(~masktable[x & 7]);
}

HDIB ConvertOntoPalette(const HDIB& image, const BYTE* palette, int bits) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !palette) return nullptr;
  HDIB out = CreateDib(s->biWidth, s->biHeight, palette, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  BYTE src[768];
  GetDibPalette(s, src);
  bool failed = false;
  std::unique_ptr<NearestColour> shared(new (std::nothrow) NearestColour(
      palette, 1 << bits, NearestColour::kEuclidean, static_cast<std::size_t>(s->biWidth) * s->biHeight));
  if (!shared || !shared->ok()) return nullptr;
  ParallelBands(s->biHeight, kBand, [&](int y0, int y1) {
    std::unique_ptr<NearestColour> nearest(new (std::nothrow) NearestColour(*shared));
    if (!nearest || !nearest->ok()) {
      failed = true;
      return;
    }
    for (int y = y0; y < y1; ++y) {
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      ForRowColours(s, src, y, [&](int x, int r, int g, int b) { PutIndex(orow, x, bits, nearest->Find(r, g, b)); });
    }
  });
  return failed ? nullptr : std::move(out);
}

}  // namespace

HDIB ConvertToGrey(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  BYTE ramp[768], src[768];
  GetDefaultPalette(ramp, nullptr, 10);
  GetDibPalette(s, src);
  const bool quick = FastPaths() && s->biBitCount >= 24;
  // The quick rows write every byte, their padding too.
  HDIB out = quick ? CreateDibUncleared(s->biWidth, s->biHeight, ramp, 8) : CreateDib(s->biWidth, s->biHeight, ramp, 8);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const std::size_t width = static_cast<std::size_t>(s->biWidth), pad = DibStride(o) - width;
#if defined(__GNUC__) && defined(__x86_64__)
  const bool wide = VectorUnit() >= 2 && HaveBytePermute();
#endif
  ParallelBands(s->biHeight, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      if (quick) {
        const BYTE* row = DibBits(s) + DibStride(s) * static_cast<std::size_t>(y);
        std::memset(orow + width, 0, pad);
#if defined(__GNUC__) && defined(__x86_64__)
        if (s->biBitCount == 24 && wide) {
          GreyRow24Wide(row, orow, s->biWidth);
          continue;
        }
#endif
        if (s->biBitCount == 24) GreyRow24(row, orow, s->biWidth);
        else GreyRow(row, orow, s->biWidth, s->biBitCount / 8);
        continue;
      }
      ForRowColours(s, src, y, [&](int x, int r, int g, int b) { orow[x] = static_cast<BYTE>(Luminance(r, g, b)); });
    }
  });
  return out;
}

HDIB ConvertToTrueColour(const HDIB& image) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  BYTE src[768];
  GetDibPalette(s, src);
  HDIB out = CreateDib(s->biWidth, s->biHeight, nullptr, 24);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  ParallelBands(s->biHeight, kBand, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      BYTE* orow = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      ForRowColours(s, src, y, [&](int x, int r, int g, int b) {
        BYTE* p = orow + 3 * static_cast<std::size_t>(x);
        p[0] = static_cast<BYTE>(b);
        p[1] = static_cast<BYTE>(g);
        p[2] = static_cast<BYTE>(r);
      });
    }
  });
  return out;
}

HDIB ConvertToEightBit(const HDIB& image, const BYTE* palette) { return ConvertOntoPalette(image, palette, 8); }
HDIB ConvertToFourBit(const HDIB& image, const BYTE* palette) { return ConvertOntoPalette(image, palette, 4); }
HDIB ConvertToMono(const HDIB& image, const BYTE* palette) { return ConvertOntoPalette(image, palette, 1); }

HDIB ConvertToMonoStrategy(const HDIB& image, int option, const DitherOptions& dither) {
  BYTE mono[768];
  GetDefaultPalette(mono, nullptr, 0);
  switch (option) {
    case IDC_MONO_REMAP: return RemapDib(image, mono, 1, 0);
    case IDC_MONO_BAYER: return ConvertToBayerDither2(image);
    default: return DitherDib(image, mono, 1, 0, dither);
  }
}

bool StrategyPalette(const HDIB& image, int option, bool preview, BYTE* palette) {
  int width = 0, height = 0;
  if (!GetBitmapDimensions(image, &width, &height, nullptr, nullptr)) return false;
  const bool fixed = option == IDC_PAL_QUANT240_FIXED_DITHER || option == IDC_PAL_QUANT240_FIXED_REMAP;
  int colours = fixed ? 240 : 256;
  if (!Quantize(width, height, &colours, palette, image)) return false;
  // Option 101 alone leaves the palette in the order the median cut made it.
  const bool sort = !preview && option != IDC_PAL_QUANT256_DITHER;
  if (sort) SortPalette(palette, colours);
  if (fixed) {
    BYTE windows[768];
    GetDefaultPalette(windows, nullptr, 3);
    std::memcpy(palette + 3 * 240, windows, 16 * 3);
  }
  return true;
}

HDIB ConvertToPaletteStrategy(const HDIB& image, int option, bool preview) {
  BYTE palette[768];
  // The median cut's palette is quick next to the pixels it is applied to.
  ProgressStage stage(0.0, 1.0);
  switch (option) {
    case IDC_PAL_QUANT240_FIXED_DITHER:
    case IDC_PAL_QUANT256_REMAP:
    case IDC_PAL_QUANT240_FIXED_REMAP:
      stage.Move(0.0, 0.1);
      if (!StrategyPalette(image, option, preview, palette)) return nullptr;
      stage.Move(0.1, 1.0);
      return option == IDC_PAL_QUANT240_FIXED_DITHER ? DitherDib(image, palette, 8, 0) : RemapDib(image, palette, 8, 0);
    case IDC_PAL_ORTHO_DITHER: GetDefaultPalette(palette, nullptr, 8); return DitherDib(image, palette, 8, 0);
    case IDC_PAL_ORTHO_REMAP: GetDefaultPalette(palette, nullptr, 8); return RemapDib(image, palette, 8, 0);
    case IDC_PAL_BAYER256: return ConvertToBayerDither256(image);
    case IDC_PAL_BAYER16: return ConvertToBayerDither16(image);
    case IDC_PAL_WINDOWS16: GetDefaultPalette(palette, nullptr, 3); return RemapDib(image, palette, 4, 0);
    default:
      stage.Move(0.0, 0.1);
      if (!StrategyPalette(image, IDC_PAL_QUANT256_DITHER, preview, palette)) return nullptr;
      stage.Move(0.1, 1.0);
      return DitherDib(image, palette, 8, 0);
  }
}

int MonoPreviewOption(const std::function<bool(int)>& isChecked) {
  for (int id : {IDC_MONO_REMAP, IDC_MONO_BAYER})
    if (isChecked(id)) return id;
  return IDC_MONO_DITHER;
}

int PalettePreviewOption(const std::function<bool(int)>& isChecked) {
  for (int id : {109, 108, 107, 106, 105, 104, 102, 103})
    if (isChecked(id)) return id;
  return IDC_PAL_QUANT256_DITHER;
}

int PreviewPercentage(int imageWidth, int imageHeight, int boxWidth, int boxHeight) {
  if (imageWidth <= 0 || imageHeight <= 0) return 0;
  long long a = static_cast<long long>(boxWidth) * 100 / imageWidth;
  long long b = static_cast<long long>(boxHeight) * 100 / imageHeight;
  long long p = a < b ? a : b;
  return p > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<int>(p);
}

HDIB ReducedPreviewImage(const HDIB& image, int boxWidth, int boxHeight, int* offsetX, int* offsetY) {
  int width = 0, height = 0;
  if (!GetBitmapDimensions(image, &width, &height, nullptr, nullptr)) return nullptr;
  HDIB reduced = ResizeDib(image, PreviewPercentage(width, height, boxWidth, boxHeight));
  if (!reduced) return nullptr;
  GetBitmapDimensions(reduced, &width, &height, nullptr, nullptr);
  if (offsetX) *offsetX = std::max(0, (boxWidth - width) / 2);
  if (offsetY) *offsetY = std::max(0, (boxHeight - height) / 2);
  return reduced;
}

HDIB MonoPreviewImage(const HDIB& image, int option, int boxWidth, int boxHeight, int* offsetX, int* offsetY,
                      const DitherOptions& dither) {
  HDIB reduced = ReducedPreviewImage(image, boxWidth, boxHeight, offsetX, offsetY);
  return reduced ? ConvertToMonoStrategy(reduced, option, dither) : nullptr;
}

HDIB PalettePreviewImage(const HDIB& image, int option, int boxWidth, int boxHeight, int* offsetX, int* offsetY) {
  HDIB reduced = ReducedPreviewImage(image, boxWidth, boxHeight, offsetX, offsetY);
  return reduced ? ConvertToPaletteStrategy(reduced, option, true) : nullptr;
}

}  // namespace ochrel
