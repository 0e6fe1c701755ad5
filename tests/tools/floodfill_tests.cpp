#include <gtest/gtest.h>

#include "fake_tool_host.h"

#include <random>
#include <string>
#include <vector>

#include "fills/gradient.h"
#include "frame/blockset.h"
#include "image/kernel.h"
#include "frame/settings.h"
#include "test_images.h"
#include "tools/floodfill.h"
#include "tools/selection.h"
#include "tools/toolsession.h"

namespace ochrel {
namespace {

// A blank image of a depth: 24-bit true colour, 8-bit grey (palette 10) or
// paletted (palette 8), 4- and 1-bit paletted; and an empty 8-bit mask.
HDIB Blank(int w, int h, int bits, std::uint32_t value, int paletteNumber = 8) {
  return test::Uniform(w, h, bits, value, bits == 1 ? 0 : paletteNumber);
}
HDIB GreyMask(int w, int h) { return test::Uniform(w, h, 8, 0); }

std::uint32_t Px(const HDIB& d, int x, int y) { return GetDibPixel(LockDib(d), x, y); }

// A record over an image, with the tolerances and settings of a fresh document.
struct Doc {
  BLOCKSET r;
  explicit Doc(HDIB image) {
    CreateNewFile(&r);
    r.Image = std::move(image);
    SetImageType(&r);
    r.Opacity = 255;
    r.Antialias = 0;
    r.FillType = 0;
    r.RedTolerance = r.GreenTolerance = r.BlueTolerance = 16;
  }
};

struct StackSize {
  int saved = FloodFillStackSize;
  explicit StackSize(int v) { FloodFillStackSize = v; }
  ~StackSize() { FloodFillStackSize = saved; }
};

TEST(FloodFillMatch, TrueColourIsStrictPerChannel) {
  Doc d(Blank(2, 2, 24, 0));
  const BITMAPINFOHEADER* h = LockDib(d.r.Image);
  d.r.RedTolerance = 16;
  d.r.GreenTolerance = 4;
  d.r.BlueTolerance = 1;
  EXPECT_TRUE(MatchPixel(h, &d.r, RGB(100, 50, 20), RGB(115, 53, 20), 0));
  EXPECT_FALSE(MatchPixel(h, &d.r, RGB(100, 50, 20), RGB(116, 50, 20), 0));  // red off by its tolerance
  EXPECT_TRUE(MatchPixel(h, &d.r, RGB(116, 50, 20), RGB(101, 50, 20), 0));
  EXPECT_FALSE(MatchPixel(h, &d.r, RGB(100, 50, 20), RGB(100, 54, 20), 0));  // green: 4 is not under 4
  EXPECT_FALSE(MatchPixel(h, &d.r, RGB(100, 50, 20), RGB(100, 50, 21), 0));  // blue tolerance 1: equal only
  // Tolerance 0 matches nothing, not even a value and itself; -1 never matches.
  d.r.BlueTolerance = 0;
  EXPECT_FALSE(MatchPixel(h, &d.r, RGB(1, 2, 3), RGB(1, 2, 3), 0));
  d.r.BlueTolerance = 16;
  EXPECT_FALSE(MatchPixel(h, &d.r, NOPIXEL, RGB(1, 2, 3), 0));
  EXPECT_FALSE(MatchPixel(h, &d.r, RGB(1, 2, 3), NOPIXEL, 0));
  // Any other type counts as true colour.
  EXPECT_TRUE(MatchPixel(h, &d.r, RGB(10, 10, 10), RGB(20, 12, 10), 4));
  EXPECT_FALSE(MatchPixel(h, &d.r, RGB(10, 10, 10), RGB(20, 14, 10), 4));
}

TEST(FloodFillMatch, GreyPalettedMonoAndNotColour) {
  Doc d(Blank(2, 2, 8, 0, 10));
  ASSERT_EQ(d.r.ImageType, IMAGE_GREY);
  const BITMAPINFOHEADER* h = LockDib(d.r.Image);
  // Grey: the average of the three tolerances, in whole numbers.
  d.r.RedTolerance = 16, d.r.GreenTolerance = 16, d.r.BlueTolerance = 17;  // 49 / 3 = 16
  EXPECT_TRUE(MatchPixel(h, &d.r, 100, 115, 1));
  EXPECT_TRUE(MatchPixel(h, &d.r, 115, 100, 1));
  EXPECT_FALSE(MatchPixel(h, &d.r, 100, 116, 1));
  d.r.RedTolerance = 1, d.r.GreenTolerance = 1, d.r.BlueTolerance = 0;  // 2 / 3 = 0
  EXPECT_FALSE(MatchPixel(h, &d.r, 100, 100, 1));
  // Paletted: low bytes equal, whatever the tolerances. Mono: lowest bits.
  d.r.RedTolerance = d.r.GreenTolerance = d.r.BlueTolerance = 0;
  EXPECT_TRUE(MatchPixel(h, &d.r, 0x105, 0x05, 2));
  EXPECT_FALSE(MatchPixel(h, &d.r, 5, 6, 2));
  EXPECT_TRUE(MatchPixel(h, &d.r, 2, 4, 3));
  EXPECT_FALSE(MatchPixel(h, &d.r, 2, 3, 3));

  EXPECT_EQ(NotColour(&d.r, 0x40), 0xBFu);
  Doc rgb(Blank(1, 1, 24, 0));
  EXPECT_EQ(NotColour(&rgb.r, RGB(1, 2, 3)), RGB(254, 253, 252));
  Doc mono(Blank(1, 1, 1, 0));
  ASSERT_EQ(mono.r.ImageType, IMAGE_MONO);
  EXPECT_EQ(NotColour(&mono.r, 1), 0u);
  Doc p4(Blank(1, 1, 4, 0, 3));
  ASSERT_EQ(p4.r.ImageType, IMAGE_PALETTED);
  EXPECT_EQ(NotColour(&p4.r, 3), 12u);
  Doc p8(Blank(1, 1, 8, 0, 8));
  ASSERT_EQ(p8.r.ImageType, IMAGE_PALETTED);
  EXPECT_EQ(NotColour(&p8.r, 3), 252u);
  EXPECT_EQ(NotColour(&mono.r, 0), 1u);
}

TEST(FloodFillSeed, NothingWhenTheColourMatchesOrTheSeedIsOutside) {
  Doc d(Blank(10, 10, 24, RGB(100, 100, 100)));
  HDIB before = DuplicateObject(d.r.Image);
  HDIB mask = GreyMask(10, 10);
  // New value within tolerance of the seed: nothing is marked.
  BucketFill(LockDib(d.r.Image), LockDib(mask), &d.r, 5, 5, RGB(110, 90, 100), RGB(100, 100, 100));
  EXPECT_TRUE(test::SameBlock(before, d.r.Image));
  EXPECT_EQ(InsetBucketFill(&d.r, RGB(110, 90, 100), RGB(100, 100, 100), 5, 5), 1);
  EXPECT_TRUE(test::SameBlock(before, d.r.Image));
  // Tolerance 0 on every channel: not even the seed matches itself.
  d.r.RedTolerance = d.r.GreenTolerance = d.r.BlueTolerance = 0;
  EXPECT_EQ(InsetBucketFill(&d.r, 0, RGB(100, 100, 100), 5, 5), 1);
  EXPECT_TRUE(test::SameBlock(before, d.r.Image));
  d.r.RedTolerance = d.r.GreenTolerance = d.r.BlueTolerance = 16;
  BucketFill(LockDib(d.r.Image), LockDib(mask), &d.r, -1, 5, 0, RGB(100, 100, 100));
  BucketFill(LockDib(d.r.Image), LockDib(mask), &d.r, 5, 10, 0, RGB(100, 100, 100));
  EXPECT_TRUE(test::SameBlock(before, d.r.Image));
  // A mask of another size is refused rather than overrun.
  HDIB small = GreyMask(3, 3);
  BucketFill(LockDib(d.r.Image), LockDib(small), &d.r, 0, 0, 0, RGB(100, 100, 100));
  EXPECT_TRUE(test::SameBlock(before, d.r.Image));
}

// A comb: row 0 open, below it teeth on the even columns between one-pixel
// walls. The fill from (0, 0) lays one span per tooth on the stack at row 1
// (tooth 0's span is already there), then walks each tooth down with one
// entry. A stack of C entries takes teeth 2 .. 2(C - 1); the later teeth keep
// their first row and lose the rest.
TEST(FloodFillSeed, FullStackDropsSpansAndTheSizeIsHeld) {
  const int w = 1200, h = 6;
  Doc d(Blank(w, h, 8, 200, 10));
  for (int y = 1; y < h; ++y)
    for (int x = 1; x < w; x += 2) PutDibPixel(LockDib(d.r.Image), x, y, 0);
  auto fill = [&](int setting) {
    StackSize s(setting);
    HDIB mask = GreyMask(w, h);
    BucketFillMask(LockDib(d.r.Image), LockDib(mask), &d.r, 0, 0, 90, 200);
    return mask;
  };
  // Digests recorded from masks checked against the rule above.
  HDIB small = fill(1);  // held to 512
  EXPECT_EQ(test::Digest(small), 0x05130923faca3d9cu);
  EXPECT_TRUE(test::SameBlock(small, fill(512)));
  EXPECT_FALSE(test::SameBlock(small, fill(513)));
  HDIB large = fill(20000);  // held to 16384: the whole comb
  EXPECT_EQ(test::Digest(large), 0xfdcb53a05a9d851cu);
  EXPECT_TRUE(test::SameBlock(large, fill(16384)));
  EXPECT_EQ(GetFloodFillStackSize(), FloodFillStackSize < 512     ? 512
                                     : FloodFillStackSize > 16384 ? 16384
                                                                  : FloodFillStackSize);
}

// Images of a few values, so that regions are large and ragged.
HDIB Patchy(int w, int h, int bits, unsigned seed) {
  std::mt19937 rng(seed);
  const int paletteNumber = bits == 8 && seed % 2 ? 10 : 8;
  HDIB dib = Blank(w, h, bits, 0, paletteNumber);
  const std::uint32_t values[4] = {0, 1, bits == 24 ? RGB(20, 20, 20) : 3, bits == 24 ? RGB(200, 10, 10) : 2};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const unsigned r = rng() % 16;
      PutDibPixel(LockDib(dib), x, y, r < 11 ? values[0] : values[1 + r % 3]);
    }
  return dib;
}

TEST(FloodFillSeed, MaskOnlyFillEqualsTheFillOnACopyAtEveryDepth) {
  for (int bits : {1, 4, 8, 24}) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
      Doc d(Patchy(173, 61, bits, seed * 7 + bits));
      std::mt19937 rng(seed);
      d.r.RedTolerance = 1 + static_cast<int>(rng() % 40);
      d.r.GreenTolerance = 1 + static_cast<int>(rng() % 40);
      d.r.BlueTolerance = 1 + static_cast<int>(rng() % 40);
      d.r.Opacity = 1 + static_cast<int>(rng() % 255);
      StackSize s(seed % 3 == 0 ? 512 : 4096);
      const int x = static_cast<int>(rng() % 173), y = static_cast<int>(rng() % 61);
      const std::uint32_t old = Px(d.r.Image, x, y);
      const std::uint32_t marker = NotColour(&d.r, old);
      HDIB copy = DuplicateObject(d.r.Image);
      HDIB a = GreyMask(173, 61), b = GreyMask(173, 61);
      BucketFill(LockDib(copy), LockDib(a), &d.r, x, y, marker, old);
      BucketFillMask(LockDib(d.r.Image), LockDib(b), &d.r, x, y, marker, old);
      ASSERT_TRUE(test::SameBlock(a, b)) << bits << " bits, seed " << seed;
      // Every marked pixel of the copy is covered in the mask, and only those.
      int marked = 0;
      for (int j = 0; j < 61; ++j)
        for (int i = 0; i < 173; ++i) {
          const bool changed = Px(copy, i, j) != Px(d.r.Image, i, j);
          ASSERT_EQ(changed, Px(a, i, j) != 0) << i << "," << j;
          marked += changed;
        }
      EXPECT_GT(marked, 0);
    }
  }
}

