#include "filters/convolve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "filter_test_util.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

using test::Defaults;
// ---- Oracles: the rules written out plainly, one pixel at a time ----------

BYTE OracleLinePixel(const std::vector<double>& k, int width, const std::vector<int>& line, int x) {
  int columns = static_cast<int>(line.size()), half = width / 2;
  double s = 0, w = 0;
  if (width > columns) {
    for (int i = 0; i < columns; ++i)
      if (std::abs(i - x) <= half) {
        s += k[i + half - x] * line[i];
        w += k[i + half - x];
      }
    double v = (s + 0.5) / w;
    return static_cast<BYTE>(std::min(255, static_cast<int>(v)));
  }
  if (x < half) {
    for (int e = half - x, i = 0; e < width; ++e, ++i) {
      s += k[e] * line[i];
      w += k[e];
    }
    return static_cast<BYTE>(static_cast<int>((s + 0.5) / w));
  }
  if (x < columns - half) {
    for (int e = 0; e < width; ++e) s += k[e] * line[x - half + e];
    return static_cast<BYTE>(static_cast<int>(s + 0.5));
  }
  for (int e = 0, i = x - half; i < columns; ++e, ++i) {
    s += k[e] * line[i];
    w += k[e];
  }
  return static_cast<BYTE>(static_cast<int>((s + 0.5) / w));
}

HDIB OracleBlur(const HDIB& image, double radius, double sigma) {
  HDIB work = DuplicateObject(image), out = DuplicateObject(image);
  const BITMAPINFOHEADER* s = LockDib(image);
  BITMAPINFOHEADER* w = LockDib(work);
  BITMAPINFOHEADER* o = LockDib(out);
  int width = static_cast<int>(2 * std::ceil(radius) + 1);
  std::vector<double> k;
  FilterGetBlurKernel(width, sigma, k);
  int bytes = s->biBitCount / 8, W = s->biWidth, H = s->biHeight;
  for (int y = 0; y < H; ++y)
    for (int c = 0; c < bytes; ++c) {
      std::vector<int> line(W);
      for (int x = 0; x < W; ++x) line[x] = DibRow(s, y)[x * bytes + c];
      for (int x = 0; x < W; ++x) DibRow(w, y)[x * bytes + c] = OracleLinePixel(k, width, line, x);
    }
  for (int x = 0; x < W; ++x)
    for (int c = 0; c < bytes; ++c) {
      std::vector<int> line(H);
      for (int y = 0; y < H; ++y) line[y] = DibRow(w, y)[x * bytes + c];  // top to bottom
      for (int y = 0; y < H; ++y) DibRow(o, y)[x * bytes + c] = OracleLinePixel(k, width, line, y);
    }
  return out;
}

HDIB OracleConvolve(const HDIB& image, int order, const std::vector<double>& k) {
  const BITMAPINFOHEADER* s = LockDib(image);
  HDIB out = DuplicateObject(image);
  BITMAPINFOHEADER* o = LockDib(out);
  int bytes = s->biBitCount / 8, W = s->biWidth, H = s->biHeight, half = order / 2;
  double n = 0;
  for (double v : k) n += v;
  bool divide = std::fabs(n) > 1e-9 && std::fabs(n - 1) > 1e-9;
  std::size_t stride = DibStride(s);
  auto at = [&](int x, int y, int c) {  // stored rows, torus wrap
    x = (x + W) % W;
    y = (y + H) % H;
    return DibBits(s)[stride * y + x * bytes + c];
  };
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x)
      for (int c = 0; c < bytes; ++c) {
        double sum = 0;
        for (int r = 0; r < order; ++r)
          for (int cc = 0; cc < order; ++cc) sum += k[r * order + cc] * at(x - half + cc, y - half + r, c);
        if (divide) sum /= n;
        DibBits(o)[stride * y + x * bytes + c] = sum < 0     ? 0
                                                 : sum > 255 ? 255
                                                             : static_cast<BYTE>(static_cast<int>(sum + 0.5));
      }
  return out;
}

// ---- Kernel ------------------------------------------------------------------

// The kernel's taps are pinned by the blur digests; its width rule is not.
TEST(BlurKernel, AWidthOfZeroOrLessMeansThree) {
  std::vector<double> k;
  EXPECT_EQ(FilterGetBlurKernel(0, 1.0, k), 3);
  EXPECT_EQ(FilterGetBlurKernel(-7, 2.0, k), 3);
}

TEST(OptimalKernelWidth, RadiusAndSigmaRules) {
  EXPECT_EQ(FilterGetOptimalKernelWidth(1.0, 0.5), 3);
  EXPECT_EQ(FilterGetOptimalKernelWidth(2.5, 0.5), 7);
  EXPECT_EQ(FilterGetOptimalKernelWidth(4.0, 0.5), 9);
  // Without a radius: the last width whose outer tap still rounds above 0 in 8 bits.
  EXPECT_EQ(FilterGetOptimalKernelWidth(0.0, 1.0), 7);
}

