// The image engine on a 24-megapixel photograph-like picture: resampling,
// rotation, the kernel filter, grey, quantizing with error diffusion,
// remapping, ordered and mono dithers; some also with a progress sink installed,
// as the program runs them, to weigh the reports.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "image/convert.h"
#include "image/dither.h"
#include "image/kernel.h"
#include "image/progress.h"
#include "image/quantize.h"
#include "image/resample.h"

namespace ochrel {
namespace {

// Smooth colour fields with fine grain, like a photograph: many distinct
// colours, but neighbours alike.
const HDIB& Photo() {
  static const HDIB photo = [] {
    const int w = 6000, h = 4000;
    HDIB d = CreateDib(w, h, nullptr, 24);
    BITMAPINFOHEADER* hd = LockDib(d);
    unsigned seed = 12345;
    for (int y = 0; y < h; ++y) {
      BYTE* p = DibRow(hd, y);
      for (int x = 0; x < w; ++x, p += 3) {
        seed = seed * 1103515245u + 12345u;
        int grain = static_cast<int>((seed >> 16) & 15) - 8;
        double u = x / 700.0, v = y / 500.0;
        int r = static_cast<int>(128 + 100 * std::sin(u + 0.3 * v) + grain);
        int g = static_cast<int>(120 + 90 * std::sin(0.7 * u - v + 1.0) + grain);
        int b = static_cast<int>(110 + 80 * std::cos(u * v * 0.3) + grain);
        p[0] = static_cast<BYTE>(std::clamp(b, 0, 255));
        p[1] = static_cast<BYTE>(std::clamp(g, 0, 255));
        p[2] = static_cast<BYTE>(std::clamp(r, 0, 255));
      }
    }
    return d;
  }();
  return photo;
}

const HDIB& GreyPhoto() {
  static const HDIB grey = ConvertToGrey(Photo());
  return grey;
}

template <class F>
void Run(benchmark::State& state, F f) {
  Photo();
  for (auto _ : state) {
    HDIB r = f();
    if (!r) state.SkipWithError("null result");
    benchmark::DoNotOptimize(r.get());
  }
}

void BM_Resize50(benchmark::State& s) {
  Run(s, [] { return ResizeDib(Photo(), 50); });
}
void BM_Resize173(benchmark::State& s) {
  Run(s, [] { return ResizeDib(Photo(), 173); });
}
void BM_ResizeGrey173(benchmark::State& s) {
  GreyPhoto();
  Run(s, [] { return ResizeDib(GreyPhoto(), 173); });
}
void BM_Rotate17(benchmark::State& s) {
  Run(s, [] { return FreeRotateImageFilter(Photo(), 17, ROTATE_INTERPOLATE, RGB(0, 0, 0)); });
}
void BM_Rotate90(benchmark::State& s) {
  Run(s, [] { return RotateImage90(Photo()); });
}
void BM_KernelBlur(benchmark::State& s) {
  Run(s, [] { return ImposeKernelFilter(Photo(), BlurrKernel, 0); });
}
void BM_Grey(benchmark::State& s) {
  Run(s, [] { return ConvertToGrey(Photo()); });
}
void BM_Quantize256(benchmark::State& s) {
  Photo();
  BYTE palette[768];
  for (auto _ : s) {
    int colours = 256;
    benchmark::DoNotOptimize(Quantize(6000, 4000, &colours, palette, Photo()));
  }
}
void BM_QuantizeDither256(benchmark::State& s) {
  Run(s, [] { return ConvertToPaletteStrategy(Photo(), 101); });
}
void BM_QuantizeRemap256(benchmark::State& s) {
  Run(s, [] { return ConvertToPaletteStrategy(Photo(), 103); });
}
void BM_Bayer256(benchmark::State& s) {
  Run(s, [] { return ConvertToBayerDither256(Photo()); });
}
void BM_MonoDither(benchmark::State& s) {
  Run(s, [] { return ConvertToMonoStrategy(Photo(), 101); });
}
// The same work as the program runs it: reports going to a sink.
template <class F>
void Watched(benchmark::State& state, F f) {
  Run(state, [&f] {
    ProgressSink sink;
    HDIB r;
    RunWithProgress(&sink, [&] { r = f(); });
    return r;
  });
}
void BM_GreyWatched(benchmark::State& s) {
  Watched(s, [] { return ConvertToGrey(Photo()); });
}
void BM_QuantizeDither256Watched(benchmark::State& s) {
  Watched(s, [] { return ConvertToPaletteStrategy(Photo(), 101); });
}
void BM_MonoDitherWatched(benchmark::State& s) {
  Watched(s, [] { return ConvertToMonoStrategy(Photo(), 101); });
}

BENCHMARK(BM_Resize50)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Resize173)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ResizeGrey173)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate17)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rotate90)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_KernelBlur)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Grey)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Quantize256)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QuantizeDither256)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QuantizeRemap256)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Bayer256)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MonoDither)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GreyWatched)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_QuantizeDither256Watched)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MonoDitherWatched)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ochrel

BENCHMARK_MAIN();