TEST(FloodFillSeed, HostileShapesEndWithoutHelp) {
  // A checkerboard: 4-connected, every square is its own region.
  Doc d(Blank(301, 301, 24, 0));
  for (int y = 0; y < 301; ++y)
    for (int x = 0; x < 301; ++x) PutDibPixel(LockDib(d.r.Image), x, y, (x + y) % 2 ? RGB(255, 255, 255) : 0);
  EXPECT_EQ(InsetBucketFill(&d.r, RGB(255, 0, 0), 0, 150, 150), 1);
  EXPECT_EQ(Px(d.r.Image, 150, 150), RGB(255, 0, 0));
  EXPECT_EQ(Px(d.r.Image, 152, 150), 0u);
  EXPECT_EQ(Px(d.r.Image, 151, 150), RGB(255, 255, 255));
  // A one-pixel image, any depth.
  for (int bits : {1, 4, 8, 24}) {
    Doc one(Blank(1, 1, bits, 0));
    const std::uint32_t colour = bits == 24 ? RGB(255, 255, 255) : 1;
    EXPECT_EQ(InsetBucketFill(&one.r, colour, 0, 0, 0), 1) << bits;
    EXPECT_EQ(Px(one.r.Image, 0, 0), colour) << bits;
  }
  // A marker that the grey image stores as something still alike to the
  // seed: the copy's marks can't tell visited pixels, yet the fill ends.
  Doc g(Blank(50, 50, 8, 100, 10));
  HDIB mask = GreyMask(50, 50);
  HDIB copy = DuplicateObject(g.r.Image);
  BucketFill(LockDib(copy), LockDib(mask), &g.r, 3, 3, 0x6400 | 101, 100);
  EXPECT_EQ(Px(mask, 49, 49), 255u);
  EXPECT_EQ(Px(copy, 49, 49), 101u);
}

