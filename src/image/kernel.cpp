#include "image/kernel.h"

#include <algorithm>
#include <vector>

#include "image/parallel.h"
#include "image/resample.h"

namespace ochrel {

const KERNEL BlurrKernel = {{0, 0, 0, 0, 0,  //
                             0, 1, 2, 1, 0,  //
                             0, 2, 2, 2, 0,  //
                             0, 1, 2, 1, 0,  //
                             0, 0, 0, 0, 0},
                            14,
                            0};

const KERNEL AntialiasKernel2 = {{0, 0, 0,  0, 0,  //
                                  0, 1, 2,  1, 0,  //
                                  0, 2, 15, 2, 0,  //
                                  0, 1, 2,  1, 0,  //
                                  0, 0, 0,  0, 0},
                                 27,
                                 0};

HDIB ImposeKernelFilter(const HDIB& image, const KERNEL& kernel, int flags) {
  const BITMAPINFOHEADER* s = LockDib(image);
  if (!s) return nullptr;
  const int bits = s->biBitCount;
  if (bits != 8 && bits != 24 && bits != 32) return nullptr;
  const int w = s->biWidth, h = s->biHeight;
  HDIB out = CreateDibLike(s, w, h);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  const int bpp = bits / 8, ch = bits == 8 ? 1 : 3;
  const bool lum = (flags & KERNEL_LUMINANCE) && ch == 3;

  struct Tap {
    int dx, dy, k;
  };
  std::vector<Tap> taps;
  for (int i = 0; i < 5; ++i)
    for (int j = 0; j < 5; ++j)
      if (int k = kernel.weights[i * 5 + j]) taps.push_back(Tap{j - 2, i - 2, k});

  // Each output row is summed tap by tap over the columns where the tap lies
  // inside, which adds exactly the weights the pixel-by-pixel rule would.
  ParallelBands(h, 16, [&](int y0, int y1) {
    std::vector<long long> S(static_cast<std::size_t>(w) * ch);
    std::vector<long long> W(static_cast<std::size_t>(w));
    std::vector<int> L(lum ? static_cast<std::size_t>(w) : 0);
    for (int y = y0; y < y1; ++y) {  // y counts stored rows
      std::fill(S.begin(), S.end(), 0);
      std::fill(W.begin(), W.end(), 0);
      for (const Tap& t : taps) {
        const int sy = y + t.dy;
        if (sy < 0 || sy >= h) continue;
        const BYTE* row = DibBits(s) + DibStride(s) * static_cast<std::size_t>(sy);
        const int x0 = std::max(0, -t.dx), x1 = std::min(w, w - t.dx);
        for (int x = x0; x < x1; ++x) {
          const BYTE* p = row + static_cast<std::size_t>(x + t.dx) * bpp;
          long long* acc = &S[static_cast<std::size_t>(x) * ch];
          if (ch == 1) {
            acc[0] += static_cast<long long>(p[0]) * t.k;
          } else if (lum) {
            long long v = static_cast<long long>(Luminance(p[2], p[1], p[0])) * t.k;
            acc[0] += v;
            acc[1] += v;
            acc[2] += v;
          } else {
            acc[0] += static_cast<long long>(p[0]) * t.k;
            acc[1] += static_cast<long long>(p[1]) * t.k;
            acc[2] += static_cast<long long>(p[2]) * t.k;
          }
          W[static_cast<std::size_t>(x)] += t.k;
        }
      }
      BYTE* D = DibBits(o) + DibStride(o) * static_cast<std::size_t>(y);
      const BYTE* src = DibBits(s) + DibStride(s) * static_cast<std::size_t>(y);
      for (int x = 0; x < w; ++x) {
        long long wt = W[static_cast<std::size_t>(x)];
        if (wt == 0) wt = kernel.divisor ? kernel.divisor : 1;
        for (int c = 0; c < ch; ++c) {
          long long sum = S[static_cast<std::size_t>(x) * ch + c];
          if ((flags & KERNEL_CLAMPNEGATIVE) && sum < 0) sum = 0;
          long long v = sum / wt + kernel.bias;
          D[static_cast<std::size_t>(x) * bpp + c] = static_cast<BYTE>(std::clamp<long long>(v, 0, 255));
        }
        if (bpp == 4) D[static_cast<std::size_t>(x) * 4 + 3] = src[static_cast<std::size_t>(x) * 4 + 3];
      }
    }
  });
  return out;
}

}  // namespace ochrel
