#include "filters/geometry.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#endif

#include "filters/filterutil.h"
#include "image/fastpath.h"
#include "image/parallel.h"
#include "image/resample.h"

namespace ochrel {

using filterutil::StoredRow;
using filterutil::TryResize;

HDIB RotateDib90(const HDIB& image) { return RotateImage270(image); }
HDIB RotateDib180(const HDIB& image) { return RotateImage180(image); }
HDIB RotateDib270(const HDIB& image) { return RotateImage90(image); }
HDIB FlipDibHorizontal(const HDIB& image) { return FlipImageHorizontal(image); }
HDIB FlipDibVertical(const HDIB& image) { return FlipImageVertical(image); }

namespace {

// Pixel reads without a call per pixel for the common depths.
struct PixelReader {
  const BITMAPINFOHEADER* h;
  int w, hgt, bits;
  explicit PixelReader(const BITMAPINFOHEADER* header)
      : h(header), w(header->biWidth), hgt(header->biHeight), bits(header->biBitCount) {}
  std::uint32_t operator()(int x, int y) const {
    if (x < 0 || y < 0 || x >= w || y >= hgt) return NOPIXEL;
    const BYTE* row = DibRow(h, y);
    if (bits == 24) {
      const BYTE* p = row + 3 * static_cast<std::size_t>(x);
      return RGB(p[2], p[1], p[0]);
    }
    if (bits == 8) return row[x];
    return GetDibPixel(h, x, y);
  }
};

inline int Lerp4(int A, int B, int C, int D, double fx, double fy) {
  double top = A + (B - A) * fx;
  double bottom = C + (D - C) * fx;
  return static_cast<int>(0.5 + top + (bottom - top) * fy) & 255;
}

// The interpolating turn of a row of 8- or 24-bit pixels, 64 at a time: each
// sample's position, weights and four neighbours are chosen as the per-pixel
// form chooses them and then worked out with its very operations, only laid
// out so that they vectorise.
struct RotateFrame {
  int w, h, hw, hh, hnw;
  double c, sn;
  const BYTE* bits;
  std::size_t stride;
  int channels;
  int background[3];  // the background's stored bytes
};

constexpr int kRotateChunk = 64;
// What a sample's four neighbours are.
enum : BYTE { kBackground, kFour, kRepeated };

// Whole chunks, so that the loops vectorise without a remainder; samples past
// the row's end are worked out and not stored.
OCHREL_WIDE_VECTORS
void RotatePositions(const RotateFrame& f, double Y, int x0, int* __restrict ix, int* __restrict iy,
                     double* __restrict fx, double* __restrict fy, BYTE* __restrict kind) {
  const int w = f.w, h = f.h, hnw = f.hnw;
  const double hw = f.hw, hh = f.hh, c = f.c, sn = f.sn, right = w + 1.0, top = h + 1.0;
  for (int k = 0; k < kRotateChunk; ++k) {
    const double X = x0 + k - hnw;
    const double sx = hw + X * c - Y * sn;
    const double sy = hh + Y * c + X * sn;
    // The range test first: truncation is only defined near the picture.
    const bool near = (sx > -2.0) & (sx < right) & (sy > -2.0) & (sy < top);
    const int a = static_cast<int>(near ? sx : 0.0), b = static_cast<int>(near ? sy : 0.0);
    const bool in = near & (a >= 0) & (a < w) & (b >= 0) & (b < h);
    const bool four = (a + 1 < w) & (b + 1 < h);
    kind[k] = in ? (four ? kFour : kRepeated) : kBackground;
    ix[k] = in ? a : 0;
    iy[k] = in ? b : 0;
    fx[k] = sx - a;
    fy[k] = sy - b;
  }
}

OCHREL_WIDE_VECTORS
void RotateLerp(const int* __restrict A, const int* __restrict B, const int* __restrict C, const int* __restrict D,
                const double* __restrict fx, const double* __restrict fy, int* __restrict out) {
  for (int k = 0; k < kRotateChunk; ++k) out[k] = Lerp4(A[k], B[k], C[k], D[k], fx[k], fy[k]);
}

#if defined(__GNUC__) && defined(__x86_64__)
#pragma GCC diagnostic push
// GCC's own headers start some conversions from an undefined vector.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#define OCHREL_ROTATE_WIDE __attribute__((target("avx512f,avx512dq,avx512vl,avx512bw,bmi2")))

// One channel of sixteen samples by Lerp4's own double operations; q holds
// the four neighbours' pixel words (blue, green, red, any).
OCHREL_ROTATE_WIDE inline __m512i LerpExact(const __m512i* q, int ch, const __m512d* fx, const __m512d* fy) {
  const __m512i byte = _mm512_set1_epi32(255);
  __m256i t[2];
  for (int part = 0; part < 2; ++part) {
    __m512d s[4];
    for (int n = 0; n < 4; ++n) {
      const __m512i v = _mm512_and_si512(_mm512_srli_epi32(q[n], 8 * ch), byte);
      s[n] = _mm512_cvtepi32_pd(part ? _mm512_extracti64x4_epi64(v, 1) : _mm512_castsi512_si256(v));
    }
    const __m512d upper = _mm512_add_pd(s[0], _mm512_mul_pd(_mm512_sub_pd(s[1], s[0]), fx[part]));
    const __m512d lower = _mm512_add_pd(s[2], _mm512_mul_pd(_mm512_sub_pd(s[3], s[2]), fx[part]));
    t[part] = _mm512_cvttpd_epi32(
        _mm512_add_pd(_mm512_add_pd(_mm512_set1_pd(0.5), upper), _mm512_mul_pd(_mm512_sub_pd(lower, upper), fy[part])));
  }
  return _mm512_inserti64x4(_mm512_castsi256_si512(t[0]), t[1], 1);
}

// The whole row for 24-bit pixels, sixteen samples a step. Positions, kinds
// and weights are RotatePositions' very double operations, lane by lane. The
// lerp runs in single precision, sixteen lanes wide: its error is below 7200
// units of 2^-24 for weights in (-1, 1) and bytes (each rounding bounded by
// the size of its operands), so where the float result lies further than
// 2^-10 from a whole number it truncates as the exact value, and so as the
// double form, does; a channel with any lane closer is redone in doubles.
// Every byte of the row, padding and mask nibbles included, is written, so
// the output may come uncleared. Pixel ix + 1's bytes are read as the top
// three of the word at its second byte, so that no read passes the row's
// end; for the first pixel of stored row 0 that word starts in the header,
// which lies in the same block.
OCHREL_ROTATE_WIDE void RotateRow24Fused(const RotateFrame& f, double Y, int nw, BYTE* D, BYTE* M, std::size_t rowBytes,
                                         std::size_t maskBytes) {
  const __m512d hw = _mm512_set1_pd(f.hw), c = _mm512_set1_pd(f.c), sn = _mm512_set1_pd(f.sn);
  const __m512d ysn = _mm512_set1_pd(Y * f.sn), hhyc = _mm512_set1_pd(f.hh + Y * f.c);
  const __m256i w = _mm256_set1_epi32(f.w), h = _mm256_set1_epi32(f.h), one = _mm256_set1_epi32(1);
  const __m256i zero = _mm256_setzero_si256(), lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  const __m512i stride = _mm512_set1_epi64(static_cast<long long>(f.stride));
  const long long bgWord = f.background[0] | f.background[1] << 8 | f.background[2] << 16;
  const __m512i bgPair = _mm512_set1_epi64(bgWord << 16 | bgWord << 40);
  const __m512i byte = _mm512_set1_epi32(255), five = _mm512_set1_epi64(5);
  const __m512 halfF = _mm512_set1_ps(0.5f), margin = _mm512_set1_ps(1.0f / 1024);
  // Rows 0 and 1 from their first byte: there is a second row whenever a
  // sample has four neighbours, and a row holds at least eight bytes then.
  const __m512i safe = _mm512_set1_epi64(static_cast<long long>(f.stride) + 2);
  // The low words of sixteen 64-bit lanes held in two vectors.
  const __m512i lows = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
  // Four pixel words of each 128-bit lane to its first twelve bytes, then
  // those twelve-byte runs together.
  const __m512i pack = _mm512_broadcast_i32x4(_mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
  const __m512i runs = _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 3, 7, 11, 15);
  // Where this row's samples lie in the source, for the prefetches.
  const double rowX = f.hw - Y * f.sn, rowY = f.hh + Y * f.c;
  // Whole numbers, so that stepping them is exact.
  __m512d X = _mm512_cvtepi32_pd(_mm256_add_epi32(_mm256_set1_epi32(-f.hnw), lanes));
  const __m512d eight = _mm512_set1_pd(8.0);
  for (int x0 = 0; x0 < nw; x0 += 16) {
    {
      // The source lines of the samples four steps ahead: along a slanted
      // line the processor does not foresee them, and waits on each.
      const double X0 = x0 + 64 - f.hnw, X1 = X0 + 15;
      const double ax = rowX + X0 * f.c, bx = rowX + X1 * f.c, ay = rowY + X0 * f.sn, by = rowY + X1 * f.sn;
      const double x0s = std::max(0.0, std::min(ax, bx)), x1s = std::min(f.w - 2.0, std::max(ax, bx));
      const double y0s = std::max(0.0, std::min(ay, by)), y1s = std::min(f.h - 2.0, std::max(ay, by));
      if (x0s <= x1s && y0s <= y1s) {
        const std::size_t from = 3 * static_cast<std::size_t>(x0s), to = 3 * static_cast<std::size_t>(x1s) + 5;
        for (int r = static_cast<int>(y0s); r <= static_cast<int>(y1s) + 1; ++r) {
          const BYTE* rowStart = f.bits + f.stride * static_cast<std::size_t>(f.h - 1 - r);
          _mm_prefetch(reinterpret_cast<const char*>(rowStart + from), _MM_HINT_T0);
          _mm_prefetch(reinterpret_cast<const char*>(rowStart + to), _MM_HINT_T0);
        }
      }
    }
    __m512i above[2], below[2], word[2];
    __m512d fx[2], fy[2];
    unsigned inBits = 0, repeatedBits = 0;
#pragma GCC unroll 2
    for (int part = 0; part < 2; ++part) {
      const __m512d sx = _mm512_sub_pd(_mm512_add_pd(hw, _mm512_mul_pd(X, c)), ysn);
      const __m512d sy = _mm512_add_pd(hhyc, _mm512_mul_pd(X, sn));
      X = _mm512_add_pd(X, eight);
      // The per-pixel form's nearness test is implied by the range tests
      // (far outside, truncation gives the indefinite integer, which fails
      // them); samples outside get other weights, but on four equal values.
      const __m256i a = _mm512_cvttpd_epi32(sx);
      const __m256i b = _mm512_cvttpd_epi32(sy);
      const __mmask8 in = _mm256_cmpge_epi32_mask(a, zero) & _mm256_cmplt_epi32_mask(a, w) &
                          _mm256_cmpge_epi32_mask(b, zero) & _mm256_cmplt_epi32_mask(b, h);
      const __mmask8 four = in & _mm256_cmplt_epi32_mask(_mm256_add_epi32(a, one), w) &
                            _mm256_cmplt_epi32_mask(_mm256_add_epi32(b, one), h);
      fx[part] = _mm512_sub_pd(sx, _mm512_cvtepi32_pd(a));
      fy[part] = _mm512_sub_pd(sy, _mm512_cvtepi32_pd(b));
      // Lanes whose row is out of range are not used: they read the safe word.
      const __m512i row = _mm512_cvtepi32_epi64(_mm256_sub_epi32(_mm256_sub_epi32(h, one), b));
      const __m512i at = _mm512_add_epi64(_mm512_mul_epu32(row, stride),
                                          _mm512_cvtepi32_epi64(_mm256_add_epi32(a, _mm256_slli_epi32(a, 1))));
      // Loads one by one: the gather instruction is slower here. Samples
      // without four neighbours read a safe word and take the background.
      alignas(64) long long where[8];
      _mm512_store_si512(where, _mm512_mask_mov_epi64(safe, four, at));
      long long up[8], down[8];
      for (int l = 0; l < 8; ++l) {
        std::memcpy(&up[l], f.bits + where[l] - 2, 8);
        std::memcpy(&down[l], f.bits + where[l] - 2 - f.stride, 8);
      }
      above[part] = _mm512_mask_mov_epi64(bgPair, four, _mm512_loadu_si512(up));
      below[part] = _mm512_mask_mov_epi64(bgPair, four, _mm512_loadu_si512(down));
      // At the last column or row: the one pixel for all four, read as the top
      // three bytes of the word ending with it.
      const __mmask8 repeated = in & ~four;
      word[part] = _mm512_setzero_si512();
      if (repeated)
        word[part] = _mm512_mask_i64gather_epi64(word[part], repeated, _mm512_sub_epi64(at, five), f.bits, 1);
      inBits |= static_cast<unsigned>(in) << (8 * part);
      repeatedBits |= static_cast<unsigned>(repeated) << (8 * part);
    }
    // The neighbours' pixel words, sixteen lanes: A and B from the row above,
    // C and D from the row below.
    __m512i q[4] = {_mm512_permutex2var_epi32(_mm512_srli_epi64(above[0], 16), lows, _mm512_srli_epi64(above[1], 16)),
                    _mm512_permutex2var_epi32(_mm512_srli_epi64(above[0], 40), lows, _mm512_srli_epi64(above[1], 40)),
                    _mm512_permutex2var_epi32(_mm512_srli_epi64(below[0], 16), lows, _mm512_srli_epi64(below[1], 16)),
                    _mm512_permutex2var_epi32(_mm512_srli_epi64(below[0], 40), lows, _mm512_srli_epi64(below[1], 40))};
    if (repeatedBits) {
      const __m512i p = _mm512_permutex2var_epi32(_mm512_srli_epi64(word[0], 40), lows, _mm512_srli_epi64(word[1], 40));
      for (auto& v : q) v = _mm512_mask_mov_epi32(v, static_cast<__mmask16>(repeatedBits), p);
    }
    const __m512 fxs = _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(fx[0])), _mm512_cvtpd_ps(fx[1]), 1);
    const __m512 fys = _mm512_insertf32x8(_mm512_castps256_ps512(_mm512_cvtpd_ps(fy[0])), _mm512_cvtpd_ps(fy[1]), 1);
    __m512i t[3];
#pragma GCC unroll 3
    for (int ch = 0; ch < 3; ++ch) {
      __m512 s[4];
#pragma GCC unroll 4
      for (int n = 0; n < 4; ++n) s[n] = _mm512_cvtepi32_ps(_mm512_and_si512(_mm512_srli_epi32(q[n], 8 * ch), byte));
      const __m512 upper = _mm512_add_ps(s[0], _mm512_mul_ps(_mm512_sub_ps(s[1], s[0]), fxs));
      const __m512 lower = _mm512_add_ps(s[2], _mm512_mul_ps(_mm512_sub_ps(s[3], s[2]), fxs));
      const __m512 v = _mm512_add_ps(_mm512_add_ps(halfF, upper), _mm512_mul_ps(_mm512_sub_ps(lower, upper), fys));
      // v less its nearest whole number.
      const __m512 off = _mm512_abs_ps(_mm512_reduce_ps(v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
      t[ch] = _mm512_cmp_ps_mask(off, margin, _CMP_LT_OQ) ? LerpExact(q, ch, fx, fy) : _mm512_cvttps_epi32(v);
    }
    // Blue | green << 8 | red << 16, each to its low byte; the top byte is dropped.
    const __m512i bg = _mm512_ternarylogic_epi32(_mm512_set1_epi32(0xff), t[0], _mm512_slli_epi32(t[1], 8), 0xca);
    const __m512i px = _mm512_ternarylogic_epi32(_mm512_set1_epi32(0xffff), bg, _mm512_slli_epi32(t[2], 16), 0xca);
    const __m512i packed = _mm512_permutexvar_epi32(runs, _mm512_shuffle_epi8(px, pack));
    const int n = std::min(16, nw - x0);
    _mm512_mask_storeu_epi8(D + 3 * static_cast<std::size_t>(x0), (1ull << (3 * n)) - 1, packed);
    inBits &= (1u << n) - 1;
    // Pixel 2j's flag to bit 4 of byte j, pixel 2j + 1's to bit 0.
    const unsigned swapped = ((inBits & 0x5555u) << 1) | ((inBits >> 1) & 0x5555u);
    const std::uint64_t nibbles = _pdep_u64(swapped, 0x1111111111111111ull);
    BYTE* m = M + (x0 >> 1);
    if (n == 16) std::memcpy(m, &nibbles, 8);
    else
      for (int j = 0; j < (n + 1) / 2; ++j) m[j] = static_cast<BYTE>(nibbles >> (8 * j));
  }
  // The rows' padding.
  const std::size_t used = 3 * static_cast<std::size_t>(nw), maskUsed = (static_cast<std::size_t>(nw) + 1) / 2;
  std::memset(D + used, 0, rowBytes - used);
  std::memset(M + maskUsed, 0, maskBytes - maskUsed);
}

#pragma GCC diagnostic pop

bool RotateWideAvailable() {
  static const bool have = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw") &&
                           __builtin_cpu_supports("bmi2");
  return have && VectorUnit() >= 2;
}
#else
bool RotateWideAvailable() { return false; }
#endif

void RotateRowQuick(const RotateFrame& f, int y, int nw, BYTE* D, BYTE* M) {
  const double Y = y;
  const int ch = f.channels;
  alignas(64) double fx[kRotateChunk], fy[kRotateChunk];
  alignas(64) int ix[kRotateChunk], iy[kRotateChunk], q[4][3][kRotateChunk], v[3][kRotateChunk];
  BYTE kind[kRotateChunk];
  for (int x0 = 0; x0 < nw; x0 += kRotateChunk) {
    const int n = std::min(kRotateChunk, nw - x0);
    RotatePositions(f, Y, x0, ix, iy, fx, fy, kind);
    for (int k = 0; k < kRotateChunk; ++k) {
      if (kind[k] == kBackground) {
        for (int b = 0; b < ch; ++b) q[0][b][k] = q[1][b][k] = q[2][b][k] = q[3][b][k] = f.background[b];
        continue;
      }
      // Stored rows run bottom up: row iy + 1 lies one stride below row iy.
      const BYTE* p =
          f.bits + f.stride * static_cast<std::size_t>(f.h - 1 - iy[k]) + static_cast<std::size_t>(ix[k]) * ch;
      if (kind[k] == kRepeated) {
        for (int b = 0; b < ch; ++b) q[0][b][k] = q[1][b][k] = q[2][b][k] = q[3][b][k] = p[b];
        continue;
      }
      const BYTE* below = p - f.stride;
      for (int b = 0; b < ch; ++b) {
        q[0][b][k] = p[b];
        q[1][b][k] = p[ch + b];
        q[2][b][k] = below[b];
        q[3][b][k] = below[ch + b];
      }
    }
    for (int b = 0; b < ch; ++b) RotateLerp(q[0][b], q[1][b], q[2][b], q[3][b], fx, fy, v[b]);
    BYTE* d = D + static_cast<std::size_t>(x0) * ch;
    if (ch == 3) {
      for (int k = 0; k < n; ++k, d += 3) {
        d[0] = static_cast<BYTE>(v[0][k]);
        d[1] = static_cast<BYTE>(v[1][k]);
        d[2] = static_cast<BYTE>(v[2][k]);
      }
    } else {
      for (int k = 0; k < n; ++k) d[k] = static_cast<BYTE>(v[0][k]);
    }
    for (int k = 0; k < n; ++k)
      if (kind[k] != kBackground) M[(x0 + k) >> 1] |= ((x0 + k) & 1) ? 0x01 : 0x10;
  }
}

}  // namespace

HDIB FreeRotateImageFilter(const HDIB& image, int angle, COLORREF background, FILTERPARAM* param) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || !param) return nullptr;
  param->NewMask.reset();
  const int w = s->biWidth, h = s->biHeight, bits = s->biBitCount;
  const bool interpolate = param->FilterRotateInterpolate &&
                           (param->ImageType == IMAGE_TRUECOLOUR || param->ImageType == IMAGE_GREY) &&
                           (bits == 8 || bits == 24 || bits == 32);
  const double radians = angle * kDegreesToRadians;
  const double c = std::cos(radians), sn = std::sin(radians);
  int nw = w, nh = h;
  if (!param->FilterRotatePreserve && !RotatedSize(w, h, c, sn, &nw, &nh)) return nullptr;
  const bool quick = FastPaths() && interpolate && (bits == 8 || bits == 24);
  // The wide form writes every byte of both.
  const bool wide = quick && bits == 24 && RotateWideAvailable();
  HDIB out = wide ? CreateDibUncleared(nw, nh, nullptr, 24) : filterutil::CreateLike(s, nw, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  BYTE maskPalette[768];
  GetDefaultPalette(maskPalette, nullptr, 0);
  HDIB mask = wide ? CreateDibUncleared(nw, nh, maskPalette, 4) : CreateDib(nw, nh, maskPalette, 4);
  BITMAPINFOHEADER* m = LockDib(mask);
  if (!m) return nullptr;

  const PixelReader read(s);
  const std::uint32_t bg = background;
  const int hw = w / 2, hh = h / 2, hnw = nw / 2, hnh = nh / 2;
  auto pixel = [&](int x, int y, BYTE* D, BYTE* M) {
    const double Y = y - hnh;
    const double X = x - hnw;
    const double sx = hw + X * c - Y * sn;
    const double sy = hh + Y * c + X * sn;
    std::uint32_t A = NOPIXEL, B = 0, C = 0, Dp = 0;
    int ix = 0, iy = 0;
    // Far outside, truncation is not even defined; those pixels are background.
    if (sx > -2.0 && sx < w + 1.0 && sy > -2.0 && sy < h + 1.0) {
      ix = static_cast<int>(sx);
      iy = static_cast<int>(sy);
      A = read(ix, iy);
    }
    std::uint32_t v;
    if (A != NOPIXEL) M[x >> 1] |= (x & 1) ? 0x01 : 0x10;
    if (!interpolate) {
      v = A == NOPIXEL ? bg : A;
    } else {
      const double fx = sx - ix, fy = sy - iy;
      if (A == NOPIXEL) {
        A = B = C = Dp = bg;
      } else if (ix + 1 < w && iy + 1 < h) {
        B = read(ix + 1, iy);
        C = read(ix, iy + 1);
        Dp = read(ix + 1, iy + 1);
      } else {
        B = C = Dp = A;
      }
      if (bits == 8) {
        v = static_cast<std::uint32_t>(Lerp4(A & 255, B & 255, C & 255, Dp & 255, fx, fy));
      } else {
        v = RGB(Lerp4(GetRValue(A), GetRValue(B), GetRValue(C), GetRValue(Dp), fx, fy),
                Lerp4(GetGValue(A), GetGValue(B), GetGValue(C), GetGValue(Dp), fx, fy),
                Lerp4(GetBValue(A), GetBValue(B), GetBValue(C), GetBValue(Dp), fx, fy));
      }
    }
    if (bits == 24) {
      BYTE* p = D + 3 * static_cast<std::size_t>(x);
      p[0] = static_cast<BYTE>(GetBValue(v));
      p[1] = static_cast<BYTE>(GetGValue(v));
      p[2] = static_cast<BYTE>(GetRValue(v));
    } else if (bits == 8) {
      D[x] = static_cast<BYTE>(v);
    } else {
      PutDibPixel(o, x, y, v);
    }
  };
  const RotateFrame frame{w,
                          h,
                          hw,
                          hh,
                          hnw,
                          c,
                          sn,
                          DibBits(s),
                          DibStride(s),
                          bits / 8,
                          {bits == 8 ? static_cast<int>(bg & 255) : GetBValue(bg), GetGValue(bg), GetRValue(bg)}};
  ParallelBands(nh, 16, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      BYTE* D = DibRow(o, y);
      BYTE* M = DibRow(m, y);
#if defined(__GNUC__) && defined(__x86_64__)
      if (wide) {
        RotateRow24Fused(frame, y - hnh, nw, D, M, DibStride(o), DibStride(m));
        continue;
      }
#endif
      if (quick) {
        RotateRowQuick(frame, y - hnh, nw, D, M);
        continue;
      }
      for (int x = 0; x < nw; ++x) pixel(x, y, D, M);
    }
  });
  param->NewMask = std::move(mask);
  return out;
}