TEST(FloodFillBox, BoundingBoxOfTheMask) {
  HDIB mask = GreyMask(30, 20);
  RECT r{1, 2, 3, 4};
  EXPECT_EQ(GetBucketFillBoundingBox(LockDib(mask), &r), 1);
  EXPECT_EQ(r, (RECT{0, 0, 0, 0}));
  PutDibPixel(LockDib(mask), 7, 3, 1);
  PutDibPixel(LockDib(mask), 12, 15, 200);
  PutDibPixel(LockDib(mask), 4, 9, 255);
  GetBucketFillBoundingBox(LockDib(mask), &r);
  EXPECT_EQ(r, (RECT{4, 3, 13, 16}));
  PutDibPixel(LockDib(mask), 29, 19, 9);
  PutDibPixel(LockDib(mask), 0, 0, 9);
  GetBucketFillBoundingBox(LockDib(mask), &r);
  EXPECT_EQ(r, (RECT{0, 0, 30, 20}));
  // A 1-bit mask, as the wand uses.
  BYTE mono[768];
  GetDefaultPalette(mono, nullptr, 0);
  HDIB bitmask = CreateDib(40, 5, mono, 1);
  PutDibPixel(LockDib(bitmask), 33, 2, 1);
  GetBucketFillBoundingBox(LockDib(bitmask), &r);
  EXPECT_EQ(r, (RECT{33, 2, 34, 3}));
}

