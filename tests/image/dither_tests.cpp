// Error diffusion, remapping and the ordered dithers, against their rules'
// numbers and against plain per-pixel versions of the same rules.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "image/dither.h"
#include "image/resample.h"
#include "test_images.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

// The levels the mono calls and the oracle below use.
DitherOptions g_levels;
struct DitherSettings {
  DitherOptions saved = g_levels;
  DitherSettings(int brightness, int contrast) { g_levels = {brightness, contrast}; }
  ~DitherSettings() { g_levels = saved; }
};

COLORREF ColourAt(const BITMAPINFOHEADER* h, const BYTE* pal, int x, int y) {
  std::uint32_t v = GetDibPixel(h, x, y);
  return h->biBitCount > 8 ? (v & 0xFFFFFF) : RGB(pal[3 * v], pal[3 * v + 1], pal[3 * v + 2]);
}

int Clamp(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }

// ---- Oracles -------------------------------------------------------------------

HDIB OracleDither(const HDIB& image, const BYTE* palette, int bits) {
  const BITMAPINFOHEADER* s = LockDib(image);
  int w = s->biWidth, h = s->biHeight;
  BYTE src[768];
  GetDibPalette(s, src);
  HDIB out = CreateDib(w, h, palette, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  // Stored row sy is picture row h - 1 - sy.
  if (bits == 1) {
    BYTE table[256];
    double d = 256 - 2 * g_levels.contrast;
    if (d < 1) d = 1;
    double step = 256 / d, value = g_levels.brightness - g_levels.contrast;
    for (int i = 0; i < 256; ++i, value += step) table[i] = BYTE(value > 254 ? 254 : value >= 1 ? int(value) : 1);
    std::vector<std::vector<int>> work(h, std::vector<int>(w));
    int lo = 255, hi = 0;
    for (int sy = 0; sy < h; ++sy)
      for (int x = 0; x < w; ++x) {
        COLORREF c = ColourAt(s, src, x, h - 1 - sy);
        work[sy][x] = GetRValue(c) * 30 / 100 + GetGValue(c) * 59 / 100 + GetBValue(c) * 11 / 100;
        lo = std::min(lo, work[sy][x]);
        hi = std::max(hi, work[sy][x]);
      }
    int threshold = (hi + lo) >> 1;
    for (int sy = 0; sy < h; ++sy)
      for (int x = 0; x < w; ++x) {
        int v = table[work[sy][x]], err;
        if (v <= threshold) err = v - lo;
        else PutDibPixel(o, x, h - 1 - sy, 1), err = v - hi;
        int e = err >> 4;
        if (x + 1 < w && sy + 1 < h) work[sy + 1][x + 1] = Clamp(work[sy + 1][x + 1] + e);
        if (x - 1 > 0 && sy + 1 < h) work[sy + 1][x - 1] = Clamp(work[sy + 1][x - 1] + 3 * e);
        if (sy + 1 < h) work[sy + 1][x] = Clamp(work[sy + 1][x] + 5 * e);
        if (x + 1 < w) work[sy][x + 1] = Clamp(work[sy][x + 1] + 7 * e);
      }
    return out;
  }
  std::vector<int> cur(3 * w), next(3 * w);
  for (int sy = 0; sy < h; ++sy) {
    for (int x = 0; x < w; ++x) {
      COLORREF c = ColourAt(s, src, x, h - 1 - sy);
      cur[3 * x] += GetRValue(c), cur[3 * x + 1] += GetGValue(c), cur[3 * x + 2] += GetBValue(c);
    }
    for (int x = 0; x < w; ++x) {
      int v[3] = {Clamp(cur[3 * x]), Clamp(cur[3 * x + 1]), Clamp(cur[3 * x + 2])};
      int idx = FindPaletteColour(v[0], v[1], v[2], palette, 1 << bits);
      PutDibPixel(o, x, h - 1 - sy, std::uint32_t(idx));
      for (int k = 0; k < 3; ++k) {
        int e = v[k] - palette[3 * idx + k];
        if (x + 1 < w) cur[3 * (x + 1) + k] += (7 * e) >> 4;
        if (x - 1 > 0 && sy + 1 < h) next[3 * (x - 1) + k] += (3 * e) >> 4;
        if (x + 1 < w && sy + 1 < h) next[3 * (x + 1) + k] += e >> 4;
        if (sy + 1 < h) next[3 * x + k] += (5 * e) >> 4;
      }
    }
    cur = next;
    std::fill(next.begin(), next.end(), 0);
  }
  return out;
}

HDIB OracleRemap(const HDIB& image, const BYTE* palette, int bits) {
  const BITMAPINFOHEADER* s = LockDib(image);
  int w = s->biWidth, h = s->biHeight;
  BYTE src[768];
  GetDibPalette(s, src);
  HDIB out = CreateDib(w, h, palette, bits);
  BITMAPINFOHEADER* o = LockDib(out);
  int n = 1 << bits;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      std::uint32_t v = GetDibPixel(s, x, y), idx;
      if (s->biBitCount == 1) {
        idx = bits == 1 ? v
                        : std::uint32_t(v ? FindPaletteColour(255, 255, 255, palette, n)
                                          : FindPaletteColour(0, 0, 0, palette, n));
      } else {
        COLORREF c = ColourAt(s, src, x, y);
        if (bits == 1) idx = Luminance(c) < 129 ? 0 : 1;
        else idx = std::uint32_t(FindPaletteColour(GetRValue(c), GetGValue(c), GetBValue(c), palette, n));
      }
      PutDibPixel(o, x, y, idx);
    }
  return out;
}

