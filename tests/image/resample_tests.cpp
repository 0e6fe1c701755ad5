// Resampling, right-angle transforms, free rotation, masking and the small
// kernel filter. The fast versions are checked against plain per-pixel
// versions of the same rules, written out here as the oracle.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "image/kernel.h"
#include "image/resample.h"
#include "test_images.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;
using test::Uniform;

// ---- Oracles: the rules, one pixel at a time -------------------------------------

int Channels(int bits) { return bits == 8 ? 1 : 3; }

std::vector<int> ReadStoredRow(const BITMAPINFOHEADER* h, int storedRow) {
  int ch = h->biBitCount / 8, w = h->biWidth;
  const BYTE* row = DibBits(h) + DibStride(h) * static_cast<std::size_t>(storedRow);
  return std::vector<int>(row, row + static_cast<std::size_t>(w) * ch);
}

void WriteStoredRow(BITMAPINFOHEADER* h, int storedRow, const std::vector<int>& v) {
  BYTE* row = DibBits(h) + DibStride(h) * static_cast<std::size_t>(storedRow);
  for (std::size_t i = 0; i < v.size(); ++i) row[i] = static_cast<BYTE>(v[i]);
}

// One line of samples (one channel) scaled up; `copyLast` is step c.
std::vector<int> UpLine(const std::vector<int>& S, int newLen, int pct, bool copyLast) {
  std::vector<int> D(static_cast<std::size_t>(newLen), 0);
  int P = pct % 100 ? pct + pct / 100 + 1 : pct + pct / 100;
  int w = static_cast<int>(S.size());
  D[0] = S[0];
  int prev = 0;
  for (int i = 1; i <= w - 1; ++i) {
    int a = S[i - 1], b = S[i];
    int pos = P * i / 100, n = pos - prev;
    for (int j = 0; j < n && prev + j < newLen; ++j) D[prev + j] = ((n - j - 1) * a / n + (j + 1) * b / n) % 256;
    if (pos < newLen) D[pos] = b;
    prev = pos;
  }
  if (copyLast) D[newLen - 1] = S[w - 1];
  return D;
}

std::vector<int> DownLine(const std::vector<int>& S, int newLen, int pct) {
  std::vector<int> D(static_cast<std::size_t>(newLen), 0);
  int start = 0, w = static_cast<int>(S.size());
  for (int i = 0; i < newLen; ++i) {
    int end = (i + 1) * 100 / pct, n = end - start, k = 0, sum = 0;
    for (int t = 0; t < n && start + t < w; ++t, ++k) sum += S[start + t];
    D[i] = sum / (k ? k : 1);
    start = end;
  }
  return D;
}

HDIB OracleHorizontal(const HDIB& src, int pct, bool up) {
  const BITMAPINFOHEADER* s = LockDib(src);
  int ch = Channels(s->biBitCount), w = s->biWidth, nw = w * pct / 100;
  HDIB out = CreateDibLike(s, nw, s->biHeight);
  BITMAPINFOHEADER* o = LockDib(out);
  for (int y = 0; y < s->biHeight; ++y) {
    std::vector<int> row = ReadStoredRow(s, y), res(static_cast<std::size_t>(nw) * ch);
    for (int c = 0; c < ch; ++c) {
      std::vector<int> line;
      for (int x = 0; x < w; ++x) line.push_back(row[x * ch + c]);
      std::vector<int> r = up ? UpLine(line, nw, pct, true) : DownLine(line, nw, pct);
      for (int x = 0; x < nw; ++x) res[x * ch + c] = r[x];
    }
    WriteStoredRow(o, y, res);
  }
  return out;
}

HDIB OracleVertical(const HDIB& src, int pct, bool up) {
  const BITMAPINFOHEADER* s = LockDib(src);
  int h = s->biHeight, nh = h * pct / 100;
  bool tc = s->biBitCount > 8;
  HDIB out = CreateDibLike(s, s->biWidth, nh);
  BITMAPINFOHEADER* o = LockDib(out);
  for (int x = 0; x < s->biWidth; ++x) {
    std::vector<std::vector<int>> lines(tc ? 3 : 1);
    for (int y = 0; y < h; ++y) {
      std::uint32_t v = GetDibPixel(s, x, y);
      if (tc) {
        lines[0].push_back(GetRValue(v));
        lines[1].push_back(GetGValue(v));
        lines[2].push_back(GetBValue(v));
      } else {
        lines[0].push_back(static_cast<int>(v));
      }
    }
    for (auto& l : lines) l = up ? UpLine(l, nh, pct, !tc) : DownLine(l, nh, pct);
    for (int y = 0; y < nh; ++y)
      PutDibPixel(o, x, y, tc ? RGB(lines[0][y], lines[1][y], lines[2][y]) : static_cast<std::uint32_t>(lines[0][y]));
  }
  return out;
}

