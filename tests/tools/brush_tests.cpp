#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "image/colourblend.h"
#include "fake_tool_host.h"
#include "test_images.h"
#include "tools/airbrush.h"
#include "tools/brushsettings.h"
#include "tools/brushstamp.h"
#include "tools/brushstroke.h"
#include "tools/tooltable.h"

namespace ochrel {
namespace {

int Px(const HDIB& dib, int x, int y) { return static_cast<int>(GetDibPixel(LockDib(dib), x, y)); }
int Width(const HDIB& dib) { return LockDib(dib)->biWidth; }
int Height(const HDIB& dib) { return LockDib(dib)->biHeight; }

BLOCKSET Document(HDIB image, int tool = TOOL_BRUSH) {
  BLOCKSET d;
  CreateNewFile(&d);
  d.Image = std::move(image);
  SetImageType(&d);
  d.Tool = tool;
  return d;
}

HDIB Blank(int w, int h, COLORREF colour, int type = 0) { return CreateNewImage(NEWFILEPARAM{w, h, type, colour}); }

// A stamp drawn by hand: values given row by row from the top.
HDIB HandStamp(int w, int h, const std::vector<int>& values) {
  BYTE grey[768];
  GetDefaultPalette(grey, nullptr, 10);
  HDIB s = CreateDib(w, h, grey, 8);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) PutDibPixel(LockDib(s), x, y, static_cast<std::uint32_t>(values[y * w + x]));
  return s;
}

// ---- Stamps ---------------------------------------------------------------------

// Every stamp the settings can ask for, by family, folded into one digest per
// family. The digests were recorded from stamps checked by hand: pens of 1 to 3
// are filled squares; soft stamps are symmetric with the opacity at the core and
// ramp longer as they soften; the hard type and paletted or mono images give one
// flat shape; each tool reads its own settings row; flat pens keep one pixel of
// height and turn with the angle (unflattened round ones, and 0 or 360, stay upright).
std::map<std::string, std::uint64_t> StampDigests() {
  std::map<std::string, std::uint64_t> out;
  auto soft = [&](const char* family, BLOCKSET& d, int type) {
    std::uint64_t& h = out.try_emplace(family, test::kDigestStart).first->second;
    h = test::Digest(CreateSoftBrush(d, 0, StampForeground(d.Opacity), type), h);
  };
  auto hard = [&](const char* family, BLOCKSET& d) {
    std::uint64_t& h = out.try_emplace(family, test::kDigestStart).first->second;
    h = test::Digest(CreateHardBrush(d, 0, StampForeground(d.Opacity)), h);
  };
  BLOCKSET d = Document(Blank(8, 8, RGB(255, 255, 255)));
  d.Opacity = 200;
  d.BrushSoftness = 50;
  for (d.BrushThickness = 1; d.BrushThickness <= 3; ++d.BrushThickness)
    for (d.BrushShape = 0; d.BrushShape <= 1; ++d.BrushShape)
      for (int type : {0, 1}) soft("small", d, type);
  d.Opacity = 173;
  for (int t : {5, 6, 7, 8, 9, 10, 12, 16, 23, 32, 47, 64})
    for (int softness : {1, 20, 50, 80, 100})
      for (d.BrushShape = 0; d.BrushShape <= 1; ++d.BrushShape) {
        d.BrushThickness = t;
        d.BrushSoftness = softness;
        soft("soft", d, 0);
        if (t == 16 || t == 47) soft("hard type", d, 1);
      }
  for (int type : {2, 3}) {
    BLOCKSET p = Document(Blank(8, 8, RGB(255, 255, 255), type));
    p.Opacity = 255;
    p.BrushThickness = 16;
    p.BrushShape = 1;
    soft("paletted and mono", p, 0);
  }
  d.BrushThickness = 10;
  d.EraserBrushThickness = 11;
  d.AirBrushThickness = 12;
  d.UndoThickness = 13;
  for (int tool : {TOOL_BRUSH, TOOL_PEN, TOOL_ERASER, TOOL_AIRBRUSH, TOOL_LOCALUNDO}) {
    d.Tool = tool;
    soft("tool rows", d, 0);
  }
  d.Tool = TOOL_BRUSH;
  d.BrushThickness = 16;  // the settings window's sample: black on white
  out["tool rows"] = test::Digest(CreateSoftBrush(d, RGB(255, 255, 255), RGB(0, 0, 0), 0), out["tool rows"]);
  d.Tool = TOOL_PEN;
  d.Opacity = 255;
  for (int t : {1, 2, 5, 10, 16, 64})
    for (d.HardBrushShape = 0; d.HardBrushShape <= 1; ++d.HardBrushShape)
      for (d.HardBrushFlat = 0; d.HardBrushFlat <= 100; d.HardBrushFlat += 50)
        for (int angle : {0, 33, 45, 90, 180, 200, 359, 360}) {
          d.HardBrushThickness = t;
          d.HardBrushAngle = angle;
          hard("hard", d);
        }
  return out;
}

TEST(BrushStamp, EveryFamilyKeepsItsRecordedDigest) {
  const std::map<std::string, std::uint64_t> want = {
      {"hard", 0x0119d6224a5edbf3},  {"hard type", 0x8f710d310074d037}, {"paletted and mono", 0xd691e925569bfd57},
      {"small", 0x3c0a1455786aefe3}, {"soft", 0x32aebba1d35a199f},      {"tool rows", 0xe49ee947b5f63d8f},
  };
  EXPECT_EQ(StampDigests(), want);
}
TEST(BrushStamp, DamagedSettingsStillGiveSaneStamps) {
  BLOCKSET d = Document(Blank(8, 8, RGB(255, 255, 255)));
  d.BrushThickness = -7;
  d.BrushSoftness = 1000;
  HDIB s = CreateSoftBrush(d, 0, StampForeground(255), 0);
  ASSERT_TRUE(s);
  EXPECT_EQ(Width(s), 5);
  d.BrushThickness = 1 << 30;
  s = CreateSoftBrush(d, 0, StampForeground(255), 0);
  ASSERT_TRUE(s);
  EXPECT_EQ(Width(s), kMaxStampThickness + 4);
  d.Tool = TOOL_PEN;
  d.HardBrushThickness = 0;
  d.HardBrushFlat = -50;
  ASSERT_TRUE(CreateHardBrush(d, 0, StampForeground(255)));
}

TEST(BrushStamp, OutOfMemoryGivesNull) {
  BLOCKSET d = Document(Blank(8, 8, RGB(255, 255, 255)));
  d.BrushThickness = 64;
  SetAllocationLimit(1000);
  EXPECT_FALSE(CreateSoftBrush(d, 0, StampForeground(255), 0));
  d.Tool = TOOL_PEN;
  d.HardBrushThickness = 64;
  EXPECT_FALSE(CreateHardBrush(d, 0, StampForeground(255)));
  SetAllocationLimit(0);
}

// ---- The line of stamps ------------------------------------------------------------

std::vector<POINT> Steps(POINT a, POINT b) {
  std::vector<POINT> out;
  StepBrushLine(a, b, [&](int x, int y) { out.push_back({x, y}); });
  return out;
}

TEST(BrushLine, StepsOnePixelApartWithBothEnds) {
  EXPECT_EQ(Steps({0, 0}, {4, 2}), (std::vector<POINT>{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}}));
  // Oblique lines run from their lower end along the major axis.
  EXPECT_EQ(Steps({4, 2}, {0, 0}), (std::vector<POINT>{{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}}));
  EXPECT_EQ(Steps({3, 0}, {0, 6}), (std::vector<POINT>{{3, 0}, {3, 1}, {2, 2}, {2, 3}, {1, 4}, {1, 5}, {0, 6}}));
  // Straight lines run in the direction of travel.
  EXPECT_EQ(Steps({2, 5}, {2, 1}), (std::vector<POINT>{{2, 5}, {2, 4}, {2, 3}, {2, 2}, {2, 1}}));
  EXPECT_EQ(Steps({3, 7}, {1, 7}), (std::vector<POINT>{{3, 7}, {2, 7}, {1, 7}}));
  EXPECT_EQ(Steps({9, 9}, {9, 9}), (std::vector<POINT>{{9, 9}}));

