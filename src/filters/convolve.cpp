#include "filters/convolve.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "filters/filterutil.h"
#include "image/fastpath.h"
#include "image/parallel.h"

#if defined(__GNUC__) && defined(__x86_64__)
#include <immintrin.h>
#endif

#include <vector>

namespace ochrel {

using filterutil::ClampRound;
using filterutil::SampleBytes;
using filterutil::StoredRow;
using filterutil::TryResize;

namespace {

constexpr int kChunk = 2048;  // doubles of accumulator kept hot in L1

// One span of interior samples, each summed tap by tap in the plain loop's
// order (the first tap assigns, zero taps after it are left out) but held in
// registers for a block of samples instead of passing over memory per tap.
// Clamping before rounding is the same as ClampRound for every number.
constexpr int kMaxTaps = 256;  // a 15 by 15 kernel at most
// Past this margin so many samples are redone that the double form is quicker.
constexpr float kScreenMargin = 0.01f;

#if defined(__GNUC__) && defined(__x86_64__)
#define OCHREL_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl,avx512dq")))
OCHREL_AVX512 inline __m512d Load8(const BYTE* p) {
  return _mm512_cvtepi32_pd(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}
OCHREL_AVX512 inline void Store8(BYTE* p, __m512d v, bool divide, __m512d by) {
  if (divide) v = _mm512_div_pd(v, by);
  v = _mm512_add_pd(_mm512_min_pd(_mm512_max_pd(v, _mm512_setzero_pd()), _mm512_set1_pd(255.0)), _mm512_set1_pd(0.5));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm256_cvtepi32_epi8(_mm512_cvttpd_epi32(v)));
}
OCHREL_AVX512 int ConvolveSpan512(const BYTE* const* src, const double* weight, int taps, int n, bool divide,
                                  double sum, BYTE* dst) {
  const __m512d by = _mm512_set1_pd(sum);
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    __m512d w = _mm512_set1_pd(weight[0]);
    __m512d a0 = _mm512_mul_pd(w, Load8(src[0] + i)), a1 = _mm512_mul_pd(w, Load8(src[0] + i + 8));
    for (int t = 1; t < taps; ++t) {
      w = _mm512_set1_pd(weight[t]);
      a0 = _mm512_add_pd(a0, _mm512_mul_pd(w, Load8(src[t] + i)));
      a1 = _mm512_add_pd(a1, _mm512_mul_pd(w, Load8(src[t] + i + 8)));
    }
    Store8(dst + i, a0, divide, by);
    Store8(dst + i + 8, a1, divide, by);
  }
  return i;
}

OCHREL_AVX512 inline __m512 Load16f(const BYTE* p) {
  return _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
}
OCHREL_AVX512 inline void ScreenStore16(__m512 a, __m512 scale, float margin, const BYTE* const* src,
                                        const double* weight, int taps, bool divide, double sum, int i, BYTE* dst) {
  const __m512 half = _mm512_set1_ps(0.5f), low = _mm512_set1_ps(margin), high = _mm512_set1_ps(1.0f - margin);
  const __m512 v = _mm512_mul_ps(a, scale), up = _mm512_add_ps(v, half);
  const __m512 frac = _mm512_sub_ps(up, _mm512_roundscale_ps(up, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC));
  // Results clamped to 0 or 255 whatever their fraction need no second look.
  __mmask16 near = (_mm512_cmp_ps_mask(frac, low, _CMP_LT_OQ) | _mm512_cmp_ps_mask(frac, high, _CMP_GT_OQ)) &
                   _mm512_cmp_ps_mask(v, _mm512_set1_ps(-1.0f), _CMP_GT_OQ) &
                   _mm512_cmp_ps_mask(v, _mm512_set1_ps(256.0f), _CMP_LT_OQ);
  const __m512 clamped =
      _mm512_add_ps(_mm512_min_ps(_mm512_max_ps(v, _mm512_setzero_ps()), _mm512_set1_ps(255.0f)), half);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm512_cvtepi32_epi8(_mm512_cvttps_epi32(clamped)));
  for (; near; near &= near - 1) {
    const int k = i + __builtin_ctz(near);
    double e = weight[0] * src[0][k];
    for (int t = 1; t < taps; ++t) e += weight[t] * src[t][k];
    dst[k] = ClampRound(divide ? e / sum : e);
  }
}