BYTE Mono[768], Ortho[768], Vga[768];
struct Palettes {
  Palettes() {
    GetDefaultPalette(Mono, nullptr, 0);
    GetDefaultPalette(Ortho, nullptr, 8);
    GetDefaultPalette(Vga, nullptr, 3);
  }
} palettesInit;

// ---- 1 bit -------------------------------------------------------------------------

TEST(DitherMono, TableFromTheSettings) {
  BYTE t[256];
  BuildDitherTable(25, 25, t);  // step 256 / 206
  EXPECT_EQ(std::vector<int>(t, t + 7), (std::vector<int>{1, 1, 2, 3, 4, 6, 7}));
  EXPECT_EQ(t[255], 254);
  for (int i = 1; i < 256; ++i) ASSERT_GE(t[i], t[i - 1]);
  BuildDitherTable(128, 60, t);  // d = 0 is taken as 1: a step of 256
  EXPECT_EQ(t[0], 1);            // 60 - 128 is below 1
  EXPECT_EQ(t[1], 188);
  EXPECT_EQ(t[2], 254);
  BuildDitherTable(1, 128, t);
  EXPECT_EQ(t[0], 127);
}

TEST(DitherMono, MatchesTheLiteralRuleOnRandomImages) {
  for (auto [b, c] : {std::pair{25, 25}, std::pair{1, 1}, std::pair{128, 60}, std::pair{40, 128}}) {
    DitherSettings s(b, c);
    for (int bits : {4, 8, 24})
      for (int w : {1, 2, 3, 17, 64}) {
        HDIB img = RandomDib(w, 13, bits, 300u + w + bits);
        ASSERT_TRUE(SameBlock(DitherDib(img, Mono, 1, 0, g_levels), OracleDither(img, Mono, 1)))
            << b << " " << c << " " << bits << " " << w;
      }
  }
}

TEST(DitherDib, OneBitSourcesAndBadDepthsAreRefused) {
  HDIB mono = RandomDib(8, 8, 1, 4);
  EXPECT_FALSE(DitherDib(mono, Mono, 1, 0, g_levels));
  EXPECT_FALSE(DitherDib(mono, Ortho, 8, 0));
  EXPECT_FALSE(DitherDib(RandomDib(8, 8, 24, 4), Ortho, 24, 0));
  EXPECT_FALSE(DitherDib(HDIB{}, Ortho, 8, 0));
}

// ---- 4 and 8 bits ------------------------------------------------------------------

