// Colour-depth conversions and the engine side of the two conversion dialogs:
// strategies by option id, the preview's choice of option and its reduced image.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <vector>

#include "files/codec.h"
#include "filters/convolve.h"
#include "image/convert.h"
#include "image/dither.h"
#include "image/parallel.h"
#include "image/progress.h"
#include "image/quantize.h"
#include "image/resample.h"
#include "test_images.h"

namespace ochrel {
namespace {

using test::RandomDib;
using test::SameBlock;

HDIB Pixels(int w, int h, const std::vector<COLORREF>& topDown) {
  HDIB d = CreateDib(w, h, nullptr, 24);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) PutDibPixel(LockDib(d), x, y, topDown[static_cast<std::size_t>(y * w + x)]);
  return d;
}

COLORREF ColourAt(const HDIB& d, int x, int y) {
  const BITMAPINFOHEADER* h = LockDib(d);
  std::uint32_t v = GetDibPixel(h, x, y);
  if (h->biBitCount > 8) return v & 0xFFFFFF;
  BYTE pal[768];
  GetDibPalette(h, pal);
  return RGB(pal[3 * v], pal[3 * v + 1], pal[3 * v + 2]);
}

// Keeps the figure each report leaves and cancels the work once it passes stopAt.
class RecordingSink : public ProgressSink {
 public:
  explicit RecordingSink(int stopAt = 1001) : stopAt_(stopAt) {}
  std::vector<int> seen;
  std::atomic<int> afterCancel{0};

 protected:
  void Reported() override {
    if (Cancelled()) {
      ++afterCancel;
      return;
    }
    std::lock_guard<std::mutex> hold(lock_);
    seen.push_back(Permille());
    if (seen.back() >= stopAt_) Cancel();
  }

