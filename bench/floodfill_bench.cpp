// Flood fills on a 24-megapixel picture: the seed fill alone over the whole
// image and over a comb of one-pixel walls, whole fills with and without the
// feathered edge, a gradient fill, a small fill inside the large image, and a
// spray spot. Each whole fill starts from a white image again (untimed).
#include <benchmark/benchmark.h>

#include "fills/gradient.h"
#include "frame/blockset.h"
#include "tools/floodfill.h"
#include "tools/spraycan.h"

namespace ochrel {
namespace {

constexpr int kWidth = 6000, kDepth = 4000;

BLOCKSET MakeDocument(int width, int depth) {
  BLOCKSET d;
  CreateNewFile(&d);
  NEWFILEPARAM p;
  p.width = width;
  p.depth = depth;
  p.colour = RGB(255, 255, 255);
  d.Image = CreateNewImage(p);
  SetImageType(&d);
  d.Opacity = 255;
  d.FillType = 0;
  return d;
}

HDIB GreyMask(int w, int h) {
  BYTE grey[768];
  GetDefaultPalette(grey, nullptr, 10);
  return CreateDib(w, h, grey, 8);
}

void BM_SeedFillWholeImage(benchmark::State& state) {
  BLOCKSET d = MakeDocument(kWidth, kDepth);
  for (auto _ : state) {
    HDIB mask = GreyMask(kWidth, kDepth);
    BucketFillMask(LockDib(d.Image), LockDib(mask), &d, 10, 10, 0, RGB(255, 255, 255));
    benchmark::DoNotOptimize(mask);
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kDepth);
}
BENCHMARK(BM_SeedFillWholeImage)->Unit(benchmark::kMillisecond);

// Vertical walls on every other column below an open first row: 3000 teeth,
// so the fill is mostly short spans and stack traffic (and some are dropped).
void BM_SeedFillComb(benchmark::State& state) {
  BLOCKSET d = MakeDocument(kWidth, kDepth);
  BITMAPINFOHEADER* h = LockDib(d.Image);
  for (int y = 1; y < kDepth; ++y)
    for (int x = 1; x < kWidth; x += 2) PutDibPixel(h, x, y, 0);
  for (auto _ : state) {
    HDIB mask = GreyMask(kWidth, kDepth);
    BucketFillMask(h, LockDib(mask), &d, 0, 0, 0, RGB(255, 255, 255));
    benchmark::DoNotOptimize(mask);
  }
}
BENCHMARK(BM_SeedFillComb)->Unit(benchmark::kMillisecond);

void WholeFill(benchmark::State& state, int antialias, int fillType) {
  BLOCKSET d = MakeDocument(kWidth, kDepth);
  d.Antialias = antialias;
  d.FillType = fillType;
  d.Gradient.StartColour = RGB(255, 0, 0);
  d.Gradient.EndColour = RGB(0, 0, 255);
  for (auto _ : state) {
    state.PauseTiming();
    InsetSolidRectangle(d.Image, RGB(255, 255, 255), RECT{0, 0, kWidth, kDepth});
    state.ResumeTiming();
    if (!InsetBucketFill(&d, RGB(0, 0, 0), RGB(255, 255, 255), 3000, 2000)) state.SkipWithError("memory");
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kDepth);
}
void BM_InsetBucketFillFlat(benchmark::State& s) { WholeFill(s, 0, 0); }
void BM_InsetBucketFillAntialiased(benchmark::State& s) { WholeFill(s, 1, 0); }
void BM_InsetBucketFillGradient(benchmark::State& s) { WholeFill(s, 0, FILL_GRADIENT); }
BENCHMARK(BM_InsetBucketFillFlat)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InsetBucketFillAntialiased)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InsetBucketFillGradient)->Unit(benchmark::kMillisecond);

// A 200 by 200 room in the large image: what a click on a small shape costs.
void BM_InsetBucketFillSmallRoom(benchmark::State& state) {
  BLOCKSET d = MakeDocument(kWidth, kDepth);
  d.Antialias = 1;
  BITMAPINFOHEADER* h = LockDib(d.Image);
  for (int i = 1000; i <= 1201; ++i) {
    PutDibPixel(h, i, 1000, 0);
    PutDibPixel(h, i, 1201, 0);
    PutDibPixel(h, 1000, i, 0);
    PutDibPixel(h, 1201, i, 0);
  }
  std::uint32_t current = RGB(255, 255, 255);
  for (auto _ : state) {
    const std::uint32_t next = current == RGB(255, 255, 255) ? RGB(0, 0, 200) : RGB(255, 255, 255);
    InsetBucketFill(&d, next, current, 1100, 1100);
    current = GetDibPixel(h, 1100, 1100);
  }
}
BENCHMARK(BM_InsetBucketFillSmallRoom)->Unit(benchmark::kMillisecond);

void BM_SpraySpot(benchmark::State& state) {
  HGLOBAL t = CreateSpraycan(64);
  for (auto _ : state) {
    HGLOBAL list = DuplicateObject(t);
    HDIB spot = RenderSpraycan(list, 255, 0, 5);
    benchmark::DoNotOptimize(spot);
  }
}
BENCHMARK(BM_SpraySpot)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace ochrel

BENCHMARK_MAIN();