TEST(DitherColour, MatchesTheLiteralRuleAtEveryDepth) {
  for (int bits : {4, 8, 24})
    for (int target : {4, 8})
      for (int w : {1, 2, 3, 29}) {
        HDIB img = RandomDib(w, 11, bits, 500u + w * bits + target);
        const BYTE* pal = target == 4 ? Vga : Ortho;
        ASSERT_TRUE(SameBlock(DitherDib(img, pal, target, 0), OracleDither(img, pal, target)))
            << bits << " " << target << " " << w;
      }
}

// ---- Remap -------------------------------------------------------------------------

TEST(RemapDib, MonoThresholdIs129) {
  HDIB img = CreateDib(4, 1, nullptr, 24);
  // Luminances 127, 128, 129, 130.
  COLORREF c[4] = {RGB(128, 128, 128), RGB(129, 129, 129), RGB(130, 130, 130), RGB(131, 131, 131)};
  for (int x = 0; x < 4; ++x) PutDibPixel(LockDib(img), x, 0, c[x]);
  ASSERT_EQ(Luminance(c[1]), 128);
  ASSERT_EQ(Luminance(c[2]), 129);
  HDIB r = RemapDib(img, Mono, 1, 0);
  std::vector<int> bits;
  for (int x = 0; x < 4; ++x) bits.push_back(int(GetDibPixel(LockDib(r), x, 0)));
  EXPECT_EQ(bits, (std::vector<int>{0, 0, 1, 1}));
  // The same through a palette: an 8-bit image whose entries are those colours.
  BYTE pal[768] = {};
  for (int i = 0; i < 4; ++i) pal[3 * i] = pal[3 * i + 1] = pal[3 * i + 2] = BYTE(128 + i);
  HDIB p = CreateDib(4, 1, pal, 8);
  for (int x = 0; x < 4; ++x) PutDibPixel(LockDib(p), x, 0, std::uint32_t(x));
  EXPECT_TRUE(SameBlock(RemapDib(p, Mono, 1, 0), r));
}

TEST(RemapDib, MonoSourceUsesOnlyBlackAndWhiteEntries) {
  HDIB mono = RandomDib(23, 7, 1, 9);
  // Give the mono source odd colours: they must not be looked at.
  BYTE odd[768] = {};
  odd[0] = 200, odd[3] = 10, odd[4] = 90;
  PutDibPalette(LockDib(mono), odd);
  HDIB r = RemapDib(mono, Vga, 4, 0);
  const BITMAPINFOHEADER* h = LockDib(r);
  for (int y = 0; y < 7; ++y)
    for (int x = 0; x < 23; ++x) ASSERT_EQ(GetDibPixel(h, x, y), GetDibPixel(LockDib(mono), x, y) ? 15u : 0u);
  EXPECT_TRUE(SameBlock(RemapDib(mono, Mono, 1, 0), [&] {
    HDIB c = DuplicateObject(mono);
    PutDibPalette(LockDib(c), Mono);
    return c;
  }()));
}

TEST(RemapDib, MatchesTheLiteralRuleAtEveryDepth) {
  for (int bits : {1, 4, 8, 24})
    for (int target : {1, 4, 8})
      for (int w : {1, 5, 33}) {
        HDIB img = RandomDib(w, 9, bits, 700u + w + bits * target);
        const BYTE* pal = target == 1 ? Mono : target == 4 ? Vga : Ortho;
        ASSERT_TRUE(SameBlock(RemapDib(img, pal, target, 0), OracleRemap(img, pal, target)))
            << bits << " " << target << " " << w;
      }
  // Big enough to be spread over the cores.
  HDIB big = RandomDib(301, 257, 24, 42);
  EXPECT_TRUE(SameBlock(RemapDib(big, Ortho, 8, 0), OracleRemap(big, Ortho, 8)));
}

// The three Bayer dithers (thresholds, the swapped index, the 256-colour rounding)
// are pinned by the digests of the mono and palette strategies.

}  // namespace
}  // namespace ochrel