  std::mt19937 rng(7);
  std::uniform_int_distribution<int> coord(-50, 50);
  for (int k = 0; k < 500; ++k) {
    const POINT a{coord(rng), coord(rng)}, b{coord(rng), coord(rng)};
    const auto s = Steps(a, b);
    ASSERT_EQ(static_cast<int>(s.size()), std::max(std::abs(a.x - b.x), std::abs(a.y - b.y)) + 1);
    ASSERT_TRUE((s.front() == a && s.back() == b) || (s.front() == b && s.back() == a));
    for (std::size_t i = 1; i < s.size(); ++i) {
      ASSERT_LE(std::abs(s[i].x - s[i - 1].x), 1);
      ASSERT_LE(std::abs(s[i].y - s[i - 1].y), 1);
    }
  }
}

TEST(BrushLine, ClippedWalkPlacesTheSamePoints) {
  std::mt19937 rng(99);
  std::uniform_int_distribution<int> coord(-60, 60);
  const RECT clip{-10, -20, 15, 5};
  for (int k = 0; k < 2000; ++k) {
    const POINT a{coord(rng), coord(rng)}, b{k % 7 ? coord(rng) : a.x, k % 5 ? coord(rng) : a.y};
    const auto all = Steps(a, b);
    std::vector<POINT> clipped;
    auto put = [&](int x, int y) { clipped.push_back({x, y}); };
    StepBrushLine(a, b, put, &clip);
    const bool straight = a.x == b.x || a.y == b.y;
    const bool xMajor = std::abs(b.y - a.y) <= std::abs(b.x - a.x);
    std::vector<POINT> want;
    for (POINT p : all) {
      const bool inX = p.x >= clip.left && p.x < clip.right, inY = p.y >= clip.top && p.y < clip.bottom;
      if (straight ? (inX && inY) : (xMajor ? inX : inY)) want.push_back(p);
    }
    ASSERT_EQ(clipped, want) << a.x << "," << a.y << " - " << b.x << "," << b.y;
  }
}

