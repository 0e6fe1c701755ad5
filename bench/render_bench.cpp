// Masks and basic gradients at the size of a 24-megapixel image: a shape tool
// on a full image must not make the hand wait.
#include <benchmark/benchmark.h>

#include "image/gradient_basic.h"
#include "render/wrapper.h"

namespace {

using namespace ochrel;

constexpr int kW = 6000, kH = 4000;

void BM_EllipseMask(benchmark::State& state) {
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_ELLIPSE;
  b.Antialias = static_cast<int>(state.range(0));
  b.Shape.Box = {4, 4, kW + 4, kH + 4};
  b.Shape.FillValue = static_cast<std::int32_t>(CoverageValue(255));
  for (auto _ : state) {
    WRAPPERRESULT r = OCHLWRPR_proc(&b);
    benchmark::DoNotOptimize(r.Dib.get());
  }
}
BENCHMARK(BM_EllipseMask)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_EllipseOutlineMask(benchmark::State& state) {
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_ELLIPSE;
  b.Antialias = 1;
  b.Shape.Box = {4, 4, kW + 4, kH + 4};
  b.Shape.LineThickness = 64;
  b.Shape.OutlineValue = static_cast<std::int32_t>(CoverageValue(255));
  for (auto _ : state) {
    WRAPPERRESULT r = OCHLWRPR_proc(&b);
    benchmark::DoNotOptimize(r.Dib.get());
  }
}
BENCHMARK(BM_EllipseOutlineMask)->Unit(benchmark::kMillisecond);

void BM_DiagonalLineMask(benchmark::State& state) {
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_LINE;
  b.Antialias = 1;
  b.Rect = {0, 0, kW, kH};
  b.Line.X1 = kW - 1;
  b.Line.Y1 = kH - 1;
  b.Line.LineThickness = 16;
  b.Line.Coverage = static_cast<std::int32_t>(CoverageValue(255));
  for (auto _ : state) {
    WRAPPERRESULT r = OCHLWRPR_proc(&b);
    benchmark::DoNotOptimize(r.Dib.get());
  }
}
BENCHMARK(BM_DiagonalLineMask)->Unit(benchmark::kMillisecond);

void BM_BasicGradient(benchmark::State& state) {
  const int type = static_cast<int>(state.range(0));
  for (auto _ : state) {
    HDIB d = RenderBasicGradient(kW, kH, type, RGB(255, 255, 255), RGB(10, 20, 30), 30, 24, 10, -10);
    benchmark::DoNotOptimize(d.get());
  }
}
BENCHMARK(BM_BasicGradient)->Arg(0)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