HDIB OracleKernel(const HDIB& src, const KERNEL& k, int flags) {
  const BITMAPINFOHEADER* s = LockDib(src);
  int w = s->biWidth, h = s->biHeight, bpp = s->biBitCount / 8, ch = bpp == 1 ? 1 : 3;
  HDIB out = CreateDibLike(s, w, h);
  BITMAPINFOHEADER* o = LockDib(out);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      long long S[3] = {0, 0, 0}, W = 0;
      for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 5; ++j) {
          int kw = k.weights[i * 5 + j], px = x + j - 2, py = y + i - 2;
          if (!kw || px < 0 || py < 0 || px >= w || py >= h) continue;
          const BYTE* p = DibBits(s) + DibStride(s) * py + px * bpp;
          for (int c = 0; c < ch; ++c) {
            int sample = (flags & 2) && ch == 3 ? p[2] * 30 / 100 + p[1] * 59 / 100 + p[0] * 11 / 100 : p[c];
            S[c] += sample * kw;
          }
          W += kw;
        }
      if (W == 0) W = k.divisor;
      for (int c = 0; c < ch; ++c)
        DibBits(o)[DibStride(o) * y + x * bpp + c] =
            static_cast<BYTE>(std::clamp<long long>(S[c] / W + k.bias, 0, 255));
    }
  return out;
}

// ---- Helpers ----------------------------------------------------------------------

HDIB GreyRow(const std::vector<int>& values) {
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 10);
  HDIB d = CreateDib(static_cast<int>(values.size()), 1, pal, 8);
  for (std::size_t i = 0; i < values.size(); ++i)
    PutDibPixel(LockDib(d), static_cast<int>(i), 0, static_cast<std::uint32_t>(values[i]));
  return d;
}

std::vector<int> RowValues(const HDIB& d, int y = 0) {
  const BITMAPINFOHEADER* h = LockDib(d);
  std::vector<int> v;
  for (int x = 0; x < h->biWidth; ++x) v.push_back(static_cast<int>(GetDibPixel(h, x, y)));
  return v;
}

// The scaling rules' own numbers are the oracle's business below, and the
// byte-identity digests'.

TEST(ResizeDib, HundredIsAnExactCopyAndKindsTakeTheirPaths) {
  for (int bits : {1, 4, 8, 24}) {
    HDIB src = RandomDib(37, 23, bits, 5u + bits);
    EXPECT_TRUE(SameBlock(ResizeDib(src, 100), src)) << bits;
  }
  // Paletted and mono take the nearest sample (its positions are pinned by the
  // byte-identity digests): a two-colour paletted row at 150 % must not invent a mix of its colours.
  BYTE pal[768];
  GetDefaultPalette(pal, nullptr, 8);
  HDIB p = CreateDib(2, 1, pal, 8);
  PutDibPixel(LockDib(p), 0, 0, 0);
  PutDibPixel(LockDib(p), 1, 0, 200);
  EXPECT_EQ(RowValues(ResizeDib(p, 150)), (std::vector<int>{0, 0, 200}));
  // Grey interpolates: the same row on the grey ramp mixes.
  EXPECT_EQ(RowValues(ResizeDib(GreyRow({0, 200}), 200)), (std::vector<int>{100, 200, 200, 200}));
}

TEST(ResizeDib, TwoPassesMatchTheOracleAtEveryPercentage) {
  for (int bits : {8, 24}) {
    HDIB src = RandomDib(53, 41, bits, 11u + bits, 10);
    for (int pct : {3, 7, 33, 50, 66, 99, 101, 150, 173, 200, 333}) {
      HDIB expect = pct > 100 ? OracleVertical(OracleHorizontal(src, pct, true), pct, true)
                              : OracleVertical(OracleHorizontal(src, pct, false), pct, false);
      HDIB got = ResizeDib(src, pct);
      ASSERT_TRUE(got) << bits << " " << pct;
      EXPECT_TRUE(SameBlock(got, expect)) << bits << " " << pct;
    }
  }
}

TEST(ResizeDib, NonsenseSizesGiveNull) {
  HDIB src = RandomDib(10, 10, 24, 1);
  EXPECT_FALSE(ResizeDib(src, 0));
  EXPECT_FALSE(ResizeDib(src, -50));
  EXPECT_FALSE(ResizeDib(src, 5));  // 10 x 5 / 100 = 0
  EXPECT_FALSE(ResizeDib(HDIB{}, 50));
  EXPECT_FALSE(ScaleUpHorizontal(RandomDib(10, 10, 4, 1), 200));
  EXPECT_FALSE(ResizeDib(src, 2000000000));  // far beyond any allocation
}

