// Brush strokes on a 24-megapixel true-colour picture: how many stamps a
// second the stroke engine lays with a 64-pixel soft brush, what a stroke's
// press and release cost, and how long a stamp takes to build. One thread.
#include <benchmark/benchmark.h>

#include <cstring>

#include "frame/blockset.h"
#include "tools/brushstamp.h"
#include "tools/brushstroke.h"

namespace ochrel {
namespace {

BLOCKSET& Document() {
  static BLOCKSET doc = [] {
    BLOCKSET d;
    CreateNewFile(&d);
    NEWFILEPARAM p;
    p.width = 6000;
    p.depth = 4000;
    p.colour = RGB(240, 230, 200);
    d.Image = CreateNewImage(p);
    SetImageType(&d);
    d.Tool = TOOL_BRUSH;
    d.PaintColour = RGB(20, 60, 160);
    d.Opacity = 200;
    d.BrushThickness = 64;
    d.BrushSoftness = 50;
    d.BrushShape = 0;
    d.BrushType = 0;
    return d;
  }();
  return doc;
}

// One stroke of `stamps` stamps per iteration: a press and a path of
// straight pieces, each new stroke in a fresh place so that the stroke's first
// touches of its buffers are counted too.
void StrokeBench(benchmark::State& state, int thickness, bool zigzag) {
  BLOCKSET& d = Document();
  d.BrushThickness = thickness;
  HDIB stamp = CreateSoftBrush(d, 0, StampForeground(d.Opacity), 0);
  BrushStroke stroke(d, stamp);
  long long stamps = 0;
  int row = 100;
  for (auto _ : state) {
    const int y = row;
    row = row + 137 > 3900 ? 100 : row + 137;
    if (!stroke.Press({100, y})) state.SkipWithError("no buffers");
    if (zigzag) {
      // Back and forth over itself: most stamp pixels are already covered.
      for (int k = 0; k < 5; ++k) {
        stroke.LineTo({1100, y + 40});
        stroke.LineTo({100, y});
      }
      stamps += 1 + 10 * 1000;
    } else {
      stroke.LineTo({5100, y + 60});
      stamps += 1 + 5000;
    }
    benchmark::DoNotOptimize(LockDib(d.Image));
    stroke.Release();
  }
  state.counters["stamps/s"] = benchmark::Counter(static_cast<double>(stamps), benchmark::Counter::kIsRate);
}

void BM_SoftStroke64(benchmark::State& state) { StrokeBench(state, 64, false); }
void BM_SoftStroke64OverItself(benchmark::State& state) { StrokeBench(state, 64, true); }
void BM_SoftStroke16(benchmark::State& state) { StrokeBench(state, 16, false); }
BENCHMARK(BM_SoftStroke64)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SoftStroke64OverItself)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SoftStroke16)->Unit(benchmark::kMillisecond);

// The worst case for the blend: stamps that never overlap, every pixel of each
// one fresh (first touch of coverage and copy, and a full blend).
void BM_SoftDab64Fresh(benchmark::State& state) {
  BLOCKSET& d = Document();
  d.BrushThickness = 64;
  HDIB stamp = CreateSoftBrush(d, 0, StampForeground(d.Opacity), 0);
  BrushStroke stroke(d, stamp);
  long long stamps = 0;
  for (auto _ : state) {
    if (!stroke.Press({40, 40})) state.SkipWithError("no buffers");
    for (int y = 40; y < 4000; y += 70)
      for (int x = 110; x < 6000; x += 70) {
        stroke.DrawSoftBrush({x, y});
        ++stamps;
      }
    stroke.Release();
  }
  state.counters["stamps/s"] = benchmark::Counter(static_cast<double>(stamps), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_SoftDab64Fresh)->Unit(benchmark::kMillisecond);

// A click: press and release with one stamp, the buffers made and dropped.
void BM_PressRelease(benchmark::State& state) {
  BLOCKSET& d = Document();
  d.BrushThickness = 64;
  HDIB stamp = CreateSoftBrush(d, 0, StampForeground(d.Opacity), 0);
  BrushStroke stroke(d, stamp);
  for (auto _ : state) {
    if (!stroke.Press({3000, 2000})) state.SkipWithError("no buffers");
    stroke.Release();
  }
}
BENCHMARK(BM_PressRelease)->Unit(benchmark::kMicrosecond);

void BM_CreateSoftBrush64(benchmark::State& state) {
  BLOCKSET& d = Document();
  d.BrushThickness = 64;
  for (auto _ : state) benchmark::DoNotOptimize(CreateSoftBrush(d, 0, StampForeground(d.Opacity), 0));
}
BENCHMARK(BM_CreateSoftBrush64)->Unit(benchmark::kMicrosecond);

void BM_CreateHardBrush64Rotated(benchmark::State& state) {
  BLOCKSET d;
  CreateNewFile(&d);
  d.HardBrushThickness = 64;
  d.HardBrushShape = 1;
  d.HardBrushFlat = 40;
  d.HardBrushAngle = 30;
  for (auto _ : state) benchmark::DoNotOptimize(CreateHardBrush(d, 0, StampForeground(255)));
}
BENCHMARK(BM_CreateHardBrush64Rotated)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace ochrel

BENCHMARK_MAIN();