TEST(BrushLine, WildEndPointsCostNoMoreThanTheImage) {
  BLOCKSET d = Document(Blank(50, 40, RGB(255, 255, 255)));
  d.PaintColour = RGB(0, 0, 0);
  HDIB stamp = HandStamp(3, 3, std::vector<int>(9, 255));
  BrushStroke stroke(d, stamp);
  ASSERT_TRUE(stroke.Press({INT32_MIN, 20}));
  // Across the whole range of coordinates: only the part over the image is walked.
  const RECT r = stroke.LineTo({INT32_MAX, 20});
  EXPECT_EQ(r, (RECT{0, 19, 50, 22}));
  EXPECT_EQ(Px(d.Image, 25, 20), 0);
  const RECT r2 = stroke.LineTo({INT32_MIN, INT32_MAX});
  EXPECT_LE(r2.right, 50);
  stroke.Release();
}

// ---- Strokes -------------------------------------------------------------------------

// What a stroke must leave, worked out pixel by pixel from the rule: each pixel
// takes the strongest stamp value over all stamp positions and is blended once
// from its original value.
HDIB ExpectedStroke(const HDIB& original, const HDIB& stamp, const std::vector<POINT>& centres, std::uint32_t colour) {
  HDIB out = DuplicateObject(original);
  BITMAPINFOHEADER* o = LockDib(out);
  const int W = o->biWidth, H = o->biHeight, w = Width(stamp), h = Height(stamp);
  std::vector<int> best(static_cast<std::size_t>(W) * H, 0);
  for (POINT c : centres)
    for (int j = 0; j < h; ++j)
      for (int i = 0; i < w; ++i) {
        const int x = c.x - w / 2 + i, y = c.y - h / 2 + j;
        if (x < 0 || y < 0 || x >= W || y >= H) continue;
        int& b = best[static_cast<std::size_t>(y) * W + x];
        b = std::max(b, Px(stamp, i, j));
      }
  for (int y = 0; y < H; ++y)
    for (int x = 0; x < W; ++x) {
      const int m = best[static_cast<std::size_t>(y) * W + x];
      if (!m) continue;
      const std::uint32_t p = GetDibPixel(o, x, y);
      std::uint32_t v = 0;
      for (int c = 0; c < 3; ++c)
        v |= static_cast<std::uint32_t>(CoverageBlend((p >> (8 * c)) & 255, (colour >> (8 * c)) & 255, m)) << (8 * c);
      v |= p & 0xFF000000u;
      PutDibPixel(o, x, y, v);
    }
  return out;
}

