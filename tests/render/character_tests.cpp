// Characters, gradients and the back end's life cycle. The application object
// these need is made by the environment in wrapper_tests.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "image/dib.h"
#include "render/wrapper.h"
#include "draw_util.h"

namespace ochrel {
namespace {

WRAPPERBLOCK CharBlock(const char* ch, int size, int mode, int antialias = 1, const char* font = "ARIAL") {
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_CHARACTER;
  b.Antialias = antialias;
  b.Opacity = 255;
  b.Character.TextFontName = font;
  b.Character.TextFontSize = size;
  b.Character.Character = ch;
  b.Character.Mode = mode;
  b.Character.Value = CoverageValue(255);
  return b;
}

struct Measure {
  int value, advance, height, ascent;
};
Measure MeasureChar(const char* ch, int size, const char* font = "ARIAL", int bold = 0, int italic = 0) {
  WRAPPERBLOCK b = CharBlock(ch, size, CHARACTER_MEASURE, 1, font);
  b.Character.TextFontBold = bold;
  b.Character.TextFontItal = italic;
  WRAPPERRESULT r = OCHLWRPR_proc(&b);
  EXPECT_EQ(r.Dib, nullptr);
  return {r.Value, b.Character.Advance, b.Character.LineHeight, b.Character.Ascent};
}

struct Ink {
  int left = 1 << 30, top = 1 << 30, right = -1, bottom = -1, max = 0, partial = 0;
};
Ink InkOf(const BITMAPINFOHEADER* h) {
  Ink k;
  for (int y = 0; y < h->biHeight; ++y)
    for (int x = 0; x < h->biWidth; ++x) {
      const int v = DibRow(h, y)[x];
      if (!v) continue;
      k.left = std::min(k.left, x);
      k.right = std::max(k.right, x);
      k.top = std::min(k.top, y);
      k.bottom = std::max(k.bottom, y);
      k.max = std::max(k.max, v);
      if (v != k.max && v < 255) ++k.partial;
    }
  return k;
}

TEST(WrapperFonts, DefaultFaceResolvesToAMetricTwin) {
  EXPECT_EQ(ResolvedFontFamily("ARIAL", 0, 0), "Liberation Sans");
  EXPECT_EQ(ResolvedFontFamily("Arial", 1, 1), "Liberation Sans");
  EXPECT_EQ(ResolvedFontFamily("Times New Roman", 0, 0), "Liberation Serif");
  EXPECT_EQ(ResolvedFontFamily("Courier New", 0, 0), "Liberation Mono");
  EXPECT_EQ(ResolvedFontFamily(nullptr, 0, 0), "Liberation Sans");

  // Metric compatible: on a 1024-pixel em the default face's digits advance
  // 1139/2048 em and the space 569/2048, whatever the face is called.
  EXPECT_NEAR(MeasureChar("0", -1024).advance, 569.5, 1.0);
  EXPECT_NEAR(MeasureChar("7", -1024).advance, 569.5, 1.0);
  EXPECT_NEAR(MeasureChar(" ", -1024).advance, 284.5, 1.0);
  EXPECT_NEAR(MeasureChar("W", -1024).advance, 966.5, 1.0);
  EXPECT_NEAR(MeasureChar("0", -1024, "Courier New").advance, 614.4, 1.0);  // 1229/2048
}

TEST(WrapperCharacter, AdvanceGrowsWithSizeAndTheCellHeightIsTheSize) {
  int last = 0;
  for (int size : {6, 10, 16, 24, 36, 72, 150, 288}) {
    Measure m = MeasureChar("W", size);
    EXPECT_EQ(m.value, 1);
    EXPECT_GT(m.advance, last) << size;
    last = m.advance;
    // A positive size is the cell: ascent and descent together.
    EXPECT_LE(m.height, size) << size;
    EXPECT_GE(m.height, size - 1 - size / 50) << size;
    EXPECT_GT(m.ascent, m.height / 2);
    EXPECT_LT(m.ascent, m.height);
  }
  // Narrow and wide letters differ, and a negative size (the em) gives a taller cell.
  EXPECT_LT(MeasureChar("i", 48).advance * 2, MeasureChar("W", 48).advance);
  EXPECT_GT(MeasureChar("W", -48).height, MeasureChar("W", 48).height);
}

TEST(WrapperCharacter, MaskHoldsTheGlyphInItsCell) {
  Measure m = MeasureChar("I", 60);
  WRAPPERBLOCK b = CharBlock("I", 60, CHARACTER_MASK, 0);
  b.Character.Advance = m.advance;
  b.Character.LineHeight = m.height + 10;  // a wider line spacing asks for a deeper cell
  b.Character.Value = CoverageValue(160);
  auto [r, h] = test::Draw(b);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biBitCount, 8);
  EXPECT_GE(h->biWidth, m.advance);
  EXPECT_LE(h->biWidth, m.advance + 4);
  EXPECT_EQ(h->biHeight, m.height + 10);
  Ink k = InkOf(h);
  ASSERT_GE(k.right, 0);
  // An upright bar: sits on the baseline, rises to the cap height (about
  // 0.72 of the em, which is 60 / 1.117 here), stays within its advance.
  EXPECT_EQ(k.bottom, m.ascent - 1);
  EXPECT_NEAR(k.bottom - k.top + 1, 0.716 * 60 / 1.117, 2.0);
  EXPECT_GT(k.left, 0);
  EXPECT_LT(k.right, m.advance);
  EXPECT_EQ(k.max, 160);
  EXPECT_EQ(k.partial, 0);  // hard edges: the value or nothing