 private:
  int stopAt_;
  std::mutex lock_;
};

// The grey weights, truncated term by term, are pinned by the grey-conversion digests.

TEST(ConvertOntoPalette, NearestByPlainDistance) {
  BYTE mono[768];
  GetDefaultPalette(mono, nullptr, 0);
  // Nearer to black (distance 3 x 127^2) and nearer to white.
  HDIB img = Pixels(3, 1, {RGB(127, 127, 127), RGB(128, 128, 128), RGB(250, 10, 250)});
  HDIB m = ConvertToMono(img, mono);
  ASSERT_EQ(LockDib(m)->biBitCount, 1);
  EXPECT_EQ(GetDibPixel(LockDib(m), 0, 0), 0u);
  EXPECT_EQ(GetDibPixel(LockDib(m), 1, 0), 1u);
  EXPECT_EQ(GetDibPixel(LockDib(m), 2, 0), 1u);
  // Against a plain scan on random images, at both palette depths.
  BYTE vga[768], ortho[768];
  GetDefaultPalette(vga, nullptr, 3);
  GetDefaultPalette(ortho, nullptr, 8);
  for (int bits : {4, 8, 24}) {
    HDIB src = RandomDib(77, 41, bits, 90u + bits);
    HDIB four = ConvertToFourBit(src, vga), eight = ConvertToEightBit(src, ortho);
    ASSERT_EQ(LockDib(four)->biBitCount, 4);
    for (int y = 0; y < 41; ++y)
      for (int x = 0; x < 77; ++x) {
        COLORREF c = ColourAt(src, x, y);
        for (auto [out, pal, n] : {std::tuple{&four, vga, 16}, std::tuple{&eight, ortho, 256}}) {
          int best = 0, bd = 1 << 30;
          for (int i = 0; i < n; ++i) {
            int dr = pal[3 * i] - GetRValue(c), dg = pal[3 * i + 1] - GetGValue(c), db = pal[3 * i + 2] - GetBValue(c);
            if (dr * dr + dg * dg + db * db < bd) bd = dr * dr + dg * dg + db * db, best = i;
          }
          ASSERT_EQ(GetDibPixel(LockDib(*out), x, y), std::uint32_t(best));
        }
      }
  }
}

// ---- Dialog strategies ---------------------------------------------------------------

HDIB HundredColours() {
  std::vector<COLORREF> px;
  for (int i = 0; i < 100; ++i) px.push_back(RGB(i * 2, 255 - i, (i * 37) & 255));
  return Pixels(10, 10, px);
}

TEST(PaletteStrategies, ThePreviewNeverSorts) {
  HDIB img = HundredColours();
  HDIB a = ConvertToPaletteStrategy(img, 101), b = ConvertToPaletteStrategy(img, 103),
       p = ConvertToPaletteStrategy(img, 103, true);
  BYTE pa[768], pb[768], pp[768];
  GetDibPalette(LockDib(a), pa);
  GetDibPalette(LockDib(b), pb);
  GetDibPalette(LockDib(p), pp);
  EXPECT_NE(0, std::memcmp(pa, pb, 768));
  EXPECT_EQ(0, std::memcmp(pp, pa, 768));
}

TEST(Strategies, UnknownIdsFallBackAndMonoSourcesAreRefusedByTheDitherers) {
  // Each option's own output is pinned by the byte-identity digests.
  HDIB img = RandomDib(30, 20, 24, 8);
  EXPECT_TRUE(SameBlock(ConvertToMonoStrategy(img, 0), ConvertToMonoStrategy(img, 101)));
  EXPECT_TRUE(SameBlock(ConvertToPaletteStrategy(img, 4711), ConvertToPaletteStrategy(img, 101)));
  HDIB mono = RandomDib(8, 8, 1, 2);
  for (int o : {101, 102, 105}) EXPECT_FALSE(ConvertToPaletteStrategy(mono, o)) << o;
  for (int o : {103, 109}) EXPECT_TRUE(ConvertToPaletteStrategy(mono, o)) << o;
}

// ---- Preview --------------------------------------------------------------------------------

TEST(Preview, OrderOfTests) {
  auto checked = [](std::set<int> on) { return [on](int id) { return on.count(id) > 0; }; };
  EXPECT_EQ(MonoPreviewOption(checked({})), 101);
  EXPECT_EQ(MonoPreviewOption(checked({102})), 102);
  EXPECT_EQ(MonoPreviewOption(checked({102, 103})), 103);
  EXPECT_EQ(MonoPreviewOption(checked({101, 102})), 102);
  EXPECT_EQ(PalettePreviewOption(checked({})), 101);
  EXPECT_EQ(PalettePreviewOption(checked({103, 102})), 102);  // 102 is tested before 103
  EXPECT_EQ(PalettePreviewOption(checked({103, 104})), 104);
  EXPECT_EQ(PalettePreviewOption(checked({105, 109})), 109);
  EXPECT_EQ(PalettePreviewOption(checked({103})), 103);
  EXPECT_EQ(PalettePreviewOption(checked({101, 107, 108})), 108);
}

TEST(Preview, EightPercentCaseAndOffsets) {
  EXPECT_EQ(PreviewPercentage(100, 1000, 80, 80), 8);
  HDIB img = RandomDib(100, 1000, 24, 6);
  int ox = -1, oy = -1;
  HDIB r = ReducedPreviewImage(img, 80, 80, &ox, &oy);
  ASSERT_TRUE(r);
  EXPECT_EQ(LockDib(r)->biWidth, 8);
  EXPECT_EQ(LockDib(r)->biHeight, 80);
  EXPECT_EQ(LockDib(r)->biBitCount, 24);  // the reduced image keeps the source's depth
  EXPECT_EQ(ox, 36);
  EXPECT_EQ(oy, 0);
  // A small image grows to fill the box; offsets never go negative.
  HDIB small = RandomDib(30, 10, 8, 6, 10);
  HDIB g = ReducedPreviewImage(small, 80, 60, &ox, &oy);
  EXPECT_EQ(LockDib(g)->biWidth, 79);  // 266 %
  EXPECT_EQ(LockDib(g)->biHeight, 26);
  EXPECT_EQ(ox, 0);
  EXPECT_EQ(oy, 17);
  // The whole previews run the strategy on the reduced image.
  HDIB mp = MonoPreviewImage(img, 102, 80, 80, &ox, &oy);
  EXPECT_TRUE(SameBlock(mp, ConvertToBayerDither2(r)));
  HDIB pp = PalettePreviewImage(img, 103, 80, 80, &ox, &oy);
  EXPECT_TRUE(SameBlock(pp, ConvertToPaletteStrategy(r, 103, true)));
  EXPECT_FALSE(ReducedPreviewImage(img, 0, 80, &ox, &oy));  // 0 % reduces to nothing
  EXPECT_FALSE(ReducedPreviewImage(HDIB{}, 80, 80, &ox, &oy));
}

// Long work reports a figure that climbs steadily to the whole, gives the same
// bytes as without a sink, and once cancelled stops at its next report.
TEST(Progress, ClimbsToTheWholeLeavesTheBytesAndStopsWhenCancelled) {
  const HDIB image = RandomDib(96, 1024, 24, 21);
  VectorSink png, jpg;
  ASSERT_TRUE(PngEncode(LockDib(image), png) && JpgEncode(LockDib(image), 90, jpg));
  const struct {
    const char* name;
    std::function<HDIB()> run;
  } cases[] = {
      {"median cut and dither", [&] { return ConvertToPaletteStrategy(image, IDC_PAL_QUANT256_DITHER); }},
      {"mono error diffusion", [&] { return ConvertToMonoStrategy(image, IDC_MONO_DITHER); }},
      {"two-pass blur", [&] { return FilterGaussianBlurImage(image, IMAGE_TRUECOLOUR, 4.0, 2.0); }},
      {"two-pass resize", [&] { return ResizeDib(image, 150); }},
      {"PNG reading", [&] { return PngDecode(png.bytes); }},
      {"JPEG reading", [&] { return JpgDecode(jpg.bytes); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const HDIB plain = c.run();
    ASSERT_TRUE(plain);
    RecordingSink sink;
    HDIB watched;
    EXPECT_TRUE(RunWithProgress(&sink, [&] { watched = c.run(); }));
    EXPECT_TRUE(SameBlock(watched, plain));
    // It moves in many steps to near the end, and no early step claims the whole.
    ASSERT_FALSE(sink.seen.empty());
    EXPECT_GE(sink.seen.back(), 900);
    EXPECT_GE(std::set<int>(sink.seen.begin(), sink.seen.end()).size(), 8u);
    EXPECT_LE(std::count(sink.seen.begin(), sink.seen.end(), 1000), 2);

    RecordingSink stopping(300);
    HDIB stopped;
    EXPECT_FALSE(RunWithProgress(&stopping, [&] { stopped = c.run(); }));
    EXPECT_FALSE(stopped);
    EXPECT_LT(stopping.Permille(), 1000);
    EXPECT_LE(stopping.afterCancel, HardwareThreads());
  }
}

}  // namespace
}  // namespace ochrel
