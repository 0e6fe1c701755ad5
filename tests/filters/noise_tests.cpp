#include "filters/noise.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "image/crand.h"
#include "filter_test_util.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

using test::Defaults;
HDIB Uniform24(int w, int h, COLORREF c) { return test::Uniform(w, h, 24, c); }

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
  for (int n : {1, 16, 32}) {
    srand(seed);
    EXPECT_EQ(FilterGenerateNoise(n, 0), n);
    srand(seed);
    EXPECT_EQ(FilterGenerateNoise(n, 7), n);  // above 4 is Gaussian too
    srand(seed);
    EXPECT_EQ(FilterGenerateNoise(n, 1), n);  // multiplicative: sigma 0
    srand(seed);
    EXPECT_EQ(FilterGenerateNoise(n, 2), 255);  // impulse: alpha 1 >= 0.95
    srand(seed);
    EXPECT_EQ(FilterGenerateNoise(n, 3), 255);  // Laplacian: b = 0 -> N + 255
  }
}

TEST(Noise, ImpulseProportionsAndPoissonMultiples) {
  srand(12345);
  int zero = 0, full = 0, level = 0, other = 0;
  const int draws = 200000;
  for (int i = 0; i < draws; ++i) {
    int v = FilterGenerateNoise(16, 2);
    if (v == 0) ++zero;
    else if (v == 255) ++full;
    else if (v == 16) ++level;
    else ++other;
  }
  EXPECT_EQ(other, 0);
  EXPECT_NEAR(zero / double(draws), 0.05, 0.005);
  EXPECT_NEAR(full / double(draws), 0.05, 0.005);
  EXPECT_NEAR(level / double(draws), 0.90, 0.006);

  srand(99);
  int counts[3] = {};
  for (int i = 0; i < 100000; ++i) {
    int v = FilterGenerateNoise(1, 4);
    ASSERT_EQ(v % 20, 0) << v;
    ASSERT_LE(v, 255);
    if (v / 20 < 3) ++counts[v / 20];
  }
  // exp(-0.05) = 0.951: the loop mostly stops at once.
  EXPECT_NEAR(counts[0] / 100000.0, 0.951, 0.005);
  EXPECT_GT(counts[1], 0);

  srand(7);
  double sum = 0;
  for (int i = 0; i < 50000; ++i) {
    int v = FilterGenerateNoise(32, 4);
    ASSERT_EQ(v % 20, 0);
    sum += v;
  }
  // Mean count is 0.05 N = 1.6, times 20.
  EXPECT_NEAR(sum / 50000, 32.0, 1.0);
  for (int type = 0; type < 5; ++type) {
    srand(3);
    for (int i = 0; i < 20000; ++i) {
      int v = FilterGenerateNoise(32, type);
      ASSERT_GE(v, 0);
      ASSERT_LE(v, 255);
    }
  }
}