bool Inside(RECT r, int x, int y) { return x >= r.left && x < r.right && y >= r.top && y < r.bottom; }
RECT Union(RECT a, RECT b) {
  if (a.left >= a.right) return b;
  if (b.left >= b.right) return a;
  return RECT{std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
              std::max(a.bottom, b.bottom)};
}

TEST(BrushStroke, MatchesTheStrongestStampRuleOnEveryBlendingDepth) {
  // Random images, a soft stamp, a path that crosses itself and runs off every
  // edge; true colour at 24 and 32 bits and grey.
  struct Case {
    int bits, palette;
    std::uint32_t colour;
  };
  for (Case c : {Case{24, 8, RGB(250, 20, 130)}, Case{32, 8, RGB(3, 200, 77)}, Case{8, 10, 0x5A}}) {
    BLOCKSET d = Document(test::RandomDib(61, 47, c.bits, 11u + c.bits, c.palette));
    ASSERT_EQ(d.ImageType, c.bits == 8 ? IMAGE_GREY : IMAGE_TRUECOLOUR);
    HDIB original = DuplicateObject(d.Image);
    d.Opacity = 211;
    d.BrushThickness = 13;
    d.BrushSoftness = 30;
    HDIB stamp = CreateSoftBrush(d, 0, StampForeground(d.Opacity), 0);
    BrushStroke stroke(d, stamp);
    stroke.SetColour(c.colour);
    const std::vector<POINT> path = {{-5, 3}, {30, 20}, {70, 10}, {40, 52}, {20, 20}, {50, 25}, {2, 44}};
    std::vector<POINT> centres = {path[0]};
    auto pressed = stroke.Press(path[0]);
    ASSERT_TRUE(pressed);
    RECT changed = *pressed;
    for (std::size_t i = 1; i < path.size(); ++i) {
      changed = Union(changed, stroke.LineTo(path[i]));
      StepBrushLine(path[i - 1], path[i], [&](int x, int y) { centres.push_back({x, y}); });
    }
    EXPECT_EQ(stroke.LastPoint(), path.back());
    stroke.Release();
    HDIB expected = ExpectedStroke(original, stamp, centres, c.colour);
    ASSERT_TRUE(test::SameBlock(d.Image, expected)) << c.bits << " bits";
    for (int y = 0; y < 47; ++y)
      for (int x = 0; x < 61; ++x)
        if (Px(original, x, y) != Px(d.Image, x, y)) {
          ASSERT_TRUE(Inside(changed, x, y)) << x << "," << y;
        }
    EXPECT_GE(changed.left, 0);
    EXPECT_LE(changed.right, 61);
  }
}

TEST(BrushStroke, BlendStartsFromThePressTimeCopy) {
  // Two stamps: a weak one, then a stronger one over it. The second blend must
  // replace the first, from the original pixel, not add to it.
  BLOCKSET d = Document(Blank(10, 10, RGB(200, 100, 50)));
  HDIB stamp = HandStamp(1, 1, {60});
  BrushStroke stroke(d, stamp);
  stroke.SetColour(RGB(0, 250, 10));
  ASSERT_TRUE(stroke.Press({4, 4}));
  const COLORREF weak = RGB(CoverageBlend(200, 0, 60), CoverageBlend(100, 250, 60), CoverageBlend(50, 10, 60));
  EXPECT_EQ(static_cast<COLORREF>(Px(d.Image, 4, 4)), weak);
  stamp = HandStamp(1, 1, {200});  // rebuilt in its slot, as the airbrush does
  stroke.DrawSoftBrush({4, 4});
  EXPECT_EQ(static_cast<COLORREF>(Px(d.Image, 4, 4)),
            RGB(CoverageBlend(200, 0, 200), CoverageBlend(100, 250, 200), CoverageBlend(50, 10, 200)));
  // A weaker stamp after a stronger one leaves the pixel.
  const int now = Px(d.Image, 4, 4);
  stamp = HandStamp(1, 1, {100});
  stroke.DrawSoftBrush({4, 4});
  EXPECT_EQ(Px(d.Image, 4, 4), now);
}

