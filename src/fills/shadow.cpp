#include "fills/shadow.h"

#include <algorithm>
#include <cstring>

#include "filters/filterparam.h"

namespace ochrel {

void ShadowOffsetFor(int direction, int d, int* dx, int* dy) {
  static constexpr int kX[8] = {-1, 0, 1, 1, -1, -1, 0, 1};
  static constexpr int kY[8] = {-1, -1, -1, 0, 0, 1, 1, 1};
  if (direction < 0 || direction > 6) direction = 7;
  *dx = kX[direction] * d;
  *dy = kY[direction] * d;
}

COLORREF ShadowColourFor(const SHADOW& s, const SHADOWCOLOURS& c) {
  if (s.ShadowType == 0) return c.PaintColour;
  if (s.ShadowType == 1) return c.FillColour;
  return s.ShadowColor;
}

HDIB BlurShadowMask(const HDIB& mask, int imageType, int soft, COLORREF paper) {
  FILTERPARAM param;
  param.BeforeImage = &mask;
  param.PaperColour = paper;
  param.ImageType = imageType;
  param.FilterGaussianRadius = 100;
  param.FilterGaussianSigma = soft;
  return FilterGaussianBlur(mask, &param);
}

int HandleShadowImage(HDIB* mask, int* x, int* y, COLORREF* colour, const SHADOW* shadow,
                      const SHADOWCOLOURS& colours) {
  if (!shadow) return 0;
  if (colour) *colour = ShadowColourFor(*shadow, colours);
  int dx, dy;
  ShadowOffsetFor(shadow->ShadowDirection, shadow->ShadowOffset, &dx, &dy);
  if (x) *x = dx - kShadowMargin;
  if (y) *y = dy - kShadowMargin;
  if (!mask) return 0;
  const BITMAPINFOHEADER* h = LockDib(*mask);
  if (!h || h->biWidth <= 0 || h->biHeight <= 0 || (h->biBitCount != 8 && h->biBitCount != 24)) return 0;
  if (h->biWidth > INT32_MAX - 2 * kShadowMargin || h->biHeight > INT32_MAX - 2 * kShadowMargin) return 0;
  // Zero around the shape: room for the blur to spread into.
  HDIB padded = MattImage(*mask, h->biWidth + 2 * kShadowMargin, h->biHeight + 2 * kShadowMargin, kShadowMargin,
                          kShadowMargin, 0);
  if (!padded) return 0;
  HDIB blurred = BlurShadowMask(padded, h->biBitCount == 8 ? 1 : 0, shadow->ShadowSoft, colours.PaperColour);
  if (!blurred) return 0;
  *mask = std::move(blurred);
  return 1;
}

void BlendShadow(const HDIB& image, const HDIB& shadowMask, int x, int y, COLORREF colour) {
  BITMAPINFOHEADER* im = LockDib(image);
  const BITMAPINFOHEADER* m = LockDib(shadowMask);
  if (!im || !m || im->biBitCount != 24 || (m->biBitCount != 8 && m->biBitCount != 24)) return;
  const int cr = GetRValue(colour), cg = GetGValue(colour), cb = GetBValue(colour);
  const int step = m->biBitCount / 8;
  for (int my = 0; my < m->biHeight; ++my) {
    const long long iy = static_cast<long long>(y) + my;
    if (iy < 0 || iy >= im->biHeight) continue;
    const BYTE* mr = DibRow(m, my);
    BYTE* ir = DibRow(im, static_cast<int>(iy));
    for (int mx = 0; mx < m->biWidth; ++mx) {
      const long long ix = static_cast<long long>(x) + mx;
      if (ix < 0 || ix >= im->biWidth) continue;
      // The low byte of the mask pixel's value: red for a 24-bit mask.
      const int v = mr[mx * step + (step == 3 ? 2 : 0)];
      BYTE* p = ir + 3 * ix;
      p[0] = static_cast<BYTE>((p[0] * (255 - v)) / 255 + (cb * v) / 255);
      p[1] = static_cast<BYTE>((p[1] * (255 - v)) / 255 + (cg * v) / 255);
      p[2] = static_cast<BYTE>((p[2] * (255 - v)) / 255 + (cr * v) / 255);
    }
  }
}

}  // namespace ochrel