HDIB FilterRotateImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  FilterFreeMasks(param);
  int a = param->FilterRotateAngle;
  if (param->FilterRotateDirection == 1) a = 360 - a;
  switch (a) {
    case 0: return DuplicateObject(image);
    case 90: return RotateDib90(image);
    case 180: return RotateDib180(image);
    case 270: return RotateDib270(image);
    default: return FreeRotateImageFilter(image, a, param->PaperColour, param);
  }
}

HDIB FilterFlipImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  return param->FilterFlipDirection == 1 ? FlipDibVertical(image) : FlipDibHorizontal(image);
}

HDIB FilterScaleImage(const HDIB& image, int horizontal, int vertical) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s || horizontal <= 0 || vertical <= 0) return nullptr;
  const int width = s->biWidth, height = s->biHeight, bits = s->biBitCount;
  long long nwl = static_cast<long long>(width) * horizontal / 100;
  long long nhl = static_cast<long long>(height) * vertical / 100;
  if (nwl <= 0 || nhl <= 0 || nwl > INT_MAX || nhl > INT_MAX) return nullptr;
  const int nw = static_cast<int>(nwl), nh = static_cast<int>(nhl);
  HDIB out = filterutil::CreateLike(s, nw, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  std::vector<int> X, Y;
  if (!TryResize(X, static_cast<std::size_t>(nw)) || !TryResize(Y, static_cast<std::size_t>(nh))) return nullptr;
  double step = static_cast<double>(width) / nw, pos = 0.0;
  for (int i = 0; i < nw; ++i, pos += step) X[i] = std::min(static_cast<int>(pos), width - 1);
  step = static_cast<double>(height) / nh;
  pos = 0.0;
  for (int i = 0; i < nh; ++i, pos += step) Y[i] = std::min(static_cast<int>(pos), height - 1);
  ParallelBands(nh, 32, [&](int r0, int r1) {
    for (int r = r0; r < r1; ++r) {
      const BYTE* S = StoredRow(s, Y[r]);
      BYTE* D = StoredRow(o, r);
      switch (bits) {
        case 1:
          for (int i = 0; i < nw; ++i)
            if (S[X[i] >> 3] & masktable[X[i] & 7]) D[i >> 3] |= masktable[i & 7];
          break;
        case 4:
          for (int i = 0; i < nw; ++i) {
            int sx = X[i];
            int v = (sx & 1) ? (S[sx >> 1] & 0x0F) : (S[sx >> 1] >> 4);
            D[i >> 1] |= static_cast<BYTE>((i & 1) ? v : v << 4);
          }
          break;
        case 8:
          for (int i = 0; i < nw; ++i) D[i] = S[X[i]];
          break;
        default: {
          const int b = bits / 8;
          for (int i = 0; i < nw; ++i) std::memcpy(D + i * b, S + static_cast<std::size_t>(X[i]) * b, b);
          break;
        }
      }
    }
  });
  return out;
}