// Strokes on small scenes, each keeping the digest of its image and changed
// rectangles recorded from strokes checked by hand: a stamp partly outside
// paints only inside and reports the part on the image, one wholly outside
// nothing; the scroll at the press shifts the whole stroke; on paletted and mono
// images stamp values of 128 and more set the colour index and lower ones leave
// the pixel, so a soft stamp paints hard and one under 128 paints nothing; a
// stroke over itself at half opacity stays at half strength (each pixel takes
// its strongest stamp once) and the next stroke darkens it again.
TEST(BrushStroke, ScenesKeepTheirRecordedDigests) {
  using Stamp = std::function<HDIB(BLOCKSET&)>;
  auto hand = [](int w, int h, std::vector<int> v) -> Stamp { return [=](BLOCKSET&) { return HandStamp(w, h, v); }; };
  auto soft = [](int opacity, int thickness = 20, int type = 0) -> Stamp {
    return [=](BLOCKSET& d) {
      d.Opacity = opacity, d.BrushThickness = thickness;
      return CreateSoftBrush(d, 0, StampForeground(opacity), type);
    };
  };
  std::vector<POINT> loops{{20, 30}};  // crossing itself, five times round
  for (int k = 0; k < 5; ++k) loops.insert(loops.end(), {{60, 30}, {40, 10}, {20, 30}});
  const Stamp square = hand(9, 9, std::vector<int>(81, 255)), dot = hand(1, 1, {255}),
              row = hand(4, 1, {0, 127, 128, 255});
  struct Scene {
    const char* name;
    int w, h, bits;
    std::uint32_t colour;
    Stamp stamp;
    std::vector<std::vector<POINT>> strokes;
    POINT scroll;
    std::uint64_t digest;
  } scenes[] = {
      {"over the corner", 5, 4, 24, 0, square, {{{0, 0}}}, {}, 0x022d95cd5971c91a},
      {"wholly outside", 20, 20, 24, 0, square, {{{100, 5}, {-30, -30}}}, {}, 0x5acc9560931b1f56},
      {"over the right edge", 20, 20, 24, 0, square, {{{19, 10}}}, {}, 0x43ce5710cbc56dd5},
      {"scrolled", 40, 40, 24, 0, dot, {{{1, 2}, {3, 2}}}, {10, 20}, 0xe969d4f7bcb3ec53},
      {"paletted", 8, 3, 8, 201, row, {{{3, 1}, {3, 1}}}, {}, 0x49ee086228ad0caf},
      {"4 bits", 8, 3, 4, 9, row, {{{3, 1}, {3, 1}}}, {}, 0x29b7add9b412bdce},
      {"mono", 8, 3, 1, 1, row, {{{3, 1}, {3, 1}}}, {}, 0x5fd663e8639c6515},
      {"soft on paletted", 40, 40, 8, 77, soft(255), {{{20, 20}}}, {}, 0x7033d9ac2816aa84},
      {"faint on paletted", 40, 40, 8, 77, soft(127), {{{5, 5}, {35, 30}}}, {}, 0x914e30cc7f17987e},
      {"over itself at half opacity", 80, 60, 24, 0, soft(128, 12, 1), {loops, {{40, 30}}}, {}, 0x26396b39192d380e},
  };
  for (const Scene& s : scenes) {
    SCOPED_TRACE(s.name);
    BYTE palette[768];
    GetDefaultPalette(palette, nullptr, s.bits == 1 ? 0 : 8);
    BLOCKSET d = Document(s.bits == 24 ? Blank(s.w, s.h, RGB(255, 255, 255)) : CreateDib(s.w, s.h, palette, s.bits));
    d.PaintColour = s.colour;
    HDIB stamp = s.stamp(d);
    BrushStroke stroke(d, stamp);
    std::vector<RECT> rects;
    for (const auto& path : s.strokes) {  // each from the image as the last one left it
      auto pressed = stroke.Press(path[0], s.scroll);
      ASSERT_TRUE(pressed);
      rects.push_back(*pressed);
      for (std::size_t i = 1; i < path.size(); ++i) rects.push_back(stroke.LineTo(path[i]));
      stroke.Release();
    }
    std::uint64_t h = test::Digest(d.Image);
    for (RECT r : rects)
      for (long long v : {r.left, r.top, r.right, r.bottom}) h = (h ^ static_cast<std::uint64_t>(v)) * 1099511628211ull;
    EXPECT_EQ(h, s.digest);
  }
}
TEST(BrushStroke, FailuresLeaveTheImageAlone) {
  BLOCKSET d = Document(Blank(300, 200, RGB(255, 255, 255)));
  HDIB before = DuplicateObject(d.Image);
  HDIB stamp = HandStamp(3, 3, std::vector<int>(9, 255));
  BrushStroke stroke(d, stamp);
  SetAllocationLimit(10000);  // the image is 180 KB: no room for the stroke's buffers
  EXPECT_FALSE(stroke.Press({10, 10}));
  SetAllocationLimit(0);
  EXPECT_FALSE(stroke.Painting());
  EXPECT_EQ(stroke.LineTo({50, 50}), RECT{});
  EXPECT_TRUE(test::SameBlock(d.Image, before));
  // No stamp, no image: no stroke.
  HDIB none;
  BrushStroke empty(d, none);
  EXPECT_FALSE(empty.Press({1, 1}));
  BLOCKSET blank = Document(nullptr);
  BrushStroke noImage(blank, stamp);
  EXPECT_FALSE(noImage.Press({1, 1}));
  // The image swapped under a stroke (an undo): later stamps change nothing.
  ASSERT_TRUE(stroke.Press({10, 10}));
  d.Image = DuplicateObject(before);
  stroke.LineTo({100, 100});
  EXPECT_TRUE(test::SameBlock(d.Image, before));
  // A missing stamp in the middle of a stroke lays nothing and the stroke goes on.
  stroke.Release();
  ASSERT_TRUE(stroke.Press({10, 10}));
  stamp.reset();
  EXPECT_EQ(stroke.LineTo({20, 10}), RECT{});
  EXPECT_TRUE(stroke.Painting());
}