TEST(AddNoise, ImpulseRaisesByHalfTheLevelAndGreyStaysGrey) {
  HDIB src = Uniform24(100, 50, RGB(100, 100, 100));
  FILTERPARAM p = Defaults(src);
  p.FilterNoiseType = 2;
  p.FilterNoiseLevel = 17;  // N / 2 = 8, so an N draw adds 9
  srand(5);
  HDIB out = FilterAddNoise(src, &p);
  const BITMAPINFOHEADER* o = LockDib(out);
  int raised = 0, low = 0, high = 0;
  for (int y = 0; y < 50; ++y)
    for (int x = 0; x < 100; ++x) {
      COLORREF c = GetDibPixel(o, x, y);
      ASSERT_EQ(GetRValue(c), GetGValue(c));
      ASSERT_EQ(GetRValue(c), GetBValue(c));
      int r = GetRValue(c);
      if (r == 109) ++raised;
      else if (r == 92) ++low;  // 0 - 8
      else if (r == 255) ++high;  // 100 + 247 clamps
      else FAIL() << r;
    }
  EXPECT_NEAR(raised / 5000.0, 0.9, 0.02);
  EXPECT_GT(low, 0);
  EXPECT_GT(high, 0);
  // The same seed gives the same picture; coloured noise splits the channels.
  srand(5);
  EXPECT_TRUE(SameBlock(FilterAddNoise(src, &p), out));
  p.FilterNoiseType = 0;
  p.FilterNoiseColour = 1;
  srand(5);
  HDIB coloured = FilterAddNoise(src, &p);
  int split = 0;
  for (int x = 0; x < 100; ++x) {
    COLORREF c = GetDibPixel(LockDib(coloured), x, 0);
    split += GetRValue(c) != GetGValue(c) || GetGValue(c) != GetBValue(c);
  }
  EXPECT_GT(split, 50);
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

TEST(Despeckle, LoneBrightPixelFallsAndConstantInteriorStays) {
  HDIB dark = Uniform24(9, 9, RGB(20, 20, 20));
  PutDibPixel(LockDib(dark), 4, 4, RGB(200, 200, 200));
  FILTERPARAM p = Defaults(dark);
  HDIB out = FilterDespeckleImage(dark, &p);
  int centre = GetRValue(GetDibPixel(LockDib(out), 4, 4));
  EXPECT_LT(centre, 200);
  EXPECT_GE(centre, 200 - 16);  // four directions, two falling hulls each, one level per pass
  EXPECT_LT(GetRValue(GetDibPixel(LockDib(out), 0, 8)), 20);  // a corner sees the zero border

  HDIB flat = Uniform24(12, 10, RGB(90, 90, 90));
  HDIB f = FilterDespeckleImage(flat, &p);
  const BITMAPINFOHEADER* o = LockDib(f);
  bool edgeFell = false;
  for (int y = 0; y < 10; ++y)
    for (int x = 0; x < 12; ++x) {
      int v = GetRValue(GetDibPixel(o, x, y));
      ASSERT_LE(v, 90);
      ASSERT_GE(v, 80);
      bool border = x == 0 || y == 0 || x == 11 || y == 9;
      if (!border && !(x == 1 || y == 1 || x == 10 || y == 8)) {
        ASSERT_EQ(v, 90) << x << "," << y;
      }
      edgeFell |= border && v < 90;
    }
  EXPECT_TRUE(edgeFell);
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

TEST(OilPaint, UniformImageStaysExceptWhereThePaperWins) {
  HDIB src = Uniform24(30, 20, RGB(10, 120, 30));
  FILTERPARAM p = Defaults(src);
  p.PaperColour = RGB(255, 255, 255);
  HDIB out = FilterOilPaint(src, &p);
  const BITMAPINFOHEADER* o = LockDib(out);
  for (int y = 3; y < 17; ++y)
    for (int x = 3; x < 27; ++x) ASSERT_EQ(GetDibPixel(o, x, y), RGB(10, 120, 30));
  // At a corner more than half the diamond lies in the paper border.
  EXPECT_EQ(GetDibPixel(o, 0, 0), RGB(255, 255, 255));
  // With paper of the same colour nothing changes at all.
  p.PaperColour = RGB(10, 120, 30);
  EXPECT_TRUE(SameBlock(FilterOilPaint(src, &p), src));
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

TEST(Shade, FlatImageAndThePlainRule) {
  HDIB flat = Uniform24(10, 8, RGB(200, 100, 50));
  FILTERPARAM p = Defaults(flat);
  p.FilterShadeLevel = 0;
  HDIB grey = FilterShade(flat, &p);
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 10; ++x) ASSERT_EQ(GetDibPixel(LockDib(grey), x, y), RGB(127, 127, 127));
  p.FilterShadeLevel = 1;
  double lz = 255 * std::sin(30 * 3.141592653589793 / 180);
  COLORREF expect = RGB(int(int(200 * lz) / 255.0), int(int(100 * lz) / 255.0), int(int(50 * lz) / 255.0));
  EXPECT_EQ(GetDibPixel(LockDib(FilterShade(flat, &p)), 5, 5), expect);

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

// ---- Vignette --------------------------------------------------------------------

TEST(Vignette, RingsAndStepsAt200ByFade50) {
  FILTERPARAM p;
  RestoreFilterDefaults(&p);
  p.FilterVignetteLevel = 50;
  HDIB mask = CreateVignetteMask(200, 200, &p);
  ASSERT_TRUE(mask);
  const BITMAPINFOHEADER* m = LockDib(mask);
  EXPECT_EQ(m->biBitCount, 8);
  EXPECT_EQ(GetImageType(m), IMAGE_GREY);
  // half 100, rings 50, steps 50: ring i starts i pixels in along the middle row.
  for (int i = 0; i < 49; ++i) {
    int expect = static_cast<int>(255 - std::sin(90.0 / 50 * i * 0.017453277777777776) * 255);
    ASSERT_EQ(GetDibPixel(m, i, 100), static_cast<std::uint32_t>(expect)) << i;
    ASSERT_EQ(GetDibPixel(m, 100, i), static_cast<std::uint32_t>(expect)) << i;
  }
  for (int x = 49; x < 151; ++x) ASSERT_EQ(GetDibPixel(m, x, 100), 0u) << x;
  EXPECT_EQ(GetDibPixel(m, 199, 100), 255u);  // the right edge of the box stays out
  EXPECT_EQ(GetDibPixel(m, 0, 0), 255u);
  EXPECT_EQ(GetDibPixel(m, 199, 199), 255u);
  // Values never rise towards the centre along a diagonal.
  for (int i = 1; i < 100; ++i) ASSERT_LE(GetDibPixel(m, i, i), GetDibPixel(m, i - 1, i - 1));
}

TEST(Vignette, BlendAndTheNoRingCase) {
  HDIB src = Uniform24(200, 200, RGB(100, 50, 0));
  FILTERPARAM p = Defaults(src);
  p.FilterVignetteLevel = 50;
  p.PaperColour = RGB(255, 255, 255);
  HDIB out = FilterVignetteImage(src, &p);
  HDIB mask = CreateVignetteMask(200, 200, &p);
  for (int y = 0; y < 200; y += 7)
    for (int x = 0; x < 200; x += 3) {
      int m = GetDibPixel(LockDib(mask), x, y);
      int r = (100 * (255 - m) / 255 + 255 * m / 255) & 255, g = (50 * (255 - m) / 255 + 255 * m / 255) & 255,
          b = (0 * (255 - m) / 255 + 255 * m / 255) & 255;
      ASSERT_EQ(GetDibPixel(LockDib(out), x, y), RGB(r, g, b)) << x << "," << y;
    }
  EXPECT_EQ(GetDibPixel(LockDib(out), 100, 100), RGB(100, 50, 0));
  // Fade 1 on a 20-pixel image: rings 0, no ellipse, all paper.
  HDIB small = RandomDib(20, 20, 24, 4);
  p.FilterVignetteLevel = 1;
  p.PaperColour = RGB(1, 2, 3);
  HDIB all = FilterVignetteImage(small, &p);
  for (int y = 0; y < 20; ++y)
    for (int x = 0; x < 20; ++x) ASSERT_EQ(GetDibPixel(LockDib(all), x, y), RGB(1, 2, 3));
  // Offset 25 insets the rings by a quarter of the shorter side.
  p.FilterVignetteLevel = 50;
  p.FilterVignetteOffsetLevel = 25;
  HDIB inset = CreateVignetteMask(200, 100, &p);
  EXPECT_EQ(GetDibPixel(LockDib(inset), 24, 50), 255u);
  EXPECT_EQ(GetDibPixel(LockDib(inset), 25, 50), 255u);  // ring 0 is white too
  // inset 25, half 75, rings 37: the boxes run out of height after 25 rings,
  // so the centre keeps the grey of ring 24.
  int centre = static_cast<int>(255 - std::sin(90.0 / 37 * 24 * 0.017453277777777776) * 255);
  EXPECT_EQ(GetDibPixel(LockDib(inset), 100, 50), static_cast<std::uint32_t>(centre));
}

}  // namespace
}  // namespace ochrel