  // A descender reaches below the baseline; an underline does too.
  WRAPPERBLOCK g = CharBlock("g", 60, CHARACTER_MASK);
  WRAPPERRESULT rg = OCHLWRPR_proc(&g);
  ASSERT_NE(LockDib(rg.Dib), nullptr);
  EXPECT_GT(InkOf(LockDib(rg.Dib)).bottom, m.ascent + 3);
  WRAPPERBLOCK u = CharBlock("I", 60, CHARACTER_MASK);
  u.Character.TextFontUnder = 1;
  WRAPPERRESULT ru = OCHLWRPR_proc(&u);
  ASSERT_NE(LockDib(ru.Dib), nullptr);
  EXPECT_GT(InkOf(LockDib(ru.Dib)).bottom, m.ascent);
}

TEST(WrapperCharacter, AntialiasedGlyphsHaveSoftEdgesAndItalicsKeepTheirInk) {
  auto [r, h] = test::Draw(CharBlock("O", 48, CHARACTER_MASK, 1));
  ASSERT_NE(h, nullptr);
  Ink k = InkOf(h);
  EXPECT_EQ(k.max, 255);
  EXPECT_GT(k.partial, 20);

  // An italic f leans past its advance; the mask widens rather than cutting it.
  Measure m = MeasureChar("f", 72, "ARIAL", 0, 1);
  WRAPPERBLOCK f = CharBlock("f", 72, CHARACTER_MASK);
  f.Character.TextFontItal = 1;
  f.Character.Advance = m.advance;
  f.Character.LineHeight = m.height;
  auto [rf, hf] = test::Draw(f);
  ASSERT_NE(hf, nullptr);
  Ink kf = InkOf(hf);
  EXPECT_LT(kf.right, hf->biWidth - 1);  // a free column at the right: nothing cut
  EXPECT_GE(kf.right, m.advance);

  // A space measures but leaves no ink.
  WRAPPERBLOCK s = CharBlock(" ", 48, CHARACTER_MASK);
  WRAPPERRESULT rs = OCHLWRPR_proc(&s);
  ASSERT_NE(LockDib(rs.Dib), nullptr);
  EXPECT_LT(InkOf(LockDib(rs.Dib)).right, 0);
}

TEST(WrapperCharacter, DrawModePaintsTheColourOnASurface) {
  HDIB surface = CreateDib(80, 60, nullptr, 24);
  BITMAPINFOHEADER* sh = LockDib(surface);
  ASSERT_NE(sh, nullptr);
  std::memset(DibBits(sh), 255, sh->biSizeImage);
  Measure m = MeasureChar("H", 40);
  WRAPPERBLOCK b = CharBlock("H", 40, CHARACTER_DRAW, 1);
  b.Character.X = 10;
  b.Character.Y = 5;
  b.Character.Value = RGB(255, 0, 0);
  b.Character.Surface = sh;
  EXPECT_EQ(OCHLWRPR_proc(&b).Value, 1);
  int red = 0, partial = 0;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 80; ++x) {
      const COLORREF c = GetDibPixel(sh, x, y);
      if (c == RGB(255, 255, 255)) continue;
      // Only inside the cell, and only towards red.
      ASSERT_GE(x, 10);
      ASSERT_LT(x, 10 + m.advance);
      ASSERT_GE(y, 5);
      ASSERT_LT(y, 5 + m.height);
      ASSERT_EQ(GetRValue(c), 255);
      ASSERT_EQ(GetGValue(c), GetBValue(c));
      if (c == RGB(255, 0, 0)) ++red;
      else ++partial;
    }
  EXPECT_GT(red, 100);
  EXPECT_GT(partial, 0);