// ---- Blur --------------------------------------------------------------------

TEST(GaussianBlur, MatchesThePlainRuleOnRandomImages) {
  struct Case {
    int w, h, bits, radius, sigma;
  } cases[] = {{37, 23, 24, 40, 50},
               {64, 41, 8, 40, 50},
               {1, 30, 24, 40, 50},
               {30, 1, 8, 40, 50},
               {5, 4, 24, 40, 50},
               {3, 3, 8, 990, 100},
               {101, 7, 24, 10, 10},
               {17, 61, 24, 225, 33},
               {9, 9, 32, 40, 50},
               // Wider than one working strip of samples, so strips and their row rings meet.
               {1500, 70, 24, 120, 80},
               {2500, 33, 8, 40, 50}};
  unsigned seed = 1;
  for (const Case& c : cases) {
    HDIB src = RandomDib(c.w, c.h, c.bits, seed++, 10);
    FILTERPARAM p = Defaults(src);
    if (c.bits == 32) p.ImageType = IMAGE_TRUECOLOUR;
    p.FilterGaussianRadius = c.radius;
    p.FilterGaussianSigma = c.sigma;
    HDIB before = DuplicateObject(src);
    HDIB fast = FilterGaussianBlur(src, &p);
    HDIB slow = OracleBlur(src, c.radius * 0.1, c.sigma * 0.1);
    EXPECT_TRUE(SameBlock(fast, slow)) << c.w << "x" << c.h << "@" << c.bits << " r" << c.radius;
    EXPECT_TRUE(SameBlock(src, before));
  }
}

TEST(GaussianBlur, OtherImageTypesAreCopied) {
  HDIB src = RandomDib(20, 20, 4, 3, 3);
  FILTERPARAM p = Defaults(src);
  ASSERT_EQ(p.ImageType, IMAGE_PALETTED);
  EXPECT_TRUE(SameBlock(FilterGaussianBlur(src, &p), src));
}

// ---- Square kernels -------------------------------------------------------------

TEST(Convolve, EmbossAndSharpenMatchThePlainTorusRule) {
  unsigned seed = 40;
  for (auto [w, h, bits] : {std::tuple{23, 17, 24}, {5, 5, 8}, {64, 9, 24}, {7, 30, 8}, {16, 16, 32}}) {
    HDIB src = RandomDib(w, h, bits, seed++, 10);
    FILTERPARAM p = Defaults(src);
    p.ImageType = bits == 8 ? IMAGE_GREY : IMAGE_TRUECOLOUR;
    for (int width : {3, 5}) {
      p.FilterEmbossWidth = p.FilterSharpenWidth = width;
      EXPECT_TRUE(SameBlock(FilterEmbossImage(src, &p), OracleConvolve(src, width, FilterMakeEmbossKernel(width, 2.5))))
          << w << "x" << h << " emboss " << width;
      EXPECT_TRUE(
          SameBlock(FilterSharpenImage(src, &p), OracleConvolve(src, width, FilterMakeSharpenKernel(width, 2.5))))
          << w << "x" << h << " sharpen " << width;
    }
  }
}

TEST(Convolve, EvenWidthRunsOneWiderAndSmallImagesFail) {
  HDIB src = RandomDib(12, 12, 24, 7);
  FILTERPARAM p = Defaults(src);
  p.FilterEmbossWidth = 4;
  HDIB four = FilterEmbossImage(src, &p);
  p.FilterEmbossWidth = 5;
  HDIB five = FilterEmbossImage(src, &p);
  EXPECT_TRUE(SameBlock(four, five));
  // A 4-wide image can't take a 5-wide kernel; an even order is refused.
  HDIB narrow = RandomDib(4, 100, 24, 8);
  EXPECT_FALSE(FilterEmbossImage(narrow, &p));
  std::vector<double> k(16, 1.0);
  EXPECT_FALSE(FilterConvolveImage(src, 4, k.data(), &p));
}

TEST(Convolve, OtherTypesLeaveTheResultBlack) {
  HDIB src = RandomDib(10, 10, 8, 1, 8);
  FILTERPARAM p = Defaults(src);
  ASSERT_EQ(p.ImageType, IMAGE_PALETTED);
  HDIB out = FilterSharpenImage(src, &p);
  ASSERT_TRUE(out);
  const BITMAPINFOHEADER* o = LockDib(out);
  for (std::size_t i = 0; i < o->biSizeImage; ++i) ASSERT_EQ(DibBits(o)[i], 0);
}

}  // namespace
}  // namespace ochrel