// ---- Airbrush ------------------------------------------------------------------------

TEST(Airbrush, SoftnessSwellsByFivesToOneHundred) {
  AirbrushSwell swell;
  swell.Press({50, 50});
  std::vector<int> seen;
  for (int k = 0; k < 23; ++k) {
    auto s = swell.Tick({50, 50});
    ASSERT_TRUE(s);
    seen.push_back(*s);
  }
  std::vector<int> want;
  for (int v = 1; v <= 96; v += 5) want.push_back(v);
  want.insert(want.end(), {100, 100, 100});
  EXPECT_EQ(seen, want);
  // Every press starts again at 1.
  swell.Release();
  EXPECT_FALSE(swell.Tick({50, 50}));
  swell.Press({0, 0});
  EXPECT_EQ(swell.Tick(), 1);
  EXPECT_EQ(swell.Tick(), 6);
}

TEST(Airbrush, MovingAwayStopsTheSwellingForGood) {
  ASSERT_EQ(AirbrushMotion, 4);
  AirbrushSwell swell;
  swell.Press({100, 100});
  // Up to the limit on each axis alone, even on both at once, it goes on.
  EXPECT_EQ(swell.Tick({104, 96}), 1);
  EXPECT_EQ(swell.Tick({96, 104}), 6);
  swell.Move({100, 105});
  EXPECT_FALSE(swell.Tick());
  EXPECT_FALSE(swell.Swelling());
  // Coming back doesn't restart it.
  EXPECT_FALSE(swell.Tick({100, 100}));
  // The motion limit is a setting.
  const int saved = AirbrushMotion;
  AirbrushMotion = 10;
  swell.Press({0, 0});
  EXPECT_EQ(swell.Tick({-10, 10}), 1);
  EXPECT_FALSE(swell.Tick({-11, 0}));
  AirbrushMotion = saved;
}