HDIB FilterResizeImage(const HDIB& image, FILTERPARAM* param) {
  if (!param || !LockDib(image)) return nullptr;
  const int horizontal = param->ResizeHorizontal;
  const int vertical = param->FilterResizeConstant ? horizontal : param->ResizeVertical;
  if (horizontal <= 0 || vertical <= 0) return nullptr;
  if (param->FilterResizeInterpolate && (param->ImageType == IMAGE_TRUECOLOUR || param->ImageType == IMAGE_GREY)) {
    if (horizontal < 100 && vertical < 100) return ScaleDown(image, horizontal, vertical);
    if (horizontal > 100 && vertical > 100) return ScaleUp(image, horizontal, vertical);
    HDIB first = horizontal > 100   ? ScaleUpHorizontal(image, horizontal)
                 : horizontal < 100 ? ScaleDownHorizontal(image, horizontal)
                                    : DuplicateObject(image);
    if (!first) return nullptr;
    return vertical > 100   ? ScaleUpVertical(first, vertical)
           : vertical < 100 ? ScaleDownVertical(first, vertical)
                            : DuplicateObject(first);
  }
  return FilterScaleImage(image, horizontal, vertical);
}

namespace {
// InterpolateColor over a 24- or 32-bit image, pixels read by pointer.
struct Bilinear {
  const BITMAPINFOHEADER* h;
  int w, hgt, bytes;
  COLORREF background;
  void At(int x, int y, int out[3]) const {
    const BYTE* p = DibRow(h, y) + static_cast<std::size_t>(x) * bytes;
    out[0] = p[2];
    out[1] = p[1];
    out[2] = p[0];
  }
  COLORREF operator()(double x, double y) const {
    const double fx = x + 0.5, fy = y + 0.5;
    if (fx < -1.0 || fx >= w || fy < -1.0 || fy >= hgt) return background;
    int bgc[3] = {GetRValue(background), GetGValue(background), GetBValue(background)};
    int A[3], B[3], C[3], D[3];
    const int tx = static_cast<int>(fx), ty = static_cast<int>(fy);
    const int tx1 = static_cast<int>(fx + 1), ty1 = static_cast<int>(fy + 1);
    const bool xIn = fx >= 0.0, yIn = fy >= 0.0, x1In = fx + 1 < w, y1In = fy + 1 < hgt;
    if (xIn && yIn) At(tx, ty, A);
    else std::memcpy(A, bgc, sizeof A);
    if (x1In && yIn) At(tx1, ty, B);
    else std::memcpy(B, bgc, sizeof B);
    if (xIn && y1In) At(tx, ty1, C);
    else std::memcpy(C, bgc, sizeof C);
    if (x1In && y1In) At(tx1, ty1, D);
    else std::memcpy(D, bgc, sizeof D);
    const double alpha = fx - std::floor(fx), beta = fy - std::floor(fy);
    int v[3];
    for (int k = 0; k < 3; ++k)
      v[k] = static_cast<int>((1 - beta) * ((1 - alpha) * A[k] + alpha * B[k]) +
                              beta * ((1 - alpha) * C[k] + alpha * D[k]) + 0.5);
    return RGB(v[0], v[1], v[2]);
  }
};
}  // namespace

