// Undo with a history on a 24-megapixel picture: the memory 100 steps of
// 64-pixel brush strokes hold, and the time of one Undo and Redo of a stroke
// and of a filter that changed every pixel.
#include <benchmark/benchmark.h>

#include "frame/blockset.h"
#include "frame/settings.h"

namespace {

using namespace ochrel;

HDIB Picture() {
  HDIB dib = CreateDib(6000, 4000, nullptr, 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  for (int y = 0; y < 4000; ++y) {
    BYTE* row = DibRow(h, y);
    for (int x = 0; x < 18000; ++x) row[x] = static_cast<BYTE>(x * 7 + y * 3);
  }
  return dib;
}

void Stroke(BLOCKSET* r, int k) {
  CreateUndo(r);
  const int x = (k * 577) % 5900, y = (k * 311) % 3900;
  InsetSolidRectangle(r->Image, RGB(k, 255 - k, 7), RECT{x, y, x + 64, y + 64});
  CompactUndo(r);
}

void HundredStrokes(benchmark::State& state) {
  UndoSteps = 100;
  BLOCKSET r;
  CreateNewFile(&r);
  r.Image = Picture();
  const double image = static_cast<double>(r.Image->size());
  for (int k = 0; k < 100; ++k) Stroke(&r, k);
  for (auto _ : state) {
    // One stroke taken back and put again.
    DoUndo(&r);
    DoRedo(&r);
  }
  state.counters["history_MB"] = static_cast<double>(r.History->Bytes()) / 1e6;
  state.counters["held_x_image"] = (image + static_cast<double>(r.History->Bytes())) / image;
  UndoSteps = 1;
}
BENCHMARK(HundredStrokes)->Unit(benchmark::kMillisecond)->UseRealTime();

void FilterStep(benchmark::State& state) {
  UndoSteps = 100;
  BLOCKSET r;
  CreateNewFile(&r);
  r.Image = Picture();
  CreateUndo(&r);
  BITMAPINFOHEADER* h = LockDib(r.Image);
  for (int y = 0; y < h->biHeight; ++y) {
    BYTE* row = DibRow(h, y);
    for (int x = 0; x < 18000; ++x) row[x] = static_cast<BYTE>(255 - row[x]);
  }
  CompactUndo(&r);
  for (auto _ : state) {
    DoUndo(&r);
    DoRedo(&r);
  }
  UndoSteps = 1;
}
BENCHMARK(FilterStep)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
