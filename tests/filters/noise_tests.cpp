#include "filters/noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "image/crand.h"
#include "filter_test_util.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

using test::Defaults;

// A seed whose next draw is exactly 0: the state after one step must be 0.
unsigned SeedForZeroDraw() {
  std::uint32_t a = 22695477u, inv = a;
  for (int i = 0; i < 5; ++i) inv *= 2u - a * inv;  // Newton: inverse mod 2^32
  return static_cast<unsigned>((0u - 1u) * inv);
}

// ---- Noise values -----------------------------------------------------------------

TEST(Noise, AZeroDrawIsTakenAsOne) {
  unsigned seed = SeedForZeroDraw();
  srand(seed);
  ASSERT_EQ(rand(), 0);
  // Gaussian: log(1) = 0, so the value is N whatever the second draw.
  // Above 4 is Gaussian too; multiplicative has sigma 0; impulse has alpha
  // 1 >= 0.95; Laplacian has b = 0, so N + 255.
  for (int n : {1, 16, 32})
    for (auto [kind, value] : {std::pair{0, n}, {7, n}, {1, n}, {2, 255}, {3, 255}}) {
      srand(seed);
      EXPECT_EQ(FilterGenerateNoise(n, kind), value) << n << " kind " << kind;
    }
}

// ---- Despeckle ------------------------------------------------------------------------

void OracleHull(int X, int Y, int pol, int cols, int rows, std::vector<int>& f, std::vector<int>& g) {
  int W = cols + 2, o = Y * W + X;
  for (int r = 1; r <= rows; ++r)
    for (int c = 1; c <= cols; ++c) {
      int p = r * W + c, v = f[p];
      if (pol > 0) {
        if (f[p + o] > v) v += 1;
      } else if ((f[p + o] + 1) % 256 < v) {
        v -= 1;
      }
      g[p] = v;
    }
  for (int r = 1; r <= rows; ++r)
    for (int c = 1; c <= cols; ++c) {
      int p = r * W + c, v = g[p];
      if (pol > 0) {
        if ((g[p - o] + 1) % 256 > v && g[p + o] > v) v += 1;
      } else if ((g[p - o] + 1) % 256 < v && g[p + o] < v) {
        v -= 1;
      }
      f[p] = v;
    }
}

HDIB OracleDespeckle(const HDIB& image, int bytes) {
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  int w = o->biWidth, h = o->biHeight, W = w + 2;
  std::size_t stride = DibStride(o);
  for (int ch = 0; ch < (bytes == 1 ? 1 : 3); ++ch) {
    std::vector<int> f(W * (h + 2), 0), g(W * (h + 2), 0);
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) f[(y + 1) * W + x + 1] = DibBits(o)[stride * y + x * bytes + ch];
    int dirs[4][2] = {{0, 1}, {1, 0}, {1, 1}, {-1, 1}};
    for (auto& d : dirs) {
      OracleHull(d[0], d[1], 1, w, h, f, g);
      OracleHull(-d[0], -d[1], 1, w, h, f, g);
      OracleHull(-d[0], -d[1], -1, w, h, f, g);
      OracleHull(d[0], d[1], -1, w, h, f, g);
    }
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) DibBits(o)[stride * y + x * bytes + ch] = static_cast<BYTE>(f[(y + 1) * W + x + 1]);
  }
  return out;
}

TEST(Despeckle, MatchesThePlainHullOnRandomImages) {
  unsigned seed = 70;
  for (auto [w, h, bits] : {std::tuple{23, 17, 24}, {1, 9, 8}, {40, 3, 24}, {2, 2, 8}, {64, 64, 8}}) {
    HDIB src = RandomDib(w, h, bits, seed++, 10);
    FILTERPARAM p = Defaults(src);
    EXPECT_TRUE(SameBlock(FilterDespeckleImage(src, &p), OracleDespeckle(src, bits / 8))) << w << "x" << h;
  }
}

// ---- Oil painting ------------------------------------------------------------------