  // Half off the surface: clipped, no harm.
  b.Character.X = -15;
  b.Character.Y = 50;
  EXPECT_EQ(OCHLWRPR_proc(&b).Value, 1);
  EXPECT_EQ(GetDibPixel(sh, 79, 0), RGB(255, 255, 255));

  // No surface: nothing drawn, failure reported.
  b.Character.Surface = nullptr;
  EXPECT_EQ(OCHLWRPR_proc(&b).Value, 0);
}

TEST(WrapperCharacter, OddInputIsHandled) {
  // An unknown face still measures, with a substitute.
  EXPECT_GT(MeasureChar("W", 24, "No Such Face At All").advance, 0);
  // A byte that isn't UTF-8 is read as Latin-1.
  EXPECT_EQ(MeasureChar("\xE9", 30).advance, MeasureChar("\xC3\xA9", 30).advance);
  EXPECT_GT(MeasureChar("\xE9", 30).advance, 0);
  // No character: width 0.
  WRAPPERBLOCK none = CharBlock(nullptr, 24, CHARACTER_MEASURE);
  EXPECT_EQ(OCHLWRPR_proc(&none).Value, 1);
  EXPECT_EQ(none.Character.Advance, 0);
  // Absurd sizes are bounded, not allocated.
  EXPECT_EQ(MeasureChar("W", 1 << 30).value, 1);
  WRAPPERBLOCK bad = CharBlock("W", 24, 9);
  EXPECT_EQ(OCHLWRPR_proc(&bad).Value, 0);
  EXPECT_EQ(OCHLWRPR_proc(&bad).Dib, nullptr);
}

TEST(WrapperGradient, ThroughTheEntryPoint) {
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_GRADIENT;
  b.Gradient = {};
  b.Gradient.Width = 30;
  b.Gradient.Depth = 20;
  b.Gradient.GradientType = 0;
  b.Gradient.StartColour = RGB(1, 2, 3);
  b.Gradient.EndColour = RGB(250, 240, 230);
  b.Gradient.Bits = 24;
  auto [r, h] = test::Draw(b);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(h->biWidth, 30);
  EXPECT_EQ(h->biHeight, 20);
  EXPECT_EQ(GetDibPixel(h, 0, 7), RGB(1, 2, 3));
  EXPECT_EQ(GetDibPixel(h, 29, 7), RGB(250, 240, 230));

  b.Gradient.GradientType = 1;
  b.Gradient.Bits = 8;
  auto [g, hg] = test::Draw(b);
  ASSERT_NE(hg, nullptr);
  EXPECT_EQ(hg->biBitCount, 8);
  EXPECT_EQ(GetDibPixel(hg, 15, 10), 1u);
  EXPECT_EQ(GetDibPixel(hg, 0, 0), 250u);

  b.Gradient.GradientType = 3;  // not one of the back end's kinds
  EXPECT_EQ(OCHLWRPR_proc(&b).Dib, nullptr);
}

TEST(WrapperLifecycle, OperationsWorkAroundStartAndEnd) {
  WRAPPERBLOCK line;
  line.Operation = WRAPPER_LINE;
  line.Rect = {0, 0, 10, 1};
  line.Line.X1 = 9;
  line.Line.LineThickness = 1;
  line.Line.Coverage = static_cast<std::int32_t>(CoverageValue(255));
  EXPECT_NE(OCHLWRPR_proc(&line).Dib, nullptr);  // before any start

  WRAPPERBLOCK start;
  start.Operation = WRAPPER_START;
  EXPECT_EQ(OCHLWRPR_proc(&start).Value, 1);
  const int before = MeasureChar("Q", 33).advance;
  WRAPPERBLOCK end;
  end.Operation = WRAPPER_END;
  EXPECT_EQ(OCHLWRPR_proc(&end).Value, 1);
  // After the end the cache is gone, not the ability.
  EXPECT_EQ(MeasureChar("Q", 33).advance, before);
  EXPECT_NE(OCHLWRPR_proc(&line).Dib, nullptr);
  EXPECT_EQ(OCHLWRPR_proc(&start).Value, 1);
  EXPECT_EQ(OCHLWRPR_proc(&start).Value, 1);

  WRAPPERBLOCK unknown;
  unknown.Operation = 42;
  WRAPPERRESULT r = OCHLWRPR_proc(&unknown);
  EXPECT_EQ(r.Dib, nullptr);
  EXPECT_EQ(r.Value, 0);
  EXPECT_EQ(OCHLWRPR_proc(nullptr).Value, 0);
}

}  // namespace
}  // namespace ochrel