// A float screen: sixteen samples summed in floats, twice the lanes of the
// double form. `margin` bounds how far the float result can be from the
// double one, so a sample whose float result is further than that from every
// rounding edge (k + 0.5) gets the same byte; the rest are redone exactly.
OCHREL_AVX512 int ConvolveSpanScreen512(const BYTE* const* src, const double* weight, int taps, int n, bool divide,
                                        double sum, float margin, BYTE* dst) {
  float wf[kMaxTaps];
  for (int t = 0; t < taps; ++t) wf[t] = static_cast<float>(weight[t]);
  const __m512 scale = _mm512_set1_ps(divide ? static_cast<float>(1.0 / sum) : 1.0f);
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    // Two blocks of sixteen in flight hide the latency of the adds.
    const bool two = i + 32 <= n;
    const int j = two ? i + 16 : i;
    __m512 a = _mm512_mul_ps(_mm512_set1_ps(wf[0]), Load16f(src[0] + i));
    __m512 b = _mm512_mul_ps(_mm512_set1_ps(wf[0]), Load16f(src[0] + j));
    for (int t = 1; t < taps; ++t) {
      const __m512 w = _mm512_set1_ps(wf[t]);
      a = _mm512_add_ps(a, _mm512_mul_ps(w, Load16f(src[t] + i)));
      b = _mm512_add_ps(b, _mm512_mul_ps(w, Load16f(src[t] + j)));
    }
    ScreenStore16(a, scale, margin, src, weight, taps, divide, sum, i, dst);
    if (two) ScreenStore16(b, scale, margin, src, weight, taps, divide, sum, j, dst), i += 16;
  }
  return i;
}

#define OCHREL_AVX2 __attribute__((target("avx2")))
OCHREL_AVX2 inline __m128i Finish4(__m256d v, bool divide, __m256d by) {
  if (divide) v = _mm256_div_pd(v, by);
  v = _mm256_add_pd(_mm256_min_pd(_mm256_max_pd(v, _mm256_setzero_pd()), _mm256_set1_pd(255.0)), _mm256_set1_pd(0.5));
  return _mm256_cvttpd_epi32(v);
}
OCHREL_AVX2 int ConvolveSpan256(const BYTE* const* src, const double* weight, int taps, int n, bool divide, double sum,
                                BYTE* dst) {
  const __m256d by = _mm256_set1_pd(sum);
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    __m256d a[4];
    for (int t = 0; t < taps; ++t) {
      const __m256d w = _mm256_set1_pd(weight[t]);
      const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src[t] + i));
      const __m256i lo = _mm256_cvtepu8_epi32(bytes), hi = _mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8));
      const __m256d d[4] = {
          _mm256_cvtepi32_pd(_mm256_castsi256_si128(lo)), _mm256_cvtepi32_pd(_mm256_extracti128_si256(lo, 1)),
          _mm256_cvtepi32_pd(_mm256_castsi256_si128(hi)), _mm256_cvtepi32_pd(_mm256_extracti128_si256(hi, 1))};
      for (int k = 0; k < 4; ++k) a[k] = t == 0 ? _mm256_mul_pd(w, d[k]) : _mm256_add_pd(a[k], _mm256_mul_pd(w, d[k]));
    }
    const __m128i w0 = _mm_packus_epi32(Finish4(a[0], divide, by), Finish4(a[1], divide, by));
    const __m128i w1 = _mm_packus_epi32(Finish4(a[2], divide, by), Finish4(a[3], divide, by));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), _mm_packus_epi16(w0, w1));
  }
  return i;
}
#endif

