#include "image/gradient_basic.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "image/parallel.h"

namespace ochrel {

namespace {

// The ramp position t in [0, 1] is looked up in a table of this many steps.
// With channel differences of at most 255 the rounding error stays under an
// eighth of a level, so the table is as good as computing each pixel.
constexpr int kSteps = 1024;

struct Ramp {
  // Per step: blue, green, red for 24 bits; the grey level for 8 bits.
  std::array<std::array<BYTE, 3>, kSteps> entry;
};

BYTE Mix(int from, int to, int step) {
  // Rounded to nearest, so the two ends are exactly the two colours.
  return static_cast<BYTE>(from +
                           ((to - from) * step * 2 + (to >= from ? kSteps - 1 : -(kSteps - 1))) / (2 * (kSteps - 1)));
}

void BuildRamp(Ramp& ramp, COLORREF start, COLORREF end, int bits) {
  for (int s = 0; s < kSteps; ++s) {
    auto& e = ramp.entry[static_cast<std::size_t>(s)];
    if (bits == 24) {
      e[0] = Mix(GetBValue(start), GetBValue(end), s);
      e[1] = Mix(GetGValue(start), GetGValue(end), s);
      e[2] = Mix(GetRValue(start), GetRValue(end), s);
    } else {
      // On 8 bits only the low byte counts, as a grey level.
      e[0] = e[1] = e[2] = Mix(static_cast<int>(start & 255), static_cast<int>(end & 255), s);
    }
  }
}

inline int StepOf(double t) {
  if (!(t > 0.0)) return 0;  // also catches NaN
  if (t >= 1.0) return kSteps - 1;
  return static_cast<int>(t * (kSteps - 1) + 0.5);
}

inline void Store(BYTE* row, int x, int step, const Ramp& ramp, int bits) {
  const auto& e = ramp.entry[static_cast<std::size_t>(step)];
  if (bits == 24) {
    BYTE* p = row + 3 * static_cast<std::size_t>(x);
    p[0] = e[0];
    p[1] = e[1];
    p[2] = e[2];
  } else {
    row[x] = e[0];
  }
}

}  // namespace

HDIB RenderBasicGradient(int width, int depth, int gradientType, COLORREF startColour, COLORREF endColour, int angle,
                         int bits, int centerX, int centerY) {
  if (width < 1 || depth < 1) return nullptr;
  if (bits != 24 && bits != 8) return nullptr;
  if (gradientType < 0 || gradientType > 2) return nullptr;

  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 10);
  HDIB dib = CreateDib(width, depth, bits == 8 ? palette : nullptr, bits);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;

  Ramp ramp;
  BuildRamp(ramp, startColour, endColour, bits);

  const double W = width, H = depth;
  if (gradientType == 0) {
    // A ramp along the direction of `angle`: at 0 it runs from the left edge to
    // the right one, and it turns the way the conical gradient's start does, so
    // that 90 puts the start colour at the top. The first and last pixel
    // centres along the direction take exactly the two colours.
    const double a = static_cast<double>(angle % 360) * (3.14159265358979323846 / 180.0);
    double dx = std::cos(a), dy = std::sin(a);
    if (std::fabs(dx) < 1e-12) dx = 0.0;
    if (std::fabs(dy) < 1e-12) dy = 0.0;
    const double extent = ((W - 1.0) * std::fabs(dx) + (H - 1.0) * std::fabs(dy)) / 2.0;
    const double scale = extent > 0.0 ? 1.0 / (2.0 * extent) : 0.0;
    ParallelBands(depth, 64, [&](int y0, int y1) {
      for (int y = y0; y < y1; ++y) {
        BYTE* row = DibRow(h, y);
        const double base = (y - (H - 1.0) / 2.0) * dy;
        for (int x = 0; x < width; ++x) {
          const double p = (x - (W - 1.0) / 2.0) * dx + base;
          Store(row, x, StepOf((p + extent) * scale), ramp, bits);
        }
      }
    });
    return dib;
  }

  // The centre, placed as the conical gradient places it: percentages of the
  // size from the middle, positive CenterY upwards.
  const double px = centerX * 0.01, py = centerY * 0.01;
  const int cx = static_cast<int>(W * (px + 0.5));
  const int cy = static_cast<int>(H * (0.5 - py));
  const double farX = std::max(std::abs(cx), std::abs(width - 1 - cx));
  const double farY = std::max(std::abs(cy), std::abs(depth - 1 - cy));

  if (gradientType == 1) {
    // Circular: start colour at the centre, end colour at the farthest corner.
    const double reach = std::sqrt(farX * farX + farY * farY);
    const double scale = reach > 0.0 ? 1.0 / reach : 0.0;
    ParallelBands(depth, 32, [&](int y0, int y1) {
      for (int y = y0; y < y1; ++y) {
        BYTE* row = DibRow(h, y);
        const double ddy = static_cast<double>(y - cy);
        for (int x = 0; x < width; ++x) {
          const double ddx = static_cast<double>(x - cx);
          Store(row, x, StepOf(std::sqrt(ddx * ddx + ddy * ddy) * scale), ramp, bits);
        }
      }
    });
  } else {
    // Rectangular: rings of the image's own shape, start colour at the centre,
    // end colour on the farthest edge in each direction.
    const double sx = farX > 0.0 ? 1.0 / farX : 0.0;
    const double sy = farY > 0.0 ? 1.0 / farY : 0.0;
    ParallelBands(depth, 64, [&](int y0, int y1) {
      for (int y = y0; y < y1; ++y) {
        BYTE* row = DibRow(h, y);
        const double ty = std::abs(y - cy) * sy;
        for (int x = 0; x < width; ++x) {
          const double tx = std::abs(x - cx) * sx;
          Store(row, x, StepOf(std::max(tx, ty)), ramp, bits);
        }
      }
    });
  }
  return dib;
}

}  // namespace ochrel