// Whole fills through the tool path on small scenes (walls drawn as rectangles;
// the diagonal one pixel a row), each keeping the digest of its result recorded
// from fills checked by hand: the coverage blend at half opacity; the antialias
// kernel feathering both sides of a grey wall, cut at the image's edge, the same
// in a corner of a large image; grey tolerances counted as their average (too
// strict: no change); paletted and mono fills by equal indices, opacity and
// antialias ignored; a 4-connected fill held by a diagonal wall at opacity 200.
TEST(FloodFillInset, ScenesKeepTheirRecordedDigests) {
  struct Scene {
    const char* name;
    int w, h, bits, palette;
    std::uint32_t background;
    std::vector<std::pair<RECT, std::uint32_t>> walls;
    int opacity, antialias, tolerance[3];
    std::uint32_t colour, old;
    POINT seed;
    std::uint64_t digest;
  };
  const std::uint32_t kW = RGB(255, 255, 255), kG = RGB(128, 128, 128);
  using Walls = std::vector<std::pair<RECT, std::uint32_t>>;
  const Walls wall{{{10, 0, 11, 12}, kG}}, corner{{{10, 0, 11, 12}, kG}, {{0, 12, 11, 13}, kG}},
      grey{{{5, 0, 10, 10}, 112}};
  const Scene scenes[] = {
      {"half opacity", 20, 12, 24, 8, kW, {}, 128, 0, {16, 16, 16}, RGB(255, 0, 0), kW, {3, 3}, 0x07a9a0ace5bac804},
      {"antialias", 20, 12, 24, 8, kW, wall, 255, 1, {16, 16, 16}, 0, kW, {2, 5}, 0x280d67c54fb6bfc8},
      {"antialias corner", 300, 200, 24, 8, kW, corner, 255, 1, {16, 16, 16}, 0, kW, {2, 5}, 0xdc88d31878278fdd},
      {"grey too strict", 10, 10, 8, 10, 100, grey, 255, 0, {1, 1, 0}, 0, 100, {0, 0}, 0x13c74503a09f1c9a},
      {"grey average", 10, 10, 8, 10, 100, grey, 100, 0, {13, 13, 13}, 0, 100, {0, 0}, 0x9d61e7117dc740ba},
      {"paletted", 8, 8, 8, 8, 10, {{{4, 0, 5, 8}, 11}}, 10, 1, {16, 16, 16}, 200, 10, {0, 0}, 0xac4c1f4587f34cba},
      {"mono", 9, 3, 1, 0, 0, {{{4, 0, 5, 3}, 1}}, 255, 0, {16, 16, 16}, 1, 0, {8, 1}, 0x9828079c54366d03},
      {"diagonal", 40, 40, 24, 8, kW, {}, 200, 0, {16, 16, 16}, RGB(255, 0, 0), kW, {39, 0}, 0x24c8ed40823071f4},
  };
  for (const Scene& s : scenes) {
    SCOPED_TRACE(s.name);
    Doc d(Blank(s.w, s.h, s.bits, s.background, s.palette));
    for (const auto& [r, v] : s.walls) InsetSolidRectangle(d.r.Image, v, r);
    if (std::string(s.name) == "diagonal")
      for (int i = 0; i < s.w; ++i) PutDibPixel(LockDib(d.r.Image), i, i, 0);
    d.r.Opacity = s.opacity;
    d.r.Antialias = s.antialias;
    d.r.RedTolerance = s.tolerance[0], d.r.GreenTolerance = s.tolerance[1], d.r.BlueTolerance = s.tolerance[2];
    ASSERT_EQ(InsetBucketFill(&d.r, s.colour, s.old, s.seed.x, s.seed.y), 1);
    EXPECT_EQ(test::Digest(d.r.Image), s.digest);
  }
}
TEST(FloodFillInset, GradientStretchesOverTheFilledBox) {
  // A framed room from (10, 5) to (19, 14) inside a white image.
  Doc d(Blank(40, 30, 24, RGB(255, 255, 255)));
  InsetSolidRectangle(d.r.Image, 0, RECT{9, 4, 21, 16});
  InsetSolidRectangle(d.r.Image, RGB(255, 255, 255), RECT{10, 5, 20, 15});
  d.r.FillType = FILL_GRADIENT;
  d.r.Gradient.GradientType = 0;
  d.r.Gradient.StartColour = RGB(255, 0, 0);
  d.r.Gradient.EndColour = RGB(0, 0, 255);
  d.r.Gradient.Angle = 0;
  d.r.Gradient.ImageType = 0;
  HDIB before = DuplicateObject(d.r.Image);
  ASSERT_EQ(InsetBucketFill(&d.r, RGB(0, 255, 0), RGB(255, 255, 255), 12, 8), 1);
  EXPECT_EQ(d.r.Gradient.Rect, (RECT{10, 5, 20, 15}));
  GRADIENT g = d.r.Gradient;
  g.Rect = RECT{0, 0, 10, 10};
  HDIB source = CreateGradient(&g);
  ASSERT_TRUE(source);
  EXPECT_NE(Px(source, 0, 0), Px(source, 9, 9));
  InsetBitmap(before, source, nullptr, RECT{10, 5, 20, 15}, 255);
  EXPECT_TRUE(test::SameBlock(d.r.Image, before));

  // A one-pixel region: the source is one pixel, its own start colour.
  Doc one(Blank(5, 5, 24, 0));
  PutDibPixel(LockDib(one.r.Image), 2, 2, RGB(255, 255, 255));
  one.r.FillType = FILL_GRADIENT;
  one.r.Gradient = d.r.Gradient;
  ASSERT_EQ(InsetBucketFill(&one.r, 0, RGB(255, 255, 255), 2, 2), 1);
  EXPECT_EQ(one.r.Gradient.Rect, (RECT{2, 2, 3, 3}));
  GRADIENT g1 = one.r.Gradient;
  g1.Rect = RECT{0, 0, 1, 1};
  HDIB px = CreateGradient(&g1);
  EXPECT_EQ(Px(one.r.Image, 2, 2), Px(px, 0, 0));
  EXPECT_EQ(Px(one.r.Image, 1, 2), 0u);
}

