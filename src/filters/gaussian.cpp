// Gaussian Blur and Unsharp Mask.
//
// The blur's bytes are defined by sums in doubles. Most of the work is done in
// single precision, eight lanes at a time, with a proven bound on how far the
// single sum can stray from the double one: where that bound leaves the
// truncated byte in no doubt, the byte is taken; elsewhere (well under one
// sample in a hundred) the double sum is formed exactly as the plain rule
// forms it. The result is the same, byte for byte.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "filters/convolve.h"
#include "filters/filterutil.h"
#include "image/fastpath.h"
#include "image/parallel.h"

namespace ochrel {

using filterutil::ClampRound;
using filterutil::SampleBytes;
using filterutil::StoredRow;
using filterutil::TryResize;

int FilterGetBlurKernel(int width, double sigma, std::vector<double>& kernel) {
  if (width <= 0) width = 3;
  if (!TryResize(kernel, static_cast<std::size_t>(width))) return 0;
  std::fill(kernel.begin(), kernel.end(), 0.0);
  int bias = 3 * width / 2;
  for (int i = -bias; i <= bias; ++i) {
    int slot = (i + bias) / 3;
    if (slot >= 0 && slot < width) kernel[slot] += std::exp(-static_cast<double>(i * i) / (18.0 * sigma * sigma));
  }
  double sum = 0.0;
  for (double v : kernel) sum += v;
  if (sum != 0.0)
    for (double& v : kernel) v /= sum;
  return width;
}

namespace {

// Which taps meet which samples at line position x: S = sum over j < count of
// kernel[kStart + j] * sample[sStart + j]; divide by the sum of those taps
// except in the middle stretch, where the whole kernel (sum 1) is used.
struct Taps {
  int kStart, sStart, count;
  bool divide;
};

Taps TapsAt(int x, int width, int columns) {
  int half = width / 2;
  if (width > columns) {
    int s0 = std::max(0, x - half), s1 = std::min(columns - 1, x + half);
    return {s0 + half - x, s0, s1 - s0 + 1, true};
  }
  if (x < half) return {half - x, 0, width - (half - x), true};
  if (x < columns - half) return {0, x - half, width, false};
  return {0, x - half, columns - (x - half), true};
}

inline BYTE StoreBlur(double s, double w, bool divide) {
  double v = divide ? (s + 0.5) / w : s + 0.5;
  return v >= 255.0 ? 255 : static_cast<BYTE>(static_cast<int>(v));
}

// The hot loops get a second build for processors with wider vector units.
// Nothing here may be contracted into fused multiply-adds (the build turns
// contraction off), so the double sums are the plain rule's.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define OCHREL_BLUR_VECTORS __attribute__((target_clones("avx2", "default")))
#else
#define OCHREL_BLUR_VECTORS
#endif

// These vectors never cross a library boundary, so the note that their
// passing convention differs between the two builds does not concern us.
#pragma GCC diagnostic ignored "-Wpsabi"
typedef float F8 __attribute__((vector_size(32)));
typedef int I8 __attribute__((vector_size(32)));

inline F8 Load8(const float* p) {
  F8 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The kernel in single precision and the bound that makes it safe.
struct SingleKernel {
  std::vector<float> taps;
  float bound = 0.0f;
};

SingleKernel MakeSingleKernel(const std::vector<double>& kernel) {
  SingleKernel s;
  s.taps.assign(kernel.begin(), kernel.end());
  // n products of bytes (at most 255) and weights summing to 1, added one by
  // one in single precision (unit roundoff u = 2^-24), with the weights
  // themselves rounded: the sum is within gamma(n + 1) * 255 of the exact one,
  // gamma(m) = m u / (1 - m u). The double sum is within 1e-11 of it too.
  // Adding 0.5 and then -/+ the bound rounds three more times, by at most
  // 2^-16 each below 512.
  const double u = std::ldexp(1.0, -24), m = static_cast<double>(kernel.size()) + 1.0;
  s.bound = static_cast<float>(m * u / (1.0 - m * u) * 255.0 * 1.001 + 1e-9 + std::ldexp(1.0, -13));
  return s;
}

// out[i] = the byte of (sum over k of taps[k] * line[k][i]) + 0.5 for the
// samples whose byte the single sum decides; the others go to `unsure` for the
// exact path. Returns how many were unsure.
OCHREL_BLUR_VECTORS
int SumLines(const SingleKernel& kernel, const float* const* line, int n, BYTE* out, int* unsure) {
  const float* kf = kernel.taps.data();
  const int taps = static_cast<int>(kernel.taps.size());
  const F8 half = {0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f, 0.5f};
  const float b = kernel.bound;
  const F8 bound = {b, b, b, b, b, b, b, b};
  const I8 top = {255, 255, 255, 255, 255, 255, 255, 255};
  int count = 0;
  auto settle = [&](F8 a, int i) {
    F8 v = a + half;
    I8 lo = __builtin_convertvector(v - bound, I8), hi = __builtin_convertvector(v + bound, I8);
    I8 loOver = lo > top, hiOver = hi > top;
    lo = (lo & ~loOver) | (top & loOver);
    hi = (hi & ~hiOver) | (top & hiOver);
    I8 differ = lo != hi;
    for (int j = 0; j < 8; ++j) out[i + j] = static_cast<BYTE>(lo[j]);
    long long any[4];
    std::memcpy(any, &differ, sizeof any);
    if (any[0] | any[1] | any[2] | any[3])
      for (int j = 0; j < 8; ++j)
        if (differ[j]) unsure[count++] = i + j;
  };
  int i = 0;
  for (; i + 32 <= n; i += 32) {
    F8 a0 = {}, a1 = {}, a2 = {}, a3 = {};
    for (int k = 0; k < taps; ++k) {
      const float kv = kf[k];
      const F8 w = {kv, kv, kv, kv, kv, kv, kv, kv};
      const float* p = line[k] + i;
      a0 += w * Load8(p);
      a1 += w * Load8(p + 8);
      a2 += w * Load8(p + 16);
      a3 += w * Load8(p + 24);
    }
    settle(a0, i);
    settle(a1, i + 8);
    settle(a2, i + 16);
    settle(a3, i + 24);
  }
  for (; i < n; ++i) {
    float a = 0.0f;
    for (int k = 0; k < taps; ++k) a += kf[k] * line[k][i];
    float v = a + 0.5f;
    int lo = std::min(255, static_cast<int>(v - b)), hi = std::min(255, static_cast<int>(v + b));
    out[i] = static_cast<BYTE>(lo);
    if (lo != hi) unsure[count++] = i;
  }
  return count;
}

// The double sum of the plain rule for one sample: taps in order, the first
// product as the start.
inline double ExactSum(const double* kernel, int count, const BYTE* const* rows, std::size_t at) {
  double s = kernel[0] * rows[0][at];
  for (int j = 1; j < count; ++j) s += kernel[j] * rows[j][at];
  return s;
}

constexpr int kLineChunk = 2048;  // samples of a line summed at a time

// One line of `columns` pixels of `bytes` samples each, pixel stride `bytes`.
void BlurLine(const double* kernel, int width, const BYTE* src, BYTE* dst, int columns, int bytes,
              const SingleKernel* single) {
  int half = width / 2;
  auto edgePixel = [&](int x) {
    Taps t = TapsAt(x, width, columns);
    double w = 0.0;
    for (int j = 0; j < t.count; ++j) w += kernel[t.kStart + j];
    for (int c = 0; c < bytes; ++c) {
      double s = 0.0;
      for (int j = 0; j < t.count; ++j) s += kernel[t.kStart + j] * src[(t.sStart + j) * bytes + c];
      dst[x * bytes + c] = StoreBlur(s, w, t.divide);
    }
  };
  if (width > columns) {
    for (int x = 0; x < columns; ++x) edgePixel(x);
    return;
  }
  for (int x = 0; x < half; ++x) edgePixel(x);
  // Middle stretch: output sample i of the stretch sums source samples
  // i + k * bytes for every tap k.
  const int total = (columns - 2 * half) * bytes;
  BYTE* d = dst + half * bytes;
  if (single) {
    thread_local std::vector<float> samples;
    thread_local std::vector<int> unsure;
    const int span = kLineChunk + (width - 1) * bytes;
    if (static_cast<int>(samples.size()) < span) samples.resize(static_cast<std::size_t>(span));
    if (unsure.size() < kLineChunk) unsure.resize(kLineChunk);
    const float* lines[256];
    for (int k = 0; k < width; ++k) lines[k] = samples.data() + k * bytes;
    for (int i0 = 0; i0 < total; i0 += kLineChunk) {
      const int n = std::min(kLineChunk, total - i0), m = n + (width - 1) * bytes;
      const BYTE* s = src + i0;
      for (int i = 0; i < m; ++i) samples[static_cast<std::size_t>(i)] = s[i];
      const int count = SumLines(*single, lines, n, d + i0, unsure.data());
      for (int u = 0; u < count; ++u) {
        const std::size_t at = static_cast<std::size_t>(i0 + unsure[static_cast<std::size_t>(u)]);
        double sum = kernel[0] * src[at];
        for (int k = 1; k < width; ++k) sum += kernel[k] * src[at + static_cast<std::size_t>(k * bytes)];
        d[at] = StoreBlur(sum, 1.0, false);
      }
    }
  } else {
    for (int i = 0; i < total; ++i) {
      double sum = kernel[0] * src[i];
      for (int k = 1; k < width; ++k) sum += kernel[k] * src[i + k * bytes];
      d[i] = StoreBlur(sum, 1.0, false);
    }
  }
  for (int x = std::max(half, columns - half); x < columns; ++x) edgePixel(x);
}

// The vertical pass: line position = row from the top. Each output row sums
// whole rows of the work image with the taps of its position. A strip of
// samples at a time: the rows of the strip are converted to floats once and
// kept in a ring of `width` slots while the taps slide down.
void BlurRows(const double* kernel, int width, const SingleKernel& single, const BITMAPINFOHEADER* work,
              BITMAPINFOHEADER* out, int bytes, int y0, int y1) {
  const int height = work->biHeight, total = work->biWidth * bytes;
  const int chunk = std::clamp((1 << 18) / (width * 4) / 32 * 32, 256, 2048);
  thread_local std::vector<float> ring;
  thread_local std::vector<int> ringRow, unsure;
  ring.resize(static_cast<std::size_t>(width) * chunk);
  if (static_cast<int>(unsure.size()) < chunk) unsure.resize(static_cast<std::size_t>(chunk));
  const float* lines[256];
  const BYTE* rows[256];
  for (int i0 = 0; i0 < total; i0 += chunk) {
    const int n = std::min(chunk, total - i0);
    ringRow.assign(static_cast<std::size_t>(width), -1);
    for (int y = y0; y < y1; ++y) {
      const Taps t = TapsAt(y, width, height);
      const double* k = kernel + t.kStart;
      for (int j = 0; j < t.count; ++j) rows[j] = DibRow(work, t.sStart + j) + i0;
      BYTE* d = DibRow(out, y) + i0;
      if (t.divide) {
        double w = 0.0;
        for (int j = 0; j < t.count; ++j) w += k[j];
        for (int i = 0; i < n; ++i) d[i] = StoreBlur(ExactSum(k, t.count, rows, i), w, true);
        continue;
      }
      for (int j = 0; j < t.count; ++j) {
        const int r = t.sStart + j, slot = r % width;
        float* line = ring.data() + static_cast<std::size_t>(slot) * chunk;
        if (ringRow[static_cast<std::size_t>(slot)] != r) {
          for (int i = 0; i < n; ++i) line[i] = rows[j][i];
          ringRow[static_cast<std::size_t>(slot)] = r;
        }
        lines[j] = line;
      }
      const int count = SumLines(single, lines, n, d, unsure.data());
      for (int u = 0; u < count; ++u) {
        const int i = unsure[static_cast<std::size_t>(u)];
        d[i] = StoreBlur(ExactSum(k, t.count, rows, i), 1.0, false);
      }
    }
  }
}

HDIB GaussianBlur(const HDIB& image, int imageType, double radius, double sigma) {
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  int width = static_cast<int>(2.0 * std::ceil(radius) + 1.0);
  int bytes = SampleBytes(src, imageType);
  if (!bytes) return DuplicateObject(image);
  // Kernels this wide only come from radii far past the settings' range; the
  // tap tables are sized for the widest the dialog allows.
  if (width < 1 || width > 255) return nullptr;
  std::vector<double> kernel;
  if (!FilterGetBlurKernel(width, sigma, kernel)) return nullptr;
  const SingleKernel single = MakeSingleKernel(kernel);
  // The work image needs none of the source's bytes: every sample is written.
  HDIB work = filterutil::CreateLike(src, src->biWidth, src->biHeight);
  HDIB result = DuplicateObject(image);
  BITMAPINFOHEADER* w = LockDib(work);
  BITMAPINFOHEADER* out = LockDib(result);
  if (!w || !out) return nullptr;
  int columns = src->biWidth, height = src->biHeight;
  const double* k = kernel.data();
  ProgressStage stage(0.0, 0.5);
  ParallelBands(height, 16, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) BlurLine(k, width, StoredRow(src, y), StoredRow(w, y), columns, bytes, &single);
  });
  stage.Move(0.5, 1.0);
  ParallelBands(height, 16, [&](int y0, int y1) { BlurRows(k, width, single, w, out, bytes, y0, y1); });
  return result;
}

}  // namespace

