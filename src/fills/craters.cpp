// Craters: thousands of impacts punched one after another into an elevation
// field, sizes drawn from the area law of cratered bodies (many small, few
// large), then lit from the side so that each slope becomes a shade between
// the background and the foreground colour.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "fills/fill_util.h"
#include "fills/texture.h"
#include "image/crand.h"

namespace ochrel {

namespace texture_detail {

int CraterSlopeShade(int i) {
  i = std::clamp(i, -52, 52);
  double v;
  if (i > 0) v = 128.0 + 127.0 * std::pow(std::sin(1.5707963267948966 * i / 52), 0.5);
  else v = 128.0 - 127.0 * std::pow(std::sin(1.5707963267948966 * i / -52), 0.5);
  return static_cast<BYTE>(static_cast<int>(v));
}

}  // namespace texture_detail

namespace {

constexpr double kArand = 32767.0;
double U() { return (ochrel::rand() & 0x7FFF) / kArand; }

// A double to a 32-bit integer the way the hardware does it: out of range
// gives the "integer indefinite" 0x80000000.
std::int32_t ToInt32(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return INT32_MIN;
  return static_cast<std::int32_t>(v);
}

void gencraters(BITMAPINFOHEADER* h, COLORREF colour, long craters, double depthPower, double depthBias) {
  const int W = h->biWidth, H = h->biHeight;
  auto field = fills::AllocScratch<std::uint16_t>(static_cast<std::size_t>(W) * H);
  if (!field) return;  // the plain background stays
  std::uint16_t* e = field.data();
  auto at = [&](int x, int y) -> std::uint16_t& { return e[static_cast<std::size_t>(y) * W + x]; };
  std::fill(e, e + static_cast<std::size_t>(W) * H, std::uint16_t{32767});

  for (long c = 0; c < craters; ++c) {
    const int cx = static_cast<int>(U() * (W - 1));
    const int cy = static_cast<int>(U() * (H - 1));
    double g = std::sqrt(1.0 / ((1.0 - U() * 0.9999) * 3.141592653589793));
    if (g < 3.0) {
      // Too small to shape: the point settles to its neighbourhood, a little roughened.
      long sum = 0, count = 0;
      for (int y = std::max(0, cy - 1); y <= std::min(H - 1, cy + 1); ++y)
        for (int x = std::max(0, cx - 1); x <= std::min(W - 1, cx + 1); ++x) {
          sum += at(x, y);
          ++count;
        }
      long v = sum / count;
      if (g >= 1.0) v += ((ochrel::rand() >> 8) & 3) - 1;
      at(cx, cy) = static_cast<std::uint16_t>(v);
      continue;
    }
    const int r = static_cast<int>(std::max(2.0, g * 0.3333333333333333));
    long sum = 0, count = 0;
    const int mx0 = std::max(0, cx - r), mx1 = std::min(W - 1, cx + r);
    const int my0 = std::max(0, cy - r), my1 = std::min(H - 1, cy + r);
    for (int y = my0; y <= my1; ++y)
      for (int x = mx0; x <= mx1; ++x) {
        sum += at(x, y);
        ++count;
      }
    const long mean = sum / count;
    const int R = static_cast<int>(std::max(2.0, g));
    g = R;
    const double depth = std::pow(g, depthPower);
    const int x0 = std::max(0, cx - R), x1 = std::min(W - 1, cx + R);
    const int y0 = std::max(0, cy - R), y1 = std::min(H - 1, cy + R);
    for (int y = y0; y <= y1; ++y) {
      const double dy = static_cast<double>(cy - y) / R;
      for (int x = x0; x <= x1; ++x) {
        const double dx = static_cast<double>(cx - x) / R;
        const double cd = dx * dx + dy * dy;
        const double cd2 = cd * 2.25;
        double cz = depthBias - std::sqrt(std::fabs(1.0 - cd2));
        if (cd2 > 1.0) cz = std::max(cz, 0.0);
        else cz = std::max(cz, -10.0);
        cz = cz * depth;
        // The very centre always moves, so that even a shallow crater leaves a mark.
        // (|cz| < 1 is "truncates to 0", and stays false for a value that is no number.)
        if (dx == 0.0 && dy == 0.0 && std::fabs(cz) < 1.0) cz = cz < 0.0 ? -1.0 : 1.0;
        const double roll =
            ((1.0 / (1.0 - std::min(0.9, cd))) * 0.09999999999999998 - 0.09999999999999998) * 1.1111111111111112;
        const double iroll = 1.0 - roll;
        const double v = (mean + cz) * iroll + (at(x, y) + cz) * roll;
        const int low = static_cast<std::uint16_t>(static_cast<std::uint32_t>(ToInt32(v)) & 0xFFFF);
        at(x, y) = static_cast<std::uint16_t>(std::clamp(low, 1000, 64000));
      }
    }
  }

  BYTE table[105];
  for (int i = -52; i <= 52; ++i) table[i + 52] = static_cast<BYTE>(texture_detail::CraterSlopeShade(i));
  const int cr = GetRValue(colour), cg = GetGValue(colour), cb = GetBValue(colour);
  for (int y = 0; y < H; ++y) {
    BYTE* p = DibRow(h, y);
    for (int x = 0; x + 1 < W; ++x, p += 3) {
      const int s = std::clamp(static_cast<int>(at(x + 1, y)) - static_cast<int>(at(x, y)), -52, 52);
      const int m = table[s + 52];
      p[0] = fills::BlendChannel(cb, p[0], m);
      p[1] = fills::BlendChannel(cg, p[1], m);
      p[2] = fills::BlendChannel(cr, p[2], m);
    }
  }
}

}  // namespace

HDIB CreateCraters2Colour(const TEXTURE* t) {
  if (!t) return nullptr;
  const int W = t->Rect.right - t->Rect.left, H = t->Rect.bottom - t->Rect.top;
  HDIB dib = fills::CreateSolidDib24(W, H, t->BackColour);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  const double depthBias = std::sqrt(0.5);
  // The dialog allows up to 10000; a hand-edited library must not stall the program.
  const long craters = static_cast<long>(std::clamp(t->CreaterCount, 0, 100000)) * 10;
  ochrel::srand(t->SeedValue1);
  gencraters(h, t->ForeColour1, craters, t->CreaterDepth, depthBias);
  return dib;
}

}  // namespace ochrel