COLORREF InterpolateColor(const HDIB& image, double x, double y, COLORREF background) {
  const BITMAPINFOHEADER* h = LockDib(image);
  if (!h || (h->biBitCount != 24 && h->biBitCount != 32)) return background;
  return Bilinear{h, h->biWidth, h->biHeight, h->biBitCount / 8, background}(x, y);
}

HDIB FilterSwirl(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  if (param->ImageType != IMAGE_TRUECOLOUR || (s->biBitCount != 24 && s->biBitCount != 32)) return out;
  const int width = s->biWidth, height = s->biHeight, bytes = s->biBitCount / 8;
  const double cx = width * 0.5, cy = height * 0.5;
  const double radius = std::max(cx, cy);
  double xscale = 1.0, yscale = 1.0;
  if (width > height) yscale = static_cast<double>(width) / height;
  else if (width < height) xscale = static_cast<double>(height) / width;
  const double angle = param->FilterSwirlDegrees * 3.141592653589793 * 0.005555555555555556;
  const Bilinear sample{s, width, height, bytes, param->PaperColour};
  ParallelBands(height, 16, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      BYTE* d = DibRow(o, y);
      const double dy = yscale * (y - cy);
      for (int x = 0; x < width; ++x) {
        const double dx = xscale * (x - cx);
        const double distance = dx * dx + dy * dy;
        if (radius * radius <= distance) continue;
        const double factor = 1.0 - std::sqrt(distance) / radius;
        const double t = angle * factor * factor;
        const double sn = std::sin(t), c = std::cos(t);
        COLORREF v = sample((c * dx - sn * dy) / xscale + cx, (sn * dx + c * dy) / yscale + cy);
        BYTE* p = d + static_cast<std::size_t>(x) * bytes;
        p[0] = static_cast<BYTE>(GetBValue(v));
        p[1] = static_cast<BYTE>(GetGValue(v));
        p[2] = static_cast<BYTE>(GetRValue(v));
      }
    }
  });
  return out;
}

}  // namespace ochrel