void ConvolveSpan(const BYTE* const* src, const double* weight, int taps, int n, bool divide, double sum, float margin,
                  BYTE* dst) {
  int i = 0;
#if defined(__GNUC__) && defined(__x86_64__)
  const int unit = VectorUnit();
  if (unit == 2 && margin < kScreenMargin) i = ConvolveSpanScreen512(src, weight, taps, n, divide, sum, margin, dst);
  else if (unit == 2) i = ConvolveSpan512(src, weight, taps, n, divide, sum, dst);
  else if (unit == 1) i = ConvolveSpan256(src, weight, taps, n, divide, sum, dst);
#endif
  for (; i < n; ++i) {
    double a = weight[0] * src[0][i];
    for (int t = 1; t < taps; ++t) a += weight[t] * src[t][i];
    dst[i] = ClampRound(divide ? a / sum : a);
  }
}

}  // namespace

HDIB FilterConvolveImage(const HDIB& image, int order, const double* kernel, const FILTERPARAM* param) {
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src || !kernel || !param || order < 1 || !(order & 1)) return nullptr;
  int width = src->biWidth, height = src->biHeight;
  if (width < order || height < order) return nullptr;
  HDIB result = filterutil::CreateLike(src, width, height);
  BITMAPINFOHEADER* out = LockDib(result);
  if (!out) return nullptr;
  int bytes = SampleBytes(src, param->ImageType);
  if (!bytes) return result;

  double sum = 0.0;
  for (int i = 0; i < order * order; ++i) sum += kernel[i];
  // A kernel whose weights cancel (Emboss) sums to rounding noise, not to a
  // divisor; treat anything that small as exactly 0, and likewise near 1.
  bool divide = std::fabs(sum) > 1e-9 && std::fabs(sum - 1.0) > 1e-9;
  int half = order / 2;

  auto finish = [&](double s) { return ClampRound(divide ? s / sum : s); };
  // Any pixel, with the torus wrap; used for the border band.
  auto wrappedPixel = [&](int x, int y, BYTE* dst) {
    for (int c = 0; c < bytes; ++c) {
      double s = 0.0;
      for (int r = 0; r < order; ++r) {
        int yy = y - half + r;
        if (yy < 0) yy += height;
        else if (yy >= height) yy -= height;
        const BYTE* row = StoredRow(src, yy);
        for (int cc = 0; cc < order; ++cc) {
          int xx = x - half + cc;
          if (xx < 0) xx += width;
          else if (xx >= width) xx -= width;
          s += kernel[r * order + cc] * row[xx * bytes + c];
        }
      }
      dst[x * bytes + c] = finish(s);
    }
  };

  // The taps the plain loop adds, in its order.
  std::vector<double> weight;
  std::vector<int> tapRow, tapColumn;
  for (int r = 0; r < order; ++r)
    for (int cc = 0; cc < order; ++cc)
      if (weight.empty() || kernel[r * order + cc] != 0.0) {
        weight.push_back(kernel[r * order + cc]);
        tapRow.push_back(r);
        tapColumn.push_back(cc);
      }
  const bool quick = FastPaths() && weight.size() <= kMaxTaps;
  // The float result strays from the exact one by at most (taps + 3) u M to
  // first order, u = 2^-24 and M = 255 sum|w| / |divisor|: u M for rounding
  // the weights, (taps) u M for the products and sums, 2 u M for the
  // reciprocal and its product. The double result is far nearer still. The
  // margin takes (taps + 4) u M with a quarter more, plus 2^-14 for adding 0.5.
  double magnitude = 0.0;
  for (double wt : weight) magnitude += std::fabs(wt);
  const double margin = 1.25 * (static_cast<double>(weight.size()) + 4.0) * 0x1p-24 * 255.0 * magnitude /
                            (divide ? std::fabs(sum) : 1.0) +
                        0x1p-14;

  ParallelBands(height, 16, [&](int y0, int y1) {
    std::vector<double> accv(kChunk);
    double* acc = accv.data();
    for (int y = y0; y < y1; ++y) {
      BYTE* dst = StoredRow(out, y);
      if (y < half || y >= height - half) {
        for (int x = 0; x < width; ++x) wrappedPixel(x, y, dst);
        continue;
      }
      for (int x = 0; x < half; ++x) wrappedPixel(x, y, dst);
      int total = (width - 2 * half) * bytes;
      if (quick) {
        const BYTE* rows[kMaxTaps];
        for (std::size_t t = 0; t < weight.size(); ++t)
          rows[t] = StoredRow(src, y - half + tapRow[t]) + tapColumn[t] * bytes;
        ConvolveSpan(rows, weight.data(), static_cast<int>(weight.size()), total, divide, sum,
                     static_cast<float>(std::min(margin, 1.0)), dst + half * bytes);
        for (int x = width - half; x < width; ++x) wrappedPixel(x, y, dst);
        continue;
      }
      for (int i0 = 0; i0 < total; i0 += kChunk) {
        int n = std::min(kChunk, total - i0);
        bool first = true;
        for (int r = 0; r < order; ++r) {
          const BYTE* row = StoredRow(src, y - half + r) + i0;
          for (int cc = 0; cc < order; ++cc) {
            double kv = kernel[r * order + cc];
            const BYTE* s = row + cc * bytes;
            if (first) {
              for (int i = 0; i < n; ++i) acc[i] = kv * s[i];
              first = false;
            } else if (kv != 0.0) {  // adding a zero tap changes no sum
              for (int i = 0; i < n; ++i) acc[i] += kv * s[i];
            }
          }
        }
        BYTE* d = dst + half * bytes + i0;
        for (int i = 0; i < n; ++i) d[i] = finish(acc[i]);
      }
      for (int x = width - half; x < width; ++x) wrappedPixel(x, y, dst);
    }
  });
  return result;
}