void FilterBlurScanlineRGB(const double* kernel, int width, const BYTE* source, BYTE* destination, int columns) {
  if (kernel && source && destination && columns > 0 && width > 0)
    BlurLine(kernel, width, source, destination, columns, 3, nullptr);
}

void FilterBlurScanlineGrey(const double* kernel, int width, const BYTE* source, BYTE* destination, int columns) {
  if (kernel && source && destination && columns > 0 && width > 0)
    BlurLine(kernel, width, source, destination, columns, 1, nullptr);
}

HDIB FilterGaussianBlurImage(const HDIB& image, int imageType, double radius, double sigma) {
  return GaussianBlur(image, imageType, radius, sigma);
}

HDIB FilterGaussianBlur(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  return GaussianBlur(image, param->ImageType, param->FilterGaussianRadius * 0.1, param->FilterGaussianSigma * 0.1);
}

HDIB FilterUnsharpMaskImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  ProgressStage stage(0.0, 0.8);
  HDIB result = FilterGaussianBlur(image, param);
  stage.Move(0.8, 1.0);
  const BITMAPINFOHEADER* src = LockDib(image);
  BITMAPINFOHEADER* out = LockDib(result);
  if (!src || !out) return nullptr;
  int bytes = SampleBytes(src, param->ImageType);
  if (!bytes) return result;
  double amount = param->FilterUnsharpAmount * 0.1;
  double limit = 255.0 * (param->FilterUnsharpThreshold * 0.1);
  int n = src->biWidth * bytes;
  // The result depends on the sample and its blur alone: on a large image,
  // answer all 65536 pairs once by the same rule and look them up.
  std::vector<BYTE> pairs;
  if (FastPaths() && static_cast<std::size_t>(n) * src->biHeight >= (std::size_t{1} << 15) && TryResize(pairs, 65536))
    for (int sv = 0; sv < 256; ++sv)
      for (int bv = 0; bv < 256; ++bv) {
        int d = sv - bv;
        pairs[static_cast<std::size_t>(sv << 8 | bv)] =
            limit > std::abs(2 * d) ? static_cast<BYTE>(sv) : ClampRound(sv + d * amount);
      }
  ParallelBands(src->biHeight, 32, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* s = StoredRow(src, y);
      BYTE* b = StoredRow(out, y);
      if (!pairs.empty()) {
        for (int i = 0; i < n; ++i) b[i] = pairs[static_cast<std::size_t>(s[i] << 8 | b[i])];
        continue;
      }
      for (int i = 0; i < n; ++i) {
        int d = s[i] - b[i];
        if (limit > std::abs(2 * d)) b[i] = s[i];
        else b[i] = ClampRound(s[i] + d * amount);
      }
    }
  });
  return result;
}

}  // namespace ochrel