TEST(Airbrush, DabsWidenTheirCoreAsTheySwell) {
  BLOCKSET d = Document(Blank(64, 64, RGB(255, 255, 255)), TOOL_AIRBRUSH);
  d.Opacity = 255;
  d.AirBrushThickness = 32;
  d.AirBrushSoftness = 77;  // the slider's value is overwritten
  auto full = [](const HDIB& s) {
    int n = 0;
    for (int y = 0; y < Height(s); ++y)
      for (int x = 0; x < Width(s); ++x) n += Px(s, x, y) == 255;
    return n;
  };
  HDIB first = CreateAirbrushDab(d, 1);
  EXPECT_EQ(d.AirBrushSoftness, 1);
  HDIB later = CreateAirbrushDab(d, 51);
  EXPECT_EQ(d.AirBrushSoftness, 51);
  ASSERT_TRUE(first && later);
  EXPECT_EQ(Width(first), 36);
  EXPECT_LT(full(first), full(later));
  // Laid on one spot, the later dab adds only where it is stronger.
  HDIB slot = DuplicateObject(first);
  BrushStroke stroke(d, slot);
  d.PaintColour = RGB(0, 0, 0);
  ASSERT_TRUE(stroke.Press({32, 32}));
  const int rim = Px(d.Image, 32, 20);
  slot = DuplicateObject(later);
  stroke.DrawSoftBrush({32, 32});
  EXPECT_LE(Px(d.Image, 32, 20) & 255, rim & 255);
  EXPECT_EQ(Px(d.Image, 32, 32), 0);
}

// ---- Settings ------------------------------------------------------------------------

TEST(BrushSettings, ClampsOfTheBrushPages) {
  BLOCKSET d = Document(nullptr);
  struct Case {
    int BLOCKSET::*field;
    long long typed;
    int stored;
  };
  const Case cases[] = {
      {&BLOCKSET::BrushThickness, 3, 4},
      {&BLOCKSET::BrushThickness, 65, 64},
      {&BLOCKSET::BrushThickness, 30, 30},
      {&BLOCKSET::EraserBrushThickness, 0, 4},
      {&BLOCKSET::AirBrushThickness, 1000, 64},
      {&BLOCKSET::UndoThickness, 2, 4},
      {&BLOCKSET::HardBrushThickness, 0, 1},
      {&BLOCKSET::HardBrushThickness, 1, 1},
      {&BLOCKSET::HardBrushThickness, 99, 64},
      {&BLOCKSET::HardBrushFlat, 61, 60},
      {&BLOCKSET::HardBrushFlat, 100, 60},
      {&BLOCKSET::HardBrushAngle, 361, 360},
      {&BLOCKSET::HardBrushAngle, -1, 0},
      {&BLOCKSET::BrushSoftness, 0, 1},
      {&BLOCKSET::EraserBrushSoftness, 101, 100},
      {&BLOCKSET::AirBrushSoftness, -3, 1},
      {&BLOCKSET::AirBrushFlow, 0, 1},
      {&BLOCKSET::AirBrushFlow, 500, 100},
      {&BLOCKSET::UndoSoftness, 100, 100},
      {&BLOCKSET::Opacity, 256, 255},
      {&BLOCKSET::Opacity, -1, 0},
      {&BLOCKSET::BrushShape, 2, 1},
      {&BLOCKSET::EraserBrushType, 7, 1},
      {&BLOCKSET::BrushThickness, 1LL << 40, 64},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(SetBrushSetting(d, c.field, c.typed));
    EXPECT_EQ(d.*(c.field), c.stored) << "typed " << c.typed;
  }
  // Not a brush setting: refused, untouched.
  d.LineThickness = 5;
  EXPECT_FALSE(SetBrushSetting(d, &BLOCKSET::LineThickness, 40));
  EXPECT_EQ(d.LineThickness, 5);
}

TEST(BrushSettings, StampToolsHavePagesWithTheirDefaultsInRange) {
  // The tools with a stamp, and only they, have brush settings, opacity first.
  BLOCKSET defaults = Document(nullptr);
  for (const TOOLROW& row : tooltable) {
    const auto page = GetBrushSettingRanges(row.tool);
    ASSERT_EQ(page.empty(), row.stamp == STAMP_NONE) << row.tool;
    if (page.empty()) continue;
    EXPECT_EQ(page.front().field, &BLOCKSET::Opacity) << row.tool;
    for (const BrushSettingRange& r : page) {
      EXPECT_GE(defaults.*(r.field), r.minimum) << r.name;
      EXPECT_LE(defaults.*(r.field), r.maximum) << r.name;
    }
  }
  // A page holds its own tool's fields: the pen's size is not the brush's.
  for (const BrushSettingRange& r : GetBrushSettingRanges(TOOL_PEN)) EXPECT_NE(r.field, &BLOCKSET::BrushThickness);
}

}  // namespace
}  // namespace ochrel
