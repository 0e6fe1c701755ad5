// The redraw of a document view: a 1920 by 1080 view of a 6000 by 4000 image
// at several scales, and the update of a stamp-sized rectangle.
#include <benchmark/benchmark.h>

#include <vector>

#include "frame/view.h"
#include "image/dib.h"

namespace {

ochrel::HDIB& Image(int bits) {
  static ochrel::HDIB images[33];
  ochrel::HDIB& img = images[bits];
  if (!img) {
    ochrel::BYTE pal[768];
    ochrel::GetDefaultPalette(pal, nullptr, 8);
    img = ochrel::CreateDib(6000, 4000, pal, bits);
    ochrel::BITMAPINFOHEADER* h = ochrel::LockDib(img);
    ochrel::BYTE* p = ochrel::DibBits(h);
    for (std::size_t i = 0; i < h->biSizeImage; ++i) p[i] = static_cast<ochrel::BYTE>(i * 2654435761u >> 13);
  }
  return img;
}

void FullView(benchmark::State& state) {
  const int bits = static_cast<int>(state.range(0)), percent = static_cast<int>(state.range(1));
  const ochrel::BITMAPINFOHEADER* h = ochrel::LockDib(Image(bits));
  std::vector<std::uint32_t> out(1920 * 1080);
  ochrel::ViewRender v;
  v.percent = percent;
  v.scrollX = 100;
  v.scrollY = 100;
  v.grid = percent >= 100;
  for (auto _ : state) {
    ochrel::RenderView(h, v, 0, 0, 1920, 1080, out.data(), 1920 * 4);
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(FullView)->ArgsProduct({{24, 8}, {10, 50, 100, 400, 1600}})->Unit(benchmark::kMillisecond)->UseRealTime();

void StampUpdate(benchmark::State& state) {
  const ochrel::BITMAPINFOHEADER* h = ochrel::LockDib(Image(24));
  std::vector<std::uint32_t> out(1920 * 1080);
  ochrel::ViewRender v;
  v.percent = 100;
  for (auto _ : state) {
    // A 68-pixel stamp box rendered into its place in the view.
    ochrel::RenderView(h, v, 900, 500, 68, 68, out.data() + 500 * 1920 + 900, 1920 * 4);
    benchmark::DoNotOptimize(out.data());
  }
}
BENCHMARK(StampUpdate)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