TEST(ScaleVertical, PackedDepthsFollowTheValueRule) {
  for (int bits : {1, 4}) {
    HDIB src = RandomDib(13, 9, bits, 3u + bits);
    EXPECT_TRUE(SameBlock(ScaleUpVertical(src, 250), OracleVertical(src, 250, true))) << bits;
    EXPECT_TRUE(SameBlock(ScaleDownVertical(src, 40), OracleVertical(src, 40, false))) << bits;
  }
}

// The right-angle turns and flips of every depth are pinned by the digests
// (the rotation filter turns both ways, the flip filter both directions).

// ---- Free rotation ------------------------------------------------------------------

// The rotation's pixels are pinned by the byte-identity digests.
TEST(FreeRotate, BackgroundIsLuminancePlusOneAsAnIndex) {
  HDIB k = FreeRotateImageFilter(RandomDib(100, 50, 24, 9), 90, ROTATE_KEEPSIZE, 0);
  EXPECT_EQ(LockDib(k)->biWidth, 100);  // keeping the size keeps 100 by 50
  EXPECT_EQ(LockDib(k)->biHeight, 50);
  // A 1-pixel grey image turned by 45 degrees grows; its new corners are background.
  HDIB g = Uniform(20, 20, 8, 100);
  HDIB r = FreeRotateImageFilter(g, 45, 0, RGB(255, 255, 255));
  ASSERT_TRUE(r);
  EXPECT_EQ(GetDibPixel(LockDib(r), 0, 0), 255u);  // 76 + 150 + 28 + 1
  HDIB r2 = FreeRotateImageFilter(g, 45, 0, RGB(0, 255, 0));
  EXPECT_EQ(GetDibPixel(LockDib(r2), 0, 0), 151u);
  // True colour takes the colour itself.
  HDIB t = FreeRotateImageFilter(Uniform(20, 20, 24, RGB(1, 2, 3)), 45, ROTATE_INTERPOLATE, RGB(9, 8, 7));
  EXPECT_EQ(GetDibPixel(LockDib(t), 0, 0), RGB(9, 8, 7));
}

// ---- MaskBitmap -----------------------------------------------------------------------

TEST(MaskBitmap, EmptyMaskGivesColourAloneAndFullMaskTheImage) {
  for (int bits : {1, 4, 8, 24}) {
    HDIB src = RandomDib(21, 11, bits, 90u + bits);
    HDIB empty = CreateDib(21, 11, nullptr, 8);
    std::uint32_t colour = bits == 24 ? RGB(1, 2, 3) : 1u;
    HDIB r = MaskBitmap(src, empty, colour);
    EXPECT_TRUE(SameBlock(r,
                          [&] {
                            HDIB u = CreateDibLike(LockDib(src), 21, 11);
                            InsetSolidRectangle(u, colour, RECT{0, 0, 21, 11});
                            return u;
                          }()))
        << bits;
    HDIB full = Uniform(21, 11, 8, 7);
    EXPECT_TRUE(SameBlock(MaskBitmap(src, full, colour), src)) << bits;
  }
  // A mask smaller than the image: outside it there is no pixel, which keeps the image.
  HDIB src = RandomDib(8, 8, 24, 3);
  HDIB small = CreateDib(4, 4, nullptr, 1);
  HDIB r = MaskBitmap(src, small, RGB(0, 0, 0));
  EXPECT_EQ(GetDibPixel(LockDib(r), 2, 2), RGB(0, 0, 0));
  EXPECT_EQ(GetDibPixel(LockDib(r), 6, 6), GetDibPixel(LockDib(src), 6, 6));
  EXPECT_EQ(GetDibPixel(LockDib(r), 6, 1), GetDibPixel(LockDib(src), 6, 1));
}

// ---- The kernel filter ---------------------------------------------------------------

// Edges and corners divide by the weights inside the image: the oracle's rule.
TEST(KernelFilter, OneBitIsRefusedAndEverythingElseMatchesTheOracle) {
  EXPECT_FALSE(ImposeKernelFilter(RandomDib(8, 8, 1, 1), BlurrKernel, 0));
  EXPECT_FALSE(ImposeKernelFilter(HDIB{}, BlurrKernel, 0));
  KERNEL odd = {{1, 0, 3, 0, 0, 0, 0, 0, 0, 5, 0, 0, 2, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 0, 4}, 24, 3};
  for (int bits : {8, 24})
    for (int w : {1, 2, 3, 7, 40})
      for (const KERNEL* k : std::initializer_list<const KERNEL*>{&BlurrKernel, &AntialiasKernel2, &odd})
        for (int flags : {0, 2, 4}) {
          HDIB src = RandomDib(w, 5 + w % 3, bits, 100u + w);
          ASSERT_TRUE(SameBlock(ImposeKernelFilter(src, *k, flags), OracleKernel(src, *k, flags)))
              << bits << " " << w << " " << flags;
        }
}

}  // namespace
}  // namespace ochrel
