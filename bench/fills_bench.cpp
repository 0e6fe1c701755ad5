// The fill generators at 1920 by 1080.
#include <benchmark/benchmark.h>

#include "fills/gradient.h"
#include "fills/matrix.h"
#include "fills/shadow.h"
#include "fills/texture.h"

using namespace ochrel;

namespace {

TEXTURE Texture(int type) {
  TEXTURE t;
  CreateDefaultTexture(&t);
  t.TextureType = type;
  t.Rect = RECT{0, 0, 1920, 1080};
  return t;
}

void BM_Fractal4LayersMatrix1024(benchmark::State& state) {
  TEXTURE t = Texture(3);
  t.MatrixSize = 1024;
  for (auto _ : state) benchmark::DoNotOptimize(CreateTexture(&t));
}
BENCHMARK(BM_Fractal4LayersMatrix1024)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Fractal2ColourDefault(benchmark::State& state) {
  TEXTURE t = Texture(0);
  for (auto _ : state) benchmark::DoNotOptimize(CreateTexture(&t));
}
BENCHMARK(BM_Fractal2ColourDefault)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_CratersDefault(benchmark::State& state) {
  TEXTURE t = Texture(4);
  for (auto _ : state) benchmark::DoNotOptimize(CreateTexture(&t));
}
BENCHMARK(BM_CratersDefault)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PerturbationDefault(benchmark::State& state) {
  TEXTURE t = Texture(5);
  for (auto _ : state) benchmark::DoNotOptimize(CreateTexture(&t));
}
BENCHMARK(BM_PerturbationDefault)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PerturbationEightOctaves(benchmark::State& state) {
  TEXTURE t = Texture(5);
  t.MatrixSize = 1024;
  for (auto _ : state) benchmark::DoNotOptimize(CreateTexture(&t));
}
BENCHMARK(BM_PerturbationEightOctaves)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ConicalGradient(benchmark::State& state) {
  GRADIENT g;
  g.GradientType = 3;
  g.StartColour = 0xFFFFFF;
  g.Angle = 30;
  g.Rect = RECT{0, 0, 1920, 1080};
  for (auto _ : state) benchmark::DoNotOptimize(CreateGradient(&g));
}
BENCHMARK(BM_ConicalGradient)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Matrix(benchmark::State& state) {
  MATRIX m;
  m.Tile = CreateBuiltinMatrixTile();
  m.Rect = RECT{0, 0, 1920, 1080};
  for (auto _ : state) benchmark::DoNotOptimize(CreateMatrix(&m));
}
BENCHMARK(BM_Matrix)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Shadow400x300(benchmark::State& state) {
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 10);
  SHADOW s;
  s.ShadowOpacity = 255;
  s.ShadowSoft = 15;
  s.ShadowOffset = 6;
  s.ShadowDirection = 7;
  for (auto _ : state) {
    state.PauseTiming();
    HDIB mask = CreateDib(400, 300, palette, 8);
    state.ResumeTiming();
    int x, y;
    COLORREF c;
    benchmark::DoNotOptimize(HandleShadowImage(&mask, &x, &y, &c, &s, SHADOWCOLOURS{}));
  }
}
BENCHMARK(BM_Shadow400x300)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