TEST(FloodFillBox, FeatherMaskIsTheSmallKernelAndTheFillKnowsItsBox) {
  // Masks of every awkward shape: the one-pass feathering against the kernel filter.
  for (auto [w, h] : std::vector<std::pair<int, int>>{{1, 1}, {1, 7}, {9, 1}, {2, 2}, {3, 2}, {37, 23}, {64, 65}}) {
    HDIB mask = test::RandomDib(w, h, 8, static_cast<unsigned>(w * 100 + h), 10);
    // Runs of 0 and 255 as a fill leaves them, with some noise in between.
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const std::uint32_t v = Px(mask, x, y);
        PutDibPixel(LockDib(mask), x, y, v < 100 ? 0 : v < 200 ? 255 : v);
      }
    HDIB a = FeatherMask(LockDib(mask));
    HDIB b = ImposeKernelFilter(mask, AntialiasKernel2, 0);
    ASSERT_TRUE(a && b);
    EXPECT_TRUE(test::SameBlock(a, b)) << w << "x" << h;
  }
  HDIB wide = test::RandomDib(5, 5, 24, 1);
  EXPECT_FALSE(FeatherMask(LockDib(wide)));

  // The box the fill reports is the box of its mask.
  for (unsigned seed = 1; seed <= 10; ++seed) {
    Doc d(Patchy(90, 50, 24, seed));
    d.r.RedTolerance = d.r.GreenTolerance = d.r.BlueTolerance = 30;
    HDIB mask = GreyMask(90, 50);
    RECT box{1, 1, 1, 1}, scanned{};
    const int x = static_cast<int>(seed * 7 % 90), y = static_cast<int>(seed * 5 % 50);
    BucketFillMask(LockDib(d.r.Image), LockDib(mask), &d.r, x, y, RGB(1, 255, 1), Px(d.r.Image, x, y), &box);
    GetBucketFillBoundingBox(LockDib(mask), &scanned);
    EXPECT_EQ(box, scanned) << seed;
    EXPECT_LT(box.left, box.right);
  }
}

