#include "filters/convolve.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "filters/filterutil.h"
#include "image/parallel.h"

#include <vector>

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

constexpr int kChunk = 2048;  // doubles of accumulator kept hot in L1

// The hot loops get a second build for processors with wider vector units;
// the arithmetic is the same (no fused multiply-add), so the bytes are too.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__)
#define OCHREL_WIDE_VECTORS __attribute__((target_clones("avx2", "default")))
#else
#define OCHREL_WIDE_VECTORS
#endif

// One line of `columns` pixels of `bytes` samples each, pixel stride `bytes`.
OCHREL_WIDE_VECTORS
void BlurLine(const double* kernel, int width, const BYTE* src, BYTE* dst, int columns, int bytes) {
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
  // Middle stretch: every sample byte of the stretch at once, taps in order,
  // so each sum is formed exactly as the per-pixel loop forms it.
  int total = (columns - 2 * half) * bytes;
  double acc[kChunk];
  // The samples as doubles once, rather than once for every tap.
  const int span = kChunk + (width - 1) * bytes;
  thread_local std::vector<double> samples;
  if (static_cast<int>(samples.size()) < span) samples.resize(static_cast<std::size_t>(span));
  double* sd = samples.data();
  for (int i0 = 0; i0 < total; i0 += kChunk) {
    int n = std::min(kChunk, total - i0);
    const BYTE* s = src + i0;
    const int m = n + (width - 1) * bytes;
    for (int i = 0; i < m; ++i) sd[i] = s[i];
    for (int i = 0; i < n; ++i) acc[i] = kernel[0] * sd[i];
    for (int k = 1; k < width; ++k) {
      double kv = kernel[k];
      const double* sk = sd + k * bytes;
      for (int i = 0; i < n; ++i) acc[i] += kv * sk[i];
    }
    BYTE* d = dst + half * bytes + i0;
    for (int i = 0; i < n; ++i) d[i] = StoreBlur(acc[i], 1.0, false);
  }
  for (int x = std::max(half, columns - half); x < columns; ++x) edgePixel(x);
}

// The vertical pass: line position = row from the top. Each output row sums
// whole rows of the work image with the taps of its position.
OCHREL_WIDE_VECTORS
void BlurRows(const double* kernel, int width, const BITMAPINFOHEADER* work, BITMAPINFOHEADER* out, int bytes,
              int y0, int y1) {
  int height = work->biHeight;
  int total = work->biWidth * bytes;
  const double* rows[256];
  double acc[kChunk];
  // A strip of kChunk samples at a time, the rows of the strip converted to
  // doubles once and kept in a ring of `width` slots while the taps slide down.
  thread_local std::vector<double> ring;
  thread_local std::vector<int> ringRow;
  ring.resize(static_cast<std::size_t>(width) * kChunk);
  for (int i0 = 0; i0 < total; i0 += kChunk) {
    int n = std::min(kChunk, total - i0);
    ringRow.assign(static_cast<std::size_t>(width), -1);
    for (int y = y0; y < y1; ++y) {
      Taps t = TapsAt(y, width, height);
      double w = 0.0;
      for (int j = 0; j < t.count; ++j) {
        w += kernel[t.kStart + j];
        const int r = t.sStart + j, slot = r % width;
        double* line = ring.data() + static_cast<std::size_t>(slot) * kChunk;
        if (ringRow[static_cast<std::size_t>(slot)] != r) {
          const BYTE* src = DibRow(work, r) + i0;
          for (int i = 0; i < n; ++i) line[i] = src[i];
          ringRow[static_cast<std::size_t>(slot)] = r;
        }
        rows[j] = line;
      }
      const double* s = rows[0];
      double k0 = kernel[t.kStart];
      for (int i = 0; i < n; ++i) acc[i] = k0 * s[i];
      for (int j = 1; j < t.count; ++j) {
        double kv = kernel[t.kStart + j];
        const double* sj = rows[j];
        for (int i = 0; i < n; ++i) acc[i] += kv * sj[i];
      }
      BYTE* d = DibRow(out, y);
      for (int i = 0; i < n; ++i) d[i0 + i] = StoreBlur(acc[i], w, t.divide);
    }
  }
}

HDIB GaussianBlur(const HDIB& image, int imageType, double radius, double sigma) {
  const BITMAPINFOHEADER* src = LockDib(image);
  if (!src) return nullptr;
  int width = static_cast<int>(2.0 * std::ceil(radius) + 1.0);
  HDIB result = DuplicateObject(image);
  if (!result) return nullptr;
  int bytes = SampleBytes(src, imageType);
  if (!bytes) return result;
  // Kernels this wide only come from radii far past the settings' range; the
  // row table of the vertical pass is sized for the widest the dialog allows.
  if (width < 1 || width > 255) return nullptr;
  std::vector<double> kernel;
  if (!FilterGetBlurKernel(width, sigma, kernel)) return nullptr;
  HDIB work = DuplicateObject(image);
  BITMAPINFOHEADER* w = LockDib(work);
  BITMAPINFOHEADER* out = LockDib(result);
  if (!w || !out) return nullptr;
  int columns = src->biWidth, height = src->biHeight;
  const double* k = kernel.data();
  ParallelBands(height, 16, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) BlurLine(k, width, StoredRow(src, y), StoredRow(w, y), columns, bytes);
  });
  ParallelBands(height, 16, [&](int y0, int y1) { BlurRows(k, width, w, out, bytes, y0, y1); });
  return result;
}

}  // namespace

void FilterBlurScanlineRGB(const double* kernel, int width, const BYTE* source, BYTE* destination, int columns) {
  if (kernel && source && destination && columns > 0 && width > 0)
    BlurLine(kernel, width, source, destination, columns, 3);
}

void FilterBlurScanlineGrey(const double* kernel, int width, const BYTE* source, BYTE* destination, int columns) {
  if (kernel && source && destination && columns > 0 && width > 0)
    BlurLine(kernel, width, source, destination, columns, 1);
}

HDIB FilterGaussianBlurImage(const HDIB& image, int imageType, double radius, double sigma) {
  return GaussianBlur(image, imageType, radius, sigma);
}

HDIB FilterGaussianBlur(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  return GaussianBlur(image, param->ImageType, param->FilterGaussianRadius * 0.1,
                      param->FilterGaussianSigma * 0.1);
}

HDIB FilterUnsharpMaskImage(const HDIB& image, FILTERPARAM* param) {
  if (!param) return nullptr;
  HDIB result = FilterGaussianBlur(image, param);
  const BITMAPINFOHEADER* src = LockDib(image);
  BITMAPINFOHEADER* out = LockDib(result);
  if (!src || !out) return nullptr;
  int bytes = SampleBytes(src, param->ImageType);
  if (!bytes) return result;
  double amount = param->FilterUnsharpAmount * 0.1;
  double limit = 255.0 * (param->FilterUnsharpThreshold * 0.1);
  int n = src->biWidth * bytes;
  ParallelBands(src->biHeight, 32, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* s = StoredRow(src, y);
      BYTE* b = StoredRow(out, y);
      for (int i = 0; i < n; ++i) {
        int d = s[i] - b[i];
        if (limit > std::abs(2 * d)) b[i] = s[i];
        else b[i] = ClampRound(s[i] + d * amount);
      }
    }
  });
  return result;
}

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
