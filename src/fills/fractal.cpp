// Layered fractal clouds: each layer is fractional Brownian motion made by
// spectral synthesis (random Fourier coefficients with a power-law falloff and
// an inverse FFT), thresholded and blended over the bitmap in one colour.
//
// The order of the random draws fixes the picture, so it is kept exactly. The
// two-dimensional transform is done line by line (rows, then columns), which
// performs the same butterflies with the same twiddle recurrence as a single
// multi-dimensional pass; it only lets the lines use the cores and the cache.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>

#include "fills/fill_util.h"
#include "fills/texture.h"
#include "image/crand.h"
#include "image/parallel.h"
#include "image/progress.h"

namespace ochrel {
namespace texture_detail {

namespace {

constexpr double kTwoPi = 6.283185307179586;
constexpr int kLargestMesh = 4096;  // 128 MB of floats; beyond this no mesh is tried

// Generator state of one layer.
double arand, gaussadd, gaussfac;

void InitFractalRandom(std::uint32_t seed) {
  arand = 32767.0;
  gaussadd = std::sqrt(12.0);
  gaussfac = 2.0 * gaussadd / (4.0 * arand);
  ochrel::srand(seed);
}

double FractalGauss() {
  double sum = 0.0;
  for (int i = 0; i < 4; ++i) sum += ochrel::rand() & 0x7FFF;
  return gaussfac * sum - gaussadd;
}

// One complex line of n points (interleaved re, im), `stride` complex elements apart.
void FourierLine(float* d, int n, std::size_t stride, int sign) {
  const std::size_t s2 = stride * 2;
  int j = 0;
  for (int i = 0; i < n; ++i) {
    if (j > i) {
      std::swap(d[i * s2], d[j * s2]);
      std::swap(d[i * s2 + 1], d[j * s2 + 1]);
    }
    int m = n >> 1;
    while (m >= 1 && j >= m) {
      j -= m;
      m >>= 1;
    }
    j += m;
  }
  for (int half = 1; half < n; half <<= 1) {
    const int span = half << 1;
    const double theta = sign * kTwoPi / span;
    const double wtemp = std::sin(0.5 * theta);
    const double wpr = -2.0 * wtemp * wtemp;
    const double wpi = std::sin(theta);
    double wr = 1.0, wi = 0.0;
    for (int m = 0; m < half; ++m) {
      for (int i = m; i < n; i += span) {
        float* a = d + i * s2;
        float* b = d + (i + half) * s2;
        const float tempr = static_cast<float>(wr * b[0] - wi * b[1]);
        const float tempi = static_cast<float>(wr * b[1] + wi * b[0]);
        b[0] = a[0] - tempr;
        b[1] = a[1] - tempi;
        a[0] += tempr;
        a[1] += tempi;
      }
      const double w = wr;
      wr = w * wpr - wi * wpi + wr;
      wi = wi * wpr + w * wpi + wi;
    }
  }
}

}  // namespace

void FourierTransform2D(float* data, int n, int sign) {
  const std::size_t rowFloats = static_cast<std::size_t>(n) * 2;
  // The last dimension first: every row is a contiguous line.
  ParallelBands(n, 16, [&](int begin, int end) {
    for (int i = begin; i < end; ++i) FourierLine(data + i * rowFloats, n, 1, sign);
  });
  // Then the columns, a group at a time through a contiguous buffer.
  constexpr int kGroup = 16;
  const int groups = (n + kGroup - 1) / kGroup;
  ParallelBands(groups, 1, [&](int begin, int end) {
    auto buffer = fills::AllocScratch<float>(static_cast<std::size_t>(kGroup) * rowFloats);
    for (int g = begin; g < end; ++g) {
      const int c0 = g * kGroup, count = std::min(kGroup, n - c0);
      if (!buffer) {
        for (int c = c0; c < c0 + count; ++c) FourierLine(data + c * 2, n, static_cast<std::size_t>(n), sign);
        continue;
      }
      float* buf = buffer.data();
      for (int i = 0; i < n; ++i) {
        const float* src = data + i * rowFloats + c0 * 2;
        for (int c = 0; c < count; ++c) {
          buf[c * rowFloats + i * 2] = src[c * 2];
          buf[c * rowFloats + i * 2 + 1] = src[c * 2 + 1];
        }
      }
      for (int c = 0; c < count; ++c) FourierLine(buf + c * rowFloats, n, 1, sign);
      for (int i = 0; i < n; ++i) {
        float* dst = data + i * rowFloats + c0 * 2;
        for (int c = 0; c < count; ++c) {
          dst[c * 2] = buf[c * rowFloats + i * 2];
          dst[c * 2 + 1] = buf[c * rowFloats + i * 2 + 1];
        }
      }
    }
  });
}

int FractalMeshSize(int matrixSize) {
  if (matrixSize > kLargestMesh) return 0;
  int n = 2;
  while (n < matrixSize) n <<= 1;
  return n;
}

namespace {

// Spectral synthesis into `mesh` (n * n complex values, zeroed), then the
// inverse transform. The random numbers are drawn first, in their fixed
// order; the arithmetic on them is independent per cell and runs on all cores.
// No two cells write the same place except a cell and its own mirror, so the
// result does not depend on how the work is split.
struct Draw {
  int phase;     // rand() & 0x7FFF
  double gauss;  // FractalGauss(), unused at the origin
};

bool SpectralSynthesis(float* mesh, int n, double h) {
  auto cell = [&](int i, int j) { return mesh + (static_cast<std::size_t>(i) * n + j) * 2; };
  const double exponent = -(h + 1.0) * 0.5;
  const int half = n / 2;
  const std::size_t first = static_cast<std::size_t>(half + 1) * (half + 1);
  const std::size_t inner = half > 1 ? static_cast<std::size_t>(half - 1) * (half - 1) : 0;
  auto draws = fills::AllocScratch<Draw>(first + inner);
  if (!draws) return false;
  Draw* d = draws.data();
  for (std::size_t k = 0; k < first; ++k) {
    d[k].phase = ochrel::rand() & 0x7FFF;
    d[k].gauss = k == 0 ? 0.0 : FractalGauss();  // cell (0, 0) draws its phase only
  }
  for (std::size_t k = first; k < first + inner; ++k) {
    d[k].phase = ochrel::rand() & 0x7FFF;
    d[k].gauss = FractalGauss();
  }
  ParallelBands(half + 1, 16, [&](int begin, int end) {
    for (int i = begin; i < end; ++i) {
      for (int j = 0; j <= half; ++j) {
        const Draw& r = d[static_cast<std::size_t>(i) * (half + 1) + j];
        const double phase = r.phase / arand * kTwoPi;
        double rad = 0.0;
        if (i != 0 || j != 0) rad = std::pow(static_cast<double>(i * i + j * j), exponent) * r.gauss;
        const double rcos = rad * std::cos(phase), rsin = rad * std::sin(phase);
        float* a = cell(i, j);
        a[0] = static_cast<float>(rcos);
        a[1] = static_cast<float>(rsin);
        float* b = cell(i == 0 ? 0 : n - i, j == 0 ? 0 : n - j);
        b[0] = static_cast<float>(rcos);
        b[1] = static_cast<float>(-rsin);
      }
    }
  });
  cell(half, 0)[1] = 0.0f;
  cell(0, half)[1] = 0.0f;
  cell(half, half)[1] = 0.0f;
  ParallelBands(half > 1 ? half - 1 : 0, 16, [&](int begin, int end) {
    for (int i = begin + 1; i < end + 1; ++i) {
      for (int j = 1; j < half; ++j) {
        const Draw& r = d[first + static_cast<std::size_t>(i - 1) * (half - 1) + (j - 1)];
        const double phase = r.phase / arand * kTwoPi;
        const double rad = std::pow(static_cast<double>(i * i + j * j), exponent) * r.gauss;
        const double rcos = rad * std::cos(phase), rsin = rad * std::sin(phase);
        float* a = cell(i, n - j);
        a[0] = static_cast<float>(rcos);
        a[1] = static_cast<float>(rsin);
        float* b = cell(n - i, j);
        b[0] = static_cast<float>(rcos);
        b[1] = static_cast<float>(-rsin);
      }
    }
  });
  FourierTransform2D(mesh, n, -1);
  return true;
}

}  // namespace

bool SpectralSynthesisMesh(int n, std::uint32_t seed, double dimension, float* mesh) {
  InitFractalRandom(seed);
  return SpectralSynthesis(mesh, n, 3.0 - dimension);
}

void ApplyFractalPower(float* mesh, std::size_t cells, double power) {
  if (power == 1.0) return;
  const std::size_t chunk = 4096;
  ParallelBands(static_cast<int>((cells + chunk - 1) / chunk), 4, [&](int begin, int end) {
    const std::size_t stop = std::min(cells, static_cast<std::size_t>(end) * chunk);
    for (std::size_t k = static_cast<std::size_t>(begin) * chunk; k < stop; ++k) {
      float& r = mesh[k * 2];
      if (r > 0.0f) r = static_cast<float>(std::pow(static_cast<double>(r), power));
    }
  });
}

void NormaliseFractalMesh(const float* mesh, std::size_t cells, float* out) {
  double lo = DBL_MAX, hi = -DBL_MAX;
  for (std::size_t k = 0; k < cells; ++k) {
    const double r = mesh[k * 2];
    if (r < lo) lo = r;
    if (r > hi) hi = r;
  }
  const double mean = (lo + hi) * 0.5, range = (hi - lo) * 0.5;
  for (std::size_t k = 0; k < cells; ++k) {
    // A flat mesh (or one spoilt by an absurd power) has no range to spread.
    const double v = range > 0.0 ? (mesh[k * 2] - mean) / range : 0.0;
    out[k] = std::isfinite(v) ? static_cast<float>(v) : 0.0f;
  }
}

bool MakeFractalMesh(int n, std::uint32_t seed, double power, double dimension, float* out) {
  const std::size_t cells = static_cast<std::size_t>(n) * n;
  auto mesh = fills::AllocScratch<float>(cells * 2);
  if (!mesh) return false;
  if (!SpectralSynthesisMesh(n, seed, dimension, mesh.data())) return false;
  ApplyFractalPower(mesh.data(), cells, power);
  NormaliseFractalMesh(mesh.data(), cells, out);
  return true;
}

}  // namespace texture_detail

namespace {

// Draws one layer's mesh over the bitmap: bilinear sample, cloud threshold,
// blend in `colour`.
bool RenderFractalLayer(BITMAPINFOHEADER* h, const float* real, int n, COLORREF colour) {
  const int W = h->biWidth, H = h->biHeight;
  const int S = texture_detail::FractalExtent(W, H);
  const std::size_t cells = static_cast<std::size_t>(n) * n;
  auto bytes = fills::AllocScratch<BYTE>(cells);
  auto colTable = fills::AllocScratch<int>(static_cast<std::size_t>(S) * 2);
  auto uTable = fills::AllocScratch<double>(static_cast<std::size_t>(S) * 2);
  if (!bytes || !colTable || !uTable) return false;
  BYTE* mesh = bytes.data();
  for (std::size_t k = 0; k < cells; ++k) {
    const double v = (real[k] + 1.0) * 255.0 * 0.5;
    mesh[k] = static_cast<BYTE>(std::clamp(static_cast<int>(v), 0, 255));
  }
  int* bxf = colTable.data();
  int* bxc = bxf + S;
  double* u = uTable.data();
  double* u1 = u + S;
  for (int j = 0; j < S; ++j) {
    const double bx = (n - 1) * (static_cast<double>(j) / (S - 1));
    const double f = std::floor(bx);
    bxf[j] = static_cast<int>(f);
    // The right neighbour past the mesh only ever has weight 0.
    bxc[j] = std::min(bxf[j] + 1, n - 1);
    u[j] = bx - f;
    u1[j] = 1.0 - u[j];
  }
  const int cols = std::min(S, W);  // columns beyond the bitmap write nothing
  const int cr = GetRValue(colour), cg = GetGValue(colour), cb = GetBValue(colour);
  ParallelBands(H, 8, [&](int begin, int end) {
    for (int y = begin; y < end; ++y) {
      // A one-row bitmap has nothing to interpolate towards: it takes mesh row 0.
      const double by = H > 1 ? (n - 1) * (static_cast<double>(y) / (H - 1)) : 0.0;
      const double fy = std::floor(by);
      const std::size_t byf = static_cast<std::size_t>(fy) * n;
      const std::size_t byc = std::min<std::size_t>(byf + n, static_cast<std::size_t>(n - 1) * n);
      const double t = by - fy, t1 = 1.0 - t;
      BYTE* p = DibRow(h, y);
      for (int j = 0; j < cols; ++j, p += 3) {
        const double v = t1 * u1[j] * mesh[byf + bxf[j]] + t * u1[j] * mesh[byc + bxf[j]] +
                         t * u[j] * mesh[byc + bxc[j]] + t1 * u[j] * mesh[byf + bxc[j]];
        if (!(v > 127.0)) continue;
        const int w = static_cast<int>((v - 127.0) * 0.0078125 * 255.0);
        p[0] = fills::BlendChannel(cb, p[0], w);
        p[1] = fills::BlendChannel(cg, p[1], w);
        p[2] = fills::BlendChannel(cr, p[2], w);
      }
    }
  });
  return true;
}

HDIB CreateFractalClouds(const TEXTURE* t, int layers) {
  if (!t) return nullptr;
  const int W = t->Rect.right - t->Rect.left, H = t->Rect.bottom - t->Rect.top;
  HDIB dib = fills::CreateSolidDib24(W, H, t->BackColour);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  const int n = texture_detail::FractalMeshSize(t->MatrixSize);
  if (n == 0) return nullptr;
  const COLORREF colours[4] = {t->ForeColour1, t->ForeColour2, t->ForeColour3, t->ForeColour4};
  const float powers[4] = {t->Power1, t->Power2, t->Power3, t->Power4};
  const std::uint32_t seeds[4] = {t->SeedValue1, t->SeedValue2, t->SeedValue3, t->SeedValue4};
  const float dims[4] = {t->Dimension1, t->Dimension2, t->Dimension3, t->Dimension4};
  auto real = fills::AllocScratch<float>(static_cast<std::size_t>(n) * n);
  if (!real) return nullptr;
  for (int k = 0; k < layers; ++k) {
    const auto layer = ProgressStage::Part(k, layers);
    ProgressStage part(0.0, 0.3);
    if (!texture_detail::MakeFractalMesh(n, seeds[k], powers[k], dims[k], real.data())) return nullptr;
    part.Move(0.3, 1.0);
    if (!RenderFractalLayer(h, real.data(), n, colours[k])) return nullptr;
  }
  return dib;
}

}  // namespace

HDIB CreateFractalClouds2Color(const TEXTURE* t) { return CreateFractalClouds(t, 1); }
HDIB CreateFractalClouds3Color(const TEXTURE* t) { return CreateFractalClouds(t, 2); }
HDIB CreateFractalClouds4Color(const TEXTURE* t) { return CreateFractalClouds(t, 3); }
HDIB CreateFractalClouds5Color(const TEXTURE* t) { return CreateFractalClouds(t, 4); }

}  // namespace ochrel