// ---- The tool through the fake host -------------------------------------------------------

// A white 100 by 80 picture cut by a black column at x = 50, the bucket chosen.
class BucketToolTest : public test::ToolTest {
 protected:
  void SetUp() override {
    Open(Blank(100, 80, 24, RGB(255, 255, 255)));
    BLOCKSET& record = d->record;
    for (int y = 0; y < 80; ++y) PutDibPixel(LockDib(record.Image), 50, y, 0);
    record.Opacity = 255;
    record.Antialias = 0;
    record.PaintColour = RGB(255, 0, 0);
    record.FillColour = RGB(0, 255, 0);
    record.PaperColour = RGB(0, 0, 255);
    ASSERT_TRUE(Change(TOOL_BUCKET));
  }
  void TearDown() override { SetAllocationLimit(0); }
  void Press(int event, int x, int y, unsigned keys) {
    d->tools.MouseEvent(event, x, y, keys);
    d->Drain();
  }
};

TEST_F(BucketToolTest, ButtonsAndShiftPickTheColourAndEachFillCanBeUndone) {
  ASSERT_NE(d->tools.session(), nullptr);
  EXPECT_EQ(d->tools.session()->param.Tool, TOOL_BUCKET);
  EXPECT_EQ(d->tools.session()->window, (RECT{0, 0, 100, 80}));
  d->tools.MouseEvent(WM_MOUSEMOVE, 7, 9, 0);
  EXPECT_EQ(d->host.status, "(7,9)");

  Press(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  EXPECT_EQ(Px(d->record.Image, 0, 0), RGB(255, 0, 0));
  EXPECT_EQ(Px(d->record.Image, 70, 0), RGB(255, 255, 255));
  EXPECT_EQ(d->record.Modified, 1);
  EXPECT_EQ(d->record.UndoAvailable, 1);
  EXPECT_GE(d->host.redraws, 1);
  Press(WM_RBUTTONDOWN, 70, 10, MK_RBUTTON);
  EXPECT_EQ(Px(d->record.Image, 99, 79), RGB(0, 255, 0));
  Press(WM_LBUTTONDOWN, 70, 10, MK_LBUTTON | MK_SHIFT);
  EXPECT_EQ(Px(d->record.Image, 99, 79), RGB(0, 0, 255));
  Press(WM_MBUTTONDOWN, 10, 10, MK_MBUTTON);
  EXPECT_EQ(Px(d->record.Image, 0, 79), RGB(0, 0, 255));
  // Undo gives back the image before the last fill.
  ASSERT_TRUE(DoUndo(&d->record));
  EXPECT_EQ(Px(d->record.Image, 0, 79), RGB(255, 0, 0));
  EXPECT_EQ(Px(d->record.Image, 99, 79), RGB(0, 0, 255));
  EXPECT_TRUE(d->host.messages.empty());
}

TEST_F(BucketToolTest, PressesOutsideTheImageOrOnTheColourItself) {
  // Scrolled: the press point is unzoomed plus scroll.
  d->host.scrollX = 60;
  Press(WM_LBUTTONDOWN, 0, 0, MK_LBUTTON);
  EXPECT_EQ(Px(d->record.Image, 99, 0), RGB(255, 0, 0));
  EXPECT_EQ(Px(d->record.Image, 0, 0), RGB(255, 255, 255));
  d->host.scrollX = 0;
  d->record.Modified = 0;
  d->record.UndoAvailable = 0;
  // Paint colour within tolerance of the seed: the messages of a success, no change.
  d->record.PaintColour = RGB(250, 250, 250);
  HDIB before = DuplicateObject(d->record.Image);
  Press(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  EXPECT_TRUE(test::SameBlock(before, d->record.Image));
  EXPECT_EQ(d->record.Modified, 1);
  EXPECT_EQ(d->record.UndoAvailable, 1);
  // A point beyond the image (the window reaching past it after a zoom or
  // resize): nothing at all, no undo taken.
  d->record.Modified = 0;
  d->record.UndoAvailable = 0;
  d->tools.session()->OnLButtonDown(150, 10, MK_LBUTTON);
  d->Drain();
  EXPECT_EQ(d->record.UndoAvailable, 0);
  EXPECT_EQ(d->record.Modified, 0);
  EXPECT_TRUE(test::SameBlock(before, d->record.Image));
}

TEST_F(BucketToolTest, MemoryErrorLeavesTheImage) {
  // A mono image: its undo copy is far smaller than the fill's 8-bit mask.
  d->record.Image = Blank(200, 100, 1, 0);
  SetImageType(&d->record);
  d->record.PaintColour = 1;
  HDIB before = DuplicateObject(d->record.Image);
  SetAllocationLimit(5000);
  Press(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  SetAllocationLimit(0);
  ASSERT_EQ(d->host.messages.size(), 1u);
  EXPECT_EQ(d->host.messages[0], "Memory error");
  EXPECT_TRUE(test::SameBlock(before, d->record.Image));
  EXPECT_EQ(d->record.Modified, 0);
  EXPECT_NE(d->tools.session(), nullptr);  // the tool still stands
  Press(WM_LBUTTONDOWN, 10, 10, MK_LBUTTON);
  EXPECT_EQ(Px(d->record.Image, 199, 99), 1u);
}

}  // namespace
}  // namespace ochrel