std::vector<double> FilterMakeEmbossKernel(int width, double sigma) {
  if (!(width & 1)) ++width;
  int half = width / 2;
  std::vector<double> k;
  if (!TryResize(k, static_cast<std::size_t>(width) * width)) return k;
  int i = 0;
  for (int v = -half; v <= half; ++v)
    for (int u = -half; u <= half; ++u, ++i) {
      double m = (u < 0 || v < 0) ? -8.0 : 8.0;
      k[i] = m * std::exp(-static_cast<double>(u * u + v * v) / (sigma * sigma));
      if (u == half - (v + half)) k[i] = 0.0;
    }
  return k;
}

std::vector<double> FilterMakeSharpenKernel(int width, double sigma) {
  if (!(width & 1)) ++width;
  int half = width / 2;
  std::vector<double> k;
  if (!TryResize(k, static_cast<std::size_t>(width) * width)) return k;
  double total = 0.0;
  int i = 0;
  for (int v = -half; v <= half; ++v)
    for (int u = -half; u <= half; ++u, ++i) {
      k[i] = std::exp(-static_cast<double>(u * u + v * v) / (sigma * sigma));
      total += k[i];
    }
  k[width * width / 2] = -2.0 * total;
  return k;
}

HDIB FilterEmbossImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  int width = param->FilterEmbossWidth | 1;
  std::vector<double> k = FilterMakeEmbossKernel(width, param->FilterEmbossSigma * 0.1);
  if (k.empty()) return nullptr;
  return FilterConvolveImage(image, width, k.data(), param);
}

HDIB FilterSharpenImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  int width = param->FilterSharpenWidth | 1;
  std::vector<double> k = FilterMakeSharpenKernel(width, param->FilterSharpenSigma * 0.1);
  if (k.empty()) return nullptr;
  return FilterConvolveImage(image, width, k.data(), param);
}

int FilterGetOptimalKernelWidth(double radius, double sigma) {
  if (radius > 0.0) return static_cast<int>(2.0 * std::ceil(radius) + 1.0);
  auto e = [&](int u) { return std::exp(-static_cast<double>(u * u) / (2.0 * sigma * sigma)); };
  int width = 5;
  for (;; width += 2) {
    int half = width / 2;
    double sum = 0.0;
    for (int u = -half; u <= half; ++u) sum += e(u);
    if (!(static_cast<int>(255.0 * e(half) / sum) > 0)) break;
    if (width > 10001) break;  // a sigma this large has no useful answer
  }
  return width - 2;
}

}  // namespace ochrel
