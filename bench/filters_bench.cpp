// Every filter at its default settings on a 24-megapixel true-colour picture
// (6000 x 4000), plus Gaussian Blur at radius 20 and the rotate and resize
// cases that the comparison script also times.
#include <benchmark/benchmark.h>

#include <cmath>

#include "filters/filterparam.h"
#include "image/crand.h"

namespace ochrel {
namespace {

// A photo-like picture: smooth colour fields with edges and a little grain.
const HDIB& Photo() {
  static HDIB photo = [] {
    const int w = 6000, h = 4000;
    HDIB d = CreateDib(w, h, nullptr, 24);
    BITMAPINFOHEADER* hd = LockDib(d);
    srand(1);
    for (int y = 0; y < h; ++y) {
      BYTE* p = DibRow(hd, y);
      for (int x = 0; x < w; ++x, p += 3) {
        double u = x / 700.0, v = y / 500.0;
        int r = static_cast<int>(128 + 100 * std::sin(u) * std::cos(v)) + (rand() & 15);
        int g = static_cast<int>(128 + 90 * std::sin(u * 1.7 + v)) + (rand() & 15);
        int b = ((x / 300 + y / 300) & 1) ? 200 : 60;
        p[0] = static_cast<BYTE>(std::min(255, b));
        p[1] = static_cast<BYTE>(std::min(255, g));
        p[2] = static_cast<BYTE>(std::min(255, r));
      }
    }
    return d;
  }();
  return photo;
}

void RunFilter(benchmark::State& state, const char* name, void (*adjust)(FILTERPARAM*)) {
  const HDIB& image = Photo();
  int index = FindFilterType(name);
  for (auto _ : state) {
    FILTERPARAM p;
    RestoreFilterDefaults(&p);
    p.ImageType = IMAGE_TRUECOLOUR;
    if (adjust) adjust(&p);
    srand(7);
    HDIB out = filtertype[index].function(image, &p);
    if (!out) state.SkipWithError("filter failed");
    benchmark::DoNotOptimize(out.get());
  }
  state.SetItemsProcessed(state.iterations() * 24000000LL);
}

#define FILTER_BENCH(id, name, adjust)                              \
  void BM_##id(benchmark::State& s) { RunFilter(s, name, adjust); } \
  BENCHMARK(BM_##id)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(0.5);

FILTER_BENCH(GaussianBlur, "Gaussian Blur", nullptr)
FILTER_BENCH(GaussianBlurRadius20, "Gaussian Blur", [](FILTERPARAM* p) { p->FilterGaussianRadius = 200; })
FILTER_BENCH(UnsharpMask, "Unsharp Mask", nullptr)
FILTER_BENCH(Emboss, "Emboss", nullptr)
FILTER_BENCH(Sharpen, "Sharpen", nullptr)
FILTER_BENCH(ContrastBrightness, "Contrast and Brightness", nullptr)
FILTER_BENCH(ColourIntensity, "Color and Intensity", nullptr)
FILTER_BENCH(InvertColours, "Invert Colours", nullptr)
FILTER_BENCH(Solarize, "Solarize", nullptr)
FILTER_BENCH(Rotate17, "Rotate", [](FILTERPARAM* p) { p->FilterRotateAngle = 17; })
FILTER_BENCH(Flip, "Flip", nullptr)
FILTER_BENCH(Resize50, "Resize", [](FILTERPARAM* p) { p->ResizeHorizontal = 50; })
FILTER_BENCH(Resize173, "Resize", [](FILTERPARAM* p) { p->ResizeHorizontal = 173; })
FILTER_BENCH(Swirl, "Swirl", nullptr)
FILTER_BENCH(AddNoise, "Add Noise", nullptr)
FILTER_BENCH(Despeckle, "Despeckle", nullptr)
FILTER_BENCH(OilPainting, "Oil Painting", nullptr)
FILTER_BENCH(Shade, "Shade", nullptr)
FILTER_BENCH(Vignette, "Vignette", nullptr)

}  // namespace
}  // namespace ochrel

BENCHMARK_MAIN();
