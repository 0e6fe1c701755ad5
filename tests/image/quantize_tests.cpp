// The colour quantizer: exact palettes for few colours, the median cut's
// numbers, the sorts and their order of equal elements.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "image/quantize.h"
#include "image/resample.h"
#include "test_images.h"

namespace ochrel {
namespace {

HDIB TrueColour(int w, int h, const std::vector<COLORREF>& pixelsTopDown) {
  HDIB d = CreateDib(w, h, nullptr, 24);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) PutDibPixel(LockDib(d), x, y, pixelsTopDown[static_cast<std::size_t>(y * w + x)]);
  return d;
}

std::vector<int> Entry(const BYTE* pal, int i) { return {pal[3 * i], pal[3 * i + 1], pal[3 * i + 2]}; }

// The rule followed literally: pixel reads through GetDibPixel, the linear
// distinct-colour list, then the same median cut.
int OracleQuantize(const HDIB& image, int* colours, BYTE* palette) {
  std::memset(palette, 0, 768);
  const BITMAPINFOHEADER* h = LockDib(image);
  int w = h->biWidth, d = h->biHeight, maximum = *colours;
  std::vector<COLOURCELL> cells(4096);
  for (int i = 0; i < 4096; ++i)
    cells[i] = COLOURCELL{{BYTE(i >> 8), BYTE((i >> 4) & 15), BYTE(i & 15)}, 0, 0, nullptr};
  BYTE list[768];
  BYTE srcPal[768];
  GetDibPalette(h, srcPal);
  int count = 0;
  for (int y = d - 1; y >= 0; --y)  // stored rows, first to last
    for (int x = 0; x < w; ++x) {
      std::uint32_t v = GetDibPixel(h, x, y);
      COLORREF c = h->biBitCount > 8 ? v : RGB(srcPal[3 * v], srcPal[3 * v + 1], srcPal[3 * v + 2]);
      AddColourToPalette(list, c, &count, maximum);
      cells[(GetRValue(c) >> 4) * 256 + (GetGValue(c) >> 4) * 16 + (GetBValue(c) >> 4)].Count++;
    }
  if (count != -1) {
    std::memcpy(palette, list, 3 * count);
    *colours = count;
    return 1;
  }
  std::vector<NEWCOLOUR> boxes(256, NEWCOLOUR{{0, 0, 0}, {255, 255, 255}, 0, 0, nullptr});
  COLOURCELL* prev = nullptr;
  for (auto& c : cells)
    if (c.Count) {
      if (prev) prev->Next = &c;
      else boxes[0].First = &c;
      prev = &c;
      boxes[0].Cells++;
    }
  boxes[0].Pixels = static_cast<long long>(w) * d;
  std::vector<COLOURCELL*> sortBuffer(4096);
  int n = 1;
  dividemap(boxes.data(), maximum, &n, sortBuffer.data());
  for (int i = 0; i < n; ++i) {
    int s[3] = {0, 0, 0};
    for (COLOURCELL* c = boxes[i].First; c; c = c->Next)
      for (int k = 0; k < 3; ++k) s[k] += c->level[k];
    for (int k = 0; k < 3; ++k) palette[3 * i + k] = BYTE(16 * s[k] / boxes[i].Cells);
  }
  *colours = n;
  return 1;
}

TEST(Quantize, FullListEndsAtTheNextPixelWhateverItsColour) {
  // Three colours with a maximum of three: exact only if the third new colour
  // comes last; one more pixel of an old colour makes the list overflow.
  BYTE list[768];
  int count = 0;
  for (COLORREF c : {RGB(1, 1, 1), RGB(2, 2, 2), RGB(1, 1, 1), RGB(3, 3, 3)}) AddColourToPalette(list, c, &count, 3);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(AddColourToPalette(list, RGB(1, 1, 1), &count, 3), -1);
  EXPECT_EQ(AddColourToPalette(list, RGB(9, 9, 9), &count, 3), -1);

  HDIB last = TrueColour(4, 1, {RGB(1, 1, 1), RGB(2, 2, 2), RGB(1, 1, 1), RGB(3, 3, 3)});
  HDIB early = TrueColour(4, 1, {RGB(1, 1, 1), RGB(2, 2, 2), RGB(3, 3, 3), RGB(1, 1, 1)});
  BYTE pal[768];
  int colours = 3;
  Quantize(4, 1, &colours, pal, last);
  EXPECT_EQ(colours, 3);
  EXPECT_EQ(Entry(pal, 2), (std::vector<int>{3, 3, 3}));
  colours = 3;
  Quantize(4, 1, &colours, pal, early);
  // All three share cell 0, so the median cut leaves one box.
  EXPECT_EQ(colours, 1);
  EXPECT_EQ(Entry(pal, 0), (std::vector<int>{0, 0, 0}));
}

TEST(Quantize, MedianCutOfTwoCellsKeepsTheHighLevelsInTheOldBox) {
  // Three colours, maximum two: the list overflows. Cells red 0 and red 15;
  // the first split is on red and the old box keeps the higher level.
  HDIB img = TrueColour(4, 1, {RGB(0, 0, 0), RGB(5, 3, 1), RGB(255, 0, 0), RGB(250, 0, 0)});
  BYTE pal[768];
  int colours = 2;
  ASSERT_EQ(Quantize(4, 1, &colours, pal, img), 1);
  EXPECT_EQ(colours, 2);
  EXPECT_EQ(Entry(pal, 0), (std::vector<int>{240, 0, 0}));  // the 240 ceiling for 255
  EXPECT_EQ(Entry(pal, 1), (std::vector<int>{0, 0, 0}));    // two colours, one cell, one entry
}

TEST(Quantize, FewerCellsThanTheMaximumGiveOneEntryPerCell) {
  // 300 colours in 6 cells.
  std::vector<COLORREF> px;
  for (int i = 0; i < 300; ++i) {
    int cell = i % 6;
    px.push_back(RGB(cell * 32 + (i / 6) % 16, 17 + (i / 96), 200 + (i / 6) % 4));
  }
  HDIB img = TrueColour(30, 10, px);
  BYTE pal[768];
  int colours = 256;
  ASSERT_EQ(Quantize(30, 10, &colours, pal, img), 1);
  EXPECT_EQ(colours, 6);
  std::vector<std::vector<int>> got, want;
  for (int i = 0; i < 6; ++i) got.push_back(Entry(pal, i));
  for (int cell = 0; cell < 6; ++cell) want.push_back({cell * 2 * 16, 16, 12 * 16});
  std::sort(got.begin(), got.end());
  EXPECT_EQ(got, want);
  for (int i = 6 * 3; i < 768; ++i) ASSERT_EQ(pal[i], 0);
}

TEST(Quantize, ManyColoursMatchTheLiteralRuleAndStayAtMost240) {
  for (int bits : {4, 8, 24})
    for (int maximum : {2, 16, 240, 256}) {
      HDIB img = test::RandomDib(47, 31, bits, 7u * maximum + bits);
      BYTE a[768], b[768];
      int ca = maximum, cb = maximum;
      ASSERT_EQ(Quantize(47, 31, &ca, a, img), 1);
      ASSERT_EQ(OracleQuantize(img, &cb, b), 1);
      EXPECT_EQ(ca, cb) << bits << " " << maximum;
      EXPECT_EQ(0, std::memcmp(a, b, 768)) << bits << " " << maximum;
      if (bits == 24) {
        EXPECT_EQ(ca, maximum);
        EXPECT_LE(*std::max_element(a, a + 768), 240);
      }
    }
  // Failure: no image, a nonsense maximum.
  BYTE pal[768];
  int colours = 256;
  EXPECT_EQ(Quantize(10, 10, &colours, pal, HDIB{}), 0);
  colours = 0;
  EXPECT_EQ(Quantize(4, 1, &colours, pal, TrueColour(4, 1, {0, 0, 0, 0})), 0);
}

}  // namespace
}  // namespace ochrel
