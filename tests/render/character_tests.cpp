// Characters, gradients and the back end's life cycle. The application object
// these need is made by the environment in wrapper_tests.cpp.
#include <gtest/gtest.h>

#include <tuple>
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

TEST(WrapperFonts, DefaultFaceResolvesToAMetricTwin) {
  for (auto [face, bold, family] : {std::tuple{"ARIAL", 0, "Liberation Sans"},
                                    {"Arial", 1, "Liberation Sans"},
                                    {"Times New Roman", 0, "Liberation Serif"},
                                    {"Courier New", 0, "Liberation Mono"},
                                    {nullptr, 0, "Liberation Sans"}})
    EXPECT_EQ(ResolvedFontFamily(face, bold, bold), family) << (face ? face : "(none)");

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

// Glyph masks hard and antialiased, with a descender, an underline, a leaning
// italic, a space, and a glyph drawn onto a surface (also half off it): pinned
// by digests recorded from known-good code. A changed digest is a changed glyph.
TEST(WrapperCharacter, MasksAndDrawingMatchTheRecordedDigests) {
  auto mask = [](const char* ch, int size, int antialias, int value, auto&& adjust) {
    WRAPPERBLOCK b = CharBlock(ch, size, CHARACTER_MASK, antialias);
    b.Character.Value = CoverageValue(value);
    adjust(b);
    return std::move(OCHLWRPR_proc(&b).Dib);
  };
  auto none = [](WRAPPERBLOCK&) {};
  const Measure i60 = MeasureChar("I", 60), f72 = MeasureChar("f", 72, "ARIAL", 0, 1);
  HDIB bar = mask("I", 60, 0, 160, [&](WRAPPERBLOCK& b) {
    b.Character.Advance = i60.advance;
    b.Character.LineHeight = i60.height + 10;  // a wider line spacing asks for a deeper cell
  });
  EXPECT_EQ(test::Digest(bar), 0x9567f3e82a755b7ull) << "hard I";
  // The bar sits on the baseline that the measuring reports.
  const BITMAPINFOHEADER* hb = LockDib(bar);
  ASSERT_NE(hb, nullptr);
  EXPECT_EQ(DibRow(hb, i60.ascent - 1)[hb->biWidth / 2], 160);
  EXPECT_EQ(DibRow(hb, i60.ascent)[hb->biWidth / 2], 0);
  EXPECT_EQ(test::Digest(mask("g", 60, 1, 255, none)), 0xf77c1cd665737a0ull) << "g";
  EXPECT_EQ(test::Digest(mask("I", 60, 1, 255, [](WRAPPERBLOCK& b) { b.Character.TextFontUnder = 1; })),
            0x49510b44c3c1df8cull)
      << "underlined I";
  EXPECT_EQ(test::Digest(mask("O", 48, 1, 255, none)), 0x21457f435cfaa21ull) << "soft O";
  EXPECT_EQ(test::Digest(mask("f", 72, 1, 255,
                              [&](WRAPPERBLOCK& b) {
                                b.Character.TextFontItal = 1;
                                b.Character.Advance = f72.advance;
                                b.Character.LineHeight = f72.height;
                              })),
            0xcd92c32839aed633ull)
      << "italic f";
  EXPECT_EQ(test::Digest(mask(" ", 48, 1, 255, none)), 0x82e7381f6e8f96e8ull) << "space";

  HDIB surface = CreateDib(80, 60, nullptr, 24);
  BITMAPINFOHEADER* sh = LockDib(surface);
  ASSERT_NE(sh, nullptr);
  std::memset(DibBits(sh), 255, sh->biSizeImage);
  WRAPPERBLOCK b = CharBlock("H", 40, CHARACTER_DRAW, 1);
  b.Character.X = 10;
  b.Character.Y = 5;
  b.Character.Value = RGB(255, 0, 0);
  b.Character.Surface = sh;
  EXPECT_EQ(OCHLWRPR_proc(&b).Value, 1);
  EXPECT_EQ(test::Digest(surface), 0x36b73573436f0920ull) << "drawn H";
  b.Character.X = -15;  // half off the surface: clipped, no harm
  b.Character.Y = 50;
  EXPECT_EQ(OCHLWRPR_proc(&b).Value, 1);
  EXPECT_EQ(test::Digest(surface), 0x26fdfa52e3044778ull) << "clipped H";
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
  EXPECT_EQ(test::Digest(OCHLWRPR_proc(&b).Dib), 0xe526c95df1a1ae9dull) << "linear 24-bit";
  b.Gradient.GradientType = 1;
  b.Gradient.Bits = 8;
  EXPECT_EQ(test::Digest(OCHLWRPR_proc(&b).Dib), 0x1e45c2c3478316aaull) << "kind 1 8-bit";
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
