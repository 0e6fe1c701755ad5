// The filter dialog on a 24-megapixel image: what the hand waits for. Opening
// the dialog (the after image's copy and the controls), a pane's redraw at each
// zoom (only the visible part is rendered), and a pan drag's step.
#include <benchmark/benchmark.h>

#include <QApplication>

#include "bench_app.h"
#include <QImage>
#include <QPainter>

#include <cstdlib>

#include "filters/filterparam.h"
#include "frame/options.h"
#include "image/dib.h"
#include "ui/dialogs/filter/filterdialog.h"

namespace {

using namespace ochrel;

using bench::EnsureApp;

const HDIB& BigImage() {
  static HDIB image = [] {
    HDIB dib = CreateDib(6000, 4000, nullptr, 24);
    BITMAPINFOHEADER* h = LockDib(dib);
    for (int y = 0; y < 4000; ++y) {
      BYTE* row = DibRow(h, y);
      for (int x = 0; x < 6000; ++x) {
        row[3 * x] = static_cast<BYTE>(x);
        row[3 * x + 1] = static_cast<BYTE>(y);
        row[3 * x + 2] = static_cast<BYTE>(x ^ y);
      }
    }
    return dib;
  }();
  return image;
}

void Prepare(FILTERPARAM* p) {
  p->BeforeImage = &BigImage();
  p->BeforeWidth = 6000;
  p->BeforeDepth = 4000;
  p->AfterImage = DuplicateObject(BigImage());
  p->AfterWidth = 6000;
  p->AfterDepth = 4000;
  p->ImageType = IMAGE_TRUECOLOUR;
  p->FilterType = 6;
  ImposeFilterParams(p);
}

void BM_OpenDialog24MP(benchmark::State& state) {
  EnsureApp();
  for (auto _ : state) {
    FILTERPARAM p;
    Prepare(&p);
    MasterFilterBox box(&p);
    benchmark::DoNotOptimize(box.filterList());
  }
}
BENCHMARK(BM_OpenDialog24MP)->Unit(benchmark::kMillisecond);

void BM_PaneRedraw24MP(benchmark::State& state) {
  EnsureApp();
  FILTERPARAM p;
  Prepare(&p);
  MasterFilterBox box(&p);
  box.resize(box.sizeHint());
  box.view().BeforeZoom = static_cast<int>(state.range(0));
  FilterPane* pane = box.pane(101);
  QImage target(pane->size(), QImage::Format_RGB32);
  for (auto _ : state) {
    pane->render(&target);
    benchmark::DoNotOptimize(target.bits());
  }
}
BENCHMARK(BM_PaneRedraw24MP)->Arg(25)->Arg(100)->Arg(1600)->Unit(benchmark::kMillisecond);

// How long a Preview holds the interface thread: the filter itself runs on a
// worker, so this is the start alone (the wait for the result isn't counted).
void BM_PreviewHoldsInterface24MP(benchmark::State& state) {
  EnsureApp();
  FILTERPARAM p;
  Prepare(&p);
  MasterFilterBox box(&p);
  for (auto _ : state) {
    box.Preview();
    state.PauseTiming();
    box.WaitForPreview();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_PreviewHoldsInterface24MP)->Unit(benchmark::kMillisecond)->Iterations(3);

// The whole Gaussian blur preview, for comparison.
void BM_PreviewResult24MP(benchmark::State& state) {
  EnsureApp();
  FILTERPARAM p;
  Prepare(&p);
  MasterFilterBox box(&p);
  for (auto _ : state) {
    box.Preview();
    box.WaitForPreview();
  }
}
BENCHMARK(BM_PreviewResult24MP)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
