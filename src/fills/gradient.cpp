#include "fills/gradient.h"

#include <algorithm>
#include <cmath>

#include "image/gradient_basic.h"

namespace ochrel {

HDIB CreateGradient(const GRADIENT* g) {
  if (!g) return nullptr;
  if (g->GradientType == 3) return CreateGradientConical(g);
  const int bits = g->ImageType == 0 ? 24 : 8;
  return RenderBasicGradient(g->Rect.right - g->Rect.left, g->Rect.bottom - g->Rect.top, g->GradientType,
                             g->StartColour, g->EndColour, g->Angle, bits, g->CenterX, g->CenterY);
}

HDIB CreateGradientConical(const GRADIENT* g) {
  if (!g) return nullptr;
  const bool grey = g->ImageType == 1;
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, grey ? 10 : 8);
  int sr = GetRValue(g->StartColour), sg = GetGValue(g->StartColour), sb = GetBValue(g->StartColour);
  int er = GetRValue(g->EndColour), eg = GetGValue(g->EndColour), eb = GetBValue(g->EndColour);
  if (grey) {
    sg = sb = sr;
    eg = eb = er;
  }
  const int W = g->Rect.right - g->Rect.left, H = g->Rect.bottom - g->Rect.top;
  HDIB dib = CreateDib(W, H, palette, grey ? 8 : 24);
  BITMAPINFOHEADER* h = LockDib(dib);
  if (!h) return nullptr;
  int rot = 360 - g->Angle;
  if (rot < 0) rot += 360;
  const double centerX = g->CenterX * 0.01, centerY = g->CenterY * 0.01;
  const int cx = static_cast<int>(h->biWidth * (centerX + 0.5));
  const int cy = static_cast<int>(h->biHeight * (0.5 - centerY));
  for (int y = 0; y < h->biHeight; ++y) {
    BYTE* row = DibRow(h, y);
    for (int x = 0; x < h->biWidth; ++x) {
      const int dx = x - cx, dy = y - cy;
      float a;
      if (dx == 0) {
        a = dy > 0 ? 270.0f : 90.0f;
      } else {
        a = static_cast<float>(std::atan(static_cast<double>(dy) / dx) * 57.29577951308232);
        if (dx > 0) a = static_cast<float>(a + 180.0);
        while (a < 0) a = static_cast<float>(a + 360.0);
      }
      a = static_cast<float>(static_cast<double>(a) + rot);
      while (a > 360) a = static_cast<float>(a - 360.0);
      if (a > 180) a = static_cast<float>(360.0 - a);  // mirrored: no seam
      float t = static_cast<float>(a / 180.0);
      t = static_cast<float>(std::trunc(static_cast<double>(t) * 256) / 256);
      t = std::clamp(t, 0.0f, 1.0f);
      const double s = 1.0 - static_cast<double>(t);
      const int r = static_cast<int>(s * sr + t * er) & 255;
      const int gg = static_cast<int>(s * sg + t * eg) & 255;
      const int b = static_cast<int>(s * sb + t * eb) & 255;
      if (grey) {
        row[x] = static_cast<BYTE>(r);
      } else {
        row[3 * x] = static_cast<BYTE>(b);
        row[3 * x + 1] = static_cast<BYTE>(gg);
        row[3 * x + 2] = static_cast<BYTE>(r);
      }
    }
  }
  return dib;
}

HDIB GetFillImage(int fillType, GRADIENT* gradient, TEXTURE* texture, MATRIX* matrix, const RECT& rect) {
  switch (fillType) {
    case FILL_GRADIENT:
      if (!gradient) return nullptr;
      gradient->Rect = rect;
      return CreateGradient(gradient);
    case FILL_TEXTURE:
      if (!texture) return nullptr;
      texture->Rect = rect;
      return CreateTexture(texture);
    case FILL_MATRIX:
      if (!matrix) return nullptr;
      matrix->Rect = rect;
      return CreateMatrix(matrix);
    default: return nullptr;
  }
}

}  // namespace ochrel
