#include "image/colourspace.h"

#include <algorithm>

namespace ochrel {

namespace {
constexpr int kRgbMax = 255;
constexpr int kUndefinedHue = kHlsMax * 2 / 3;

int HueToRgb(int n1, int n2, int hue) {
  if (hue < 0) hue += kHlsMax;
  if (hue > kHlsMax) hue -= kHlsMax;
  if (hue < kHlsMax / 6) return n1 + ((n2 - n1) * hue + kHlsMax / 12) / (kHlsMax / 6);
  if (hue < kHlsMax / 2) return n2;
  if (hue < kHlsMax * 2 / 3) return n1 + ((n2 - n1) * (kHlsMax * 2 / 3 - hue) + kHlsMax / 12) / (kHlsMax / 6);
  return n1;
}
}  // namespace

HLSCOLOUR RgbToHls(COLORREF c) {
  const int r = GetRValue(c), g = GetGValue(c), b = GetBValue(c);
  const int mx = std::max({r, g, b}), mn = std::min({r, g, b});
  HLSCOLOUR out;
  out.Luminosity = ((mx + mn) * kHlsMax + kRgbMax) / (2 * kRgbMax);
  if (mx == mn) {
    out.Saturation = 0;
    out.Hue = kUndefinedHue;
    return out;
  }
  const int sum = mx + mn, diff = mx - mn;
  if (out.Luminosity <= kHlsMax / 2) out.Saturation = (diff * kHlsMax + sum / 2) / sum;
  else out.Saturation = (diff * kHlsMax + (2 * kRgbMax - sum) / 2) / (2 * kRgbMax - sum);
  const int rd = ((mx - r) * (kHlsMax / 6) + diff / 2) / diff;
  const int gd = ((mx - g) * (kHlsMax / 6) + diff / 2) / diff;
  const int bd = ((mx - b) * (kHlsMax / 6) + diff / 2) / diff;
  int hue;
  if (r == mx) hue = bd - gd;
  else if (g == mx) hue = kHlsMax / 3 + rd - bd;
  else hue = kHlsMax * 2 / 3 + gd - rd;
  if (hue < 0) hue += kHlsMax;
  if (hue >= kHlsMax) hue -= kHlsMax;
  out.Hue = hue;
  out.Saturation = std::clamp(out.Saturation, 0, kHlsMax);
  return out;
}

COLORREF HlsToRgb(const HLSCOLOUR& in) {
  const int hue = std::clamp(in.Hue, 0, kHlsMax - 1);
  const int lum = std::clamp(in.Luminosity, 0, kHlsMax);
  const int sat = std::clamp(in.Saturation, 0, kHlsMax);
  if (sat == 0) {
    int v = lum * kRgbMax / kHlsMax;
    return RGB(v, v, v);
  }
  const int m2 = lum <= kHlsMax / 2 ? (lum * (kHlsMax + sat) + kHlsMax / 2) / kHlsMax
                                    : lum + sat - (lum * sat + kHlsMax / 2) / kHlsMax;
  const int m1 = 2 * lum - m2;
  auto channel = [&](int h) { return std::clamp((HueToRgb(m1, m2, h) * kRgbMax + kHlsMax / 2) / kHlsMax, 0, 255); };
  return RGB(channel(hue + kHlsMax / 3), channel(hue), channel(hue - kHlsMax / 3));
}

}  // namespace ochrel