HDIB OracleOil(const HDIB& image, int radiusSetting, COLORREF paper) {
  const BITMAPINFOHEADER* s = LockDib(image);
  int W = static_cast<int>(2 * std::ceil(radiusSetting * 0.01) + 1);
  int width = s->biWidth, height = s->biHeight, V = width + 2 * W, H = height + 2 * W;
  HDIB pad = MattImage(image, V, H, W, W, paper);
  const BITMAPINFOHEADER* ph = LockDib(pad);
  HDIB target = CreateDib(V, H, nullptr, 24);
  BITMAPINFOHEADER* t = LockDib(target);
  std::size_t stride = DibStride(ph);
  auto px = [&](int x, int y) { return DibBits(ph) + stride * y + 3 * x; };
  for (int y = W; y <= H - W - 1; ++y)
    for (int x = W; x <= V - W - 1; ++x) {
      int hist[256] = {}, best = 0;
      auto visit = [&](int col, int row) {
        const BYTE* p = px(col, row);
        int i = (9798 * p[2] + 19235 * p[1] + 3735 * p[0]) >> 15;
        if (++hist[i] > best) {
          best = hist[i];
          std::memcpy(DibBits(t) + stride * y + 3 * x, p, 3);
        }
      };
      for (int i = 0; i < W; ++i) {
        for (int c = x - i + 1; c <= x + i + 1; ++c) visit(c, y - (W - i));
        for (int c = x - i + 1; c <= x + i + 1; ++c) visit(c, y + (W - i));
      }
      for (int c = x - W; c <= x + W; ++c) visit(c, y);
    }
  return CropImage(target, RECT{W, W, W + width, W + height});
}

TEST(OilPaint, MatchesThePlainDiamondRule) {
  unsigned seed = 90;
  for (auto [w, h, r] : {std::tuple{21, 13, 250}, {1, 1, 100}, {5, 30, 400}, {33, 8, 150}}) {
    // Few intensities, so that ties and the first-to-exceed rule matter.
    HDIB src = RandomDib(w, h, 24, seed++);
    BITMAPINFOHEADER* hd = LockDib(src);
    for (std::size_t i = 0; i < hd->biSizeImage; ++i) DibBits(hd)[i] &= 0xC0;
    FILTERPARAM p = Defaults(src);
    p.FilterOilpaintRadius = r;
    p.PaperColour = RGB(64, 128, 192);
    EXPECT_TRUE(SameBlock(FilterOilPaint(src, &p), OracleOil(src, r, p.PaperColour))) << w << "x" << h;
  }
}

// ---- Shade -------------------------------------------------------------------------

HDIB OracleShade(const HDIB& image, int az, int el, int level) {
  HDIB out = DuplicateObject(image);
  const BITMAPINFOHEADER* s = LockDib(image);
  BITMAPINFOHEADER* o = LockDib(out);
  int w = s->biWidth, h = s->biHeight;
  std::size_t stride = DibStride(s);
  auto I = [&](int row, int col) {
    row = std::clamp(row, 0, h - 1);
    col = std::clamp(col, 0, w - 1);
    const BYTE* p = DibBits(s) + stride * row + 3 * col;
    return (9798 * p[2] + 19235 * p[1] + 3735 * p[0]) >> 15;
  };
  double a = az * 3.141592653589793 * 0.005555555555555556, e = el * 3.141592653589793 * 0.005555555555555556;
  double Lx = 255 * cos(a) * cos(e), Ly = 255 * sin(a) * cos(e), Lz = 255 * sin(e);
  for (int y = 0; y < h; ++y) {
    int b = std::min(std::max(y - 1, 0), h - 3);
    for (int x = 0; x < w; ++x) {
      int l = x == 0 ? -1 : 1, r = x == w - 1 ? -1 : 1;
      int nx = I(b, x - l) + I(b + 1, x - l) + I(b + 2, x - l) - I(b, x + r) - I(b + 1, x + r) - I(b + 2, x + r);
      int ny = I(b + 2, x - l) + I(b + 2, x) + I(b + 2, x + r) - I(b, x - l) - I(b, x) - I(b, x + r);
      double shade = Lz;
      if (nx || ny) {
        double D = nx * Lx + ny * Ly + 510 * Lz, M = double(nx) * nx + double(ny) * ny + 510.0 * 510;
        shade = (D > 0 && M > 1e-7) ? D / sqrt(M) : 0;
      }
      BYTE* p = DibBits(o) + stride * y + 3 * x;
      for (int c = 0; c < 3; ++c)
        p[c] = level ? static_cast<BYTE>(static_cast<int>(static_cast<int>(p[c] * shade) * 0.00392156862745098))
                     : static_cast<BYTE>(static_cast<int>(shade));
    }
  }
  return out;
}

TEST(Shade, MatchesThePlainRule) {
  FILTERPARAM p = Defaults(test::Uniform(1, 1, 24, 0));
  unsigned seed = 120;
  for (auto [w, h] : {std::pair{17, 11}, {1, 1}, {1, 5}, {6, 1}, {2, 2}, {40, 3}}) {
    HDIB src = RandomDib(w, h, 24, seed++);
    for (int level : {0, 1}) {
      p.FilterShadeLevel = level;
      p.FilterShadeAzimuth = 300;
      p.FilterShadeElevation = 45;
      EXPECT_TRUE(SameBlock(FilterShade(src, &p), OracleShade(src, 300, 45, level))) << w << "x" << h;
    }
  }
}

}  // namespace
}  // namespace ochrel
