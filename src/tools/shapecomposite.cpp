#include "tools/shapecomposite.h"

#include <algorithm>

#include "image/colourblend.h"
#include "image/parallel.h"
#include "tools/toolparam.h"

namespace ochrel {

namespace {

inline BYTE Mix(BYTE c, BYTE k, int m) { return static_cast<BYTE>(BlendChannel(c, k, m)); }

// One row of a 24-bit source, or NOPIXEL past its edges.
inline std::uint32_t SourcePixel(const BITMAPINFOHEADER* source, int x, int y, std::uint32_t colour) {
  std::uint32_t v = GetDibPixel(source, x, y);
  return v == NOPIXEL ? colour : v;
}

}  // namespace

RECT BlendThroughMask(BITMAPINFOHEADER* image, const BITMAPINFOHEADER* mask, int ox, int oy, std::uint32_t colour,
                      const BITMAPINFOHEADER* source) {
  if (!image || !mask || mask->biBitCount != 8 || mask->biWidth <= 0 || mask->biHeight <= 0) return RECT{};
  const long long iw = image->biWidth, ih = image->biHeight;
  const long long mx0 = std::max<long long>(0, -static_cast<long long>(ox));
  const long long my0 = std::max<long long>(0, -static_cast<long long>(oy));
  const long long mx1 = std::min<long long>(mask->biWidth, iw - ox);
  const long long my1 = std::min<long long>(mask->biHeight, ih - oy);
  if (mx0 >= mx1 || my0 >= my1) return RECT{};
  const int x0 = static_cast<int>(mx0), x1 = static_cast<int>(mx1), y0 = static_cast<int>(my0);
  const int bits = image->biBitCount;
  // A 24-bit source is read by pointer; anything else pixel by pixel.
  const bool fastSource = source && source->biBitCount == 24;
  const int sw = source ? source->biWidth : 0, sd = source ? source->biHeight : 0;

  ParallelBands(static_cast<int>(my1 - my0), 32, [&](int begin, int end) {
    for (int my = y0 + begin; my < y0 + end; ++my) {
      const BYTE* m = DibRow(mask, my);
      const int iy = oy + my;
      const BYTE* srow = fastSource && my < sd ? DibRow(source, my) : nullptr;
      auto colourAt = [&](int mx) -> std::uint32_t {
        if (!source) return colour;
        if (fastSource) {
          if (!srow || mx >= sw) return colour;
          const BYTE* s = srow + 3 * static_cast<std::size_t>(mx);
          return RGB(s[2], s[1], s[0]);
        }
        return SourcePixel(source, mx, my, colour);
      };
      if (bits == 24) {
        BYTE* p = DibRow(image, iy) + 3 * static_cast<std::size_t>(ox + x0);
        for (int mx = x0; mx < x1; ++mx, p += 3) {
          const int v = m[mx];
          if (!v) continue;
          const std::uint32_t k = colourAt(mx);
          p[0] = Mix(p[0], static_cast<BYTE>(GetBValue(k)), v);
          p[1] = Mix(p[1], static_cast<BYTE>(GetGValue(k)), v);
          p[2] = Mix(p[2], static_cast<BYTE>(GetRValue(k)), v);
        }
      } else if (bits == 8) {
        BYTE* p = DibRow(image, iy) + (ox + x0);
        for (int mx = x0; mx < x1; ++mx, ++p) {
          const int v = m[mx];
          if (v) *p = Mix(*p, static_cast<BYTE>(colourAt(mx) & 255), v);
        }
      } else {
        for (int mx = x0; mx < x1; ++mx) {
          const int v = m[mx];
          if (!v) continue;
          const int ix = ox + mx;
          const std::uint32_t c = GetDibPixel(image, ix, iy);
          if (c != NOPIXEL) PutDibPixel(image, ix, iy, CoverageBlend(c, colourAt(mx), v) | (c & 0xFF000000u));
        }
      }
    }
  });
  return RECT{ox + x0, oy + y0, ox + x1, static_cast<int>(oy + my1)};
}

int ShapeAntialias(const BLOCKSET* r) {
  return r->ImageType == IMAGE_PALETTED || r->ImageType == IMAGE_MONO ? 0 : (r->Antialias ? 1 : 0);
}

RECT UnionOf(const RECT& a, const RECT& b) {
  const bool ea = a.right <= a.left || a.bottom <= a.top, eb = b.right <= b.left || b.bottom <= b.top;
  if (ea) return eb ? RECT{} : b;
  if (eb) return a;
  return RECT{std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
              std::max(a.bottom, b.bottom)};
}

namespace {

// Fill and outline values go where the operation reads them.
HDIB MakeMask(WRAPPERBLOCK* block, std::int32_t fill, std::int32_t outline) {
  if (block->Operation == WRAPPER_POLYGON) {
    block->Polygon.FillValue = fill;
    block->Polygon.OutlineValue = outline;
  } else {
    block->Shape.FillValue = fill;
    block->Shape.OutlineValue = outline;
  }
  return OCHLWRPR_proc(block).Dib;
}

}  // namespace

int CompositeShape(BLOCKSET* r, WRAPPERBLOCK* block, int x, int y, RECT* changed) {
  if (changed) *changed = RECT{};
  const int thickness = block->Operation == WRAPPER_POLYGON ? block->Polygon.LineThickness : block->Shape.LineThickness;
  const std::int32_t coverage = static_cast<std::int32_t>(CoverageValue(r->Opacity));
  block->Opacity = r->Opacity;
  block->Antialias = ShapeAntialias(r);
  for (int i = 0; i < 256; ++i)
    block->Palette[3 * i] = block->Palette[3 * i + 1] = block->Palette[3 * i + 2] = static_cast<BYTE>(i);

  // 1. The shadow: only under a filled shape at full opacity, on true colour or grey.
  HDIB shadow;
  int sdx = 0, sdy = 0;
  COLORREF shadowColour = 0;
  if ((r->ImageType == IMAGE_TRUECOLOUR || r->ImageType == IMAGE_GREY) && r->Opacity == 255 && r->ShadowActive &&
      r->SolidFillMode != 1) {
    // The fill covers the whole shape (an outline lies inside it), so the
    // fill alone is the silhouette the shadow is made from.
    shadow = MakeMask(block, static_cast<std::int32_t>(CoverageValue(r->Shadow.ShadowOpacity)), WRAPPER_NONE);
    if (!shadow) return 0;
    if (!HandleShadowImage(&shadow, &sdx, &sdy, &shadowColour, r)) shadow.reset();  // no blur: no shadow
  }
  // 2. The outline.
  HDIB outline;
  if (thickness > 0) {
    outline = MakeMask(block, WRAPPER_NONE, coverage);
    if (!outline) return 0;
  }
  // 3. The fill, and its source over the mask's own box.
  HDIB fill, source;
  if (r->SolidFillMode != 1) {
    fill = MakeMask(block, coverage, WRAPPER_NONE);
    if (!fill) return 0;
    if (r->SolidFillMode == 0) {
      const BITMAPINFOHEADER* fh = LockDib(fill);
      source = GetFillImage(r, RECT{0, 0, fh->biWidth, fh->biHeight});  // none: a solid fill
    }
  }
  // 4. to 7.: shadow, fill, outline, from the bottom up.
  BITMAPINFOHEADER* image = LockDib(r->Image);
  if (!image) return 0;
  RECT all{};
  if (shadow) all = UnionOf(all, BlendThroughMask(image, LockDib(shadow), x + sdx, y + sdy, shadowColour));
  if (fill) {
    const std::uint32_t colour = r->SolidFillMode == 2 ? r->PaperColour : r->FillColour;
    all = UnionOf(all, BlendThroughMask(image, LockDib(fill), x, y, colour, LockDib(source)));
  }
  if (outline) all = UnionOf(all, BlendThroughMask(image, LockDib(outline), x, y, r->PaintColour));
  if (changed) *changed = all;
  return 1;
}

}  // namespace ochrel
