#include "render/shadow_sample.h"

#include <algorithm>
#include <vector>

#include "render/wrapper.h"

namespace ochrel {

namespace {

// A grey canvas of the padded size with the coverage mask laid in at (x, y):
// back where the mask is 0, grey where it is full, the coverage blend between.
HDIB Compose(const HDIB& coverage, int width, int depth, int x, int y, int grey, int back) {
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 10);
  HDIB out = CreateDib(width, depth, palette, 8);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  grey = std::clamp(grey, 0, 255);
  back = std::clamp(back, 0, 255);
  for (int row = 0; row < depth; ++row) std::fill(DibRow(o, row), DibRow(o, row) + width, static_cast<BYTE>(back));
  const BITMAPINFOHEADER* m = LockDib(coverage);
  if (!m) return out;
  for (int my = 0; my < m->biHeight; ++my) {
    const int oy = y + my;
    if (oy < 0 || oy >= depth) continue;
    const BYTE* src = DibRow(m, my);
    BYTE* dst = DibRow(o, oy);
    for (int mx = 0; mx < m->biWidth; ++mx) {
      const int ox = x + mx;
      if (ox < 0 || ox >= width) continue;
      const int c = src[mx];
      dst[ox] = static_cast<BYTE>((back * (255 - c)) / 255 + (grey * c) / 255);
    }
  }
  return out;
}

bool PaddedSize(const RECT& shape, int padX, int padY, int* w, int* h, int* sw, int* sh) {
  *sw = shape.right - shape.left;
  *sh = shape.bottom - shape.top;
  if (*sw < 1 || *sh < 1 || padX < 0 || padY < 0 || *sw > 16384 || *sh > 16384 || padX > 16384 || padY > 16384)
    return false;
  *w = *sw + 2 * padX;
  *h = *sh + 2 * padY;
  return true;
}

HDIB ShapeSample(const RECT& shape, int grey, int back, int padX, int padY, int operation) {
  int w, h, sw, sh;
  if (!PaddedSize(shape, padX, padY, &w, &h, &sw, &sh)) return nullptr;
  WRAPPERBLOCK b;
  b.Operation = operation;
  b.Antialias = 1;
  GetDefaultPalette(b.Palette, nullptr, 10);
  b.Rect = RECT{0, 0, sw, sh};
  b.Shape.Box = RECT{4, 4, sw + 4, sh + 4};
  b.Shape.FillValue = static_cast<std::int32_t>(CoverageValue(255));
  WRAPPERRESULT r = OCHLWRPR_proc(&b);
  if (!r.Dib) return nullptr;
  return Compose(r.Dib, w, h, padX - 4, padY - 4, grey, back);
}

}  // namespace

HDIB CreateShadowRectangleSampleBitmap(const RECT& shape, int grey, int back, int padX, int padY) {
  return ShapeSample(shape, grey, back, padX, padY, WRAPPER_RECTANGLE);
}

HDIB CreateShadowEllipseSampleBitmap(const RECT& shape, int grey, int back, int padX, int padY) {
  return ShapeSample(shape, grey, back, padX, padY, WRAPPER_ELLIPSE);
}

HDIB CreateShadowPolygonSampleBitmap(const RECT& shape, int grey, int back, int padX, int padY) {
  int w, h, W, H;
  if (!PaddedSize(shape, padX, padY, &w, &h, &W, &H)) return nullptr;
  const int L = 0, T = 0, R = W, B = H;
  const POINT points[6] = {{L + W / 4, T},     {R - 1, T + H / 3},     {L + 3 * W / 4, B - 1},
                           {L, T + 2 * H / 3}, {L + W / 2, T + H / 3}, {L + W / 4, T}};
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_POLYGON;
  b.Antialias = 1;
  GetDefaultPalette(b.Palette, nullptr, 10);
  b.Polygon.VertexCount = 6;
  b.Polygon.Vertices = points;
  b.Polygon.Frame = RECT{0, 0, W, H};
  b.Polygon.FillValue = static_cast<std::int32_t>(CoverageValue(255));
  b.Polygon.FillMode = POLYFILL_ALTERNATE;
  WRAPPERRESULT r = OCHLWRPR_proc(&b);
  if (!r.Dib) return nullptr;
  return Compose(r.Dib, w, h, padX - 4, padY - 4, grey, back);
}

HDIB CreateShadowTextSampleBitmap(const char* font, int size, int bold, int italic, int underline, int grey, int back,
                                  int padX, int padY, const char* sampleText) {
  const std::string text = sampleText && sampleText[0] ? sampleText : "AaBbCc";
  WRAPPERBLOCK b;
  b.Operation = WRAPPER_CHARACTER;
  b.Antialias = 1;
  GetDefaultPalette(b.Palette, nullptr, 10);
  b.Character.TextFontName = font;
  b.Character.TextFontSize = size;
  b.Character.TextFontBold = bold ? 1 : 0;  // weight 700 or 400
  b.Character.TextFontItal = italic;
  b.Character.TextFontUnder = underline;
  // Measure the line character by character (UTF-8 sequences stay whole).
  std::vector<std::string> chars;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t n = 1;
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0xF0) n = 4;
    else if (c >= 0xE0) n = 3;
    else if (c >= 0xC0) n = 2;
    chars.push_back(text.substr(i, n));
    i += n;
  }
  std::vector<int> advances;
  int width = 0, depth = 0;
  for (const std::string& ch : chars) {
    b.Character.Mode = CHARACTER_MEASURE;
    b.Character.Character = ch.c_str();
    if (OCHLWRPR_proc(&b).Value != 1) return nullptr;
    advances.push_back(b.Character.Advance);
    width += b.Character.Advance;
    depth = std::max(depth, b.Character.LineHeight);
  }
  if (width < 1 || depth < 1) return nullptr;
  int w, h, sw, sh;
  if (!PaddedSize(RECT{0, 0, width, depth}, padX, padY, &w, &h, &sw, &sh)) return nullptr;
  // The line's coverage, then the canvas around it.
  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 10);
  HDIB line = CreateDib(width, depth, palette, 8);
  BITMAPINFOHEADER* lh = LockDib(line);
  if (!lh) return nullptr;
  int x = 0;
  for (std::size_t k = 0; k < chars.size(); ++k) {
    b.Character.Mode = CHARACTER_MASK;
    b.Character.Character = chars[k].c_str();
    b.Character.Advance = advances[k];
    b.Character.LineHeight = depth;
    b.Character.Value = CoverageValue(255);
    WRAPPERRESULT r = OCHLWRPR_proc(&b);
    const BITMAPINFOHEADER* m = LockDib(r.Dib);
    if (m) {
      for (int my = 0; my < std::min(m->biHeight, depth); ++my) {
        const BYTE* src = DibRow(m, my);
        BYTE* dst = DibRow(lh, my);
        for (int mx = 0; mx < m->biWidth && x + mx < width; ++mx)
          dst[x + mx] = static_cast<BYTE>(std::max<int>(dst[x + mx], src[mx]));
      }
    }
    x += advances[k];
  }
  return Compose(line, w, h, padX, padY, grey, back);
}

void SampleShifts(int direction, int d, POINT* object, POINT* shadow) {
  static constexpr int kObject[8][2] = {{1, 1}, {0, 1}, {0, 1}, {0, 0}, {1, 0}, {1, 0}, {0, 0}, {0, 0}};
  static constexpr int kShadow[8][2] = {{0, 0}, {0, 0}, {1, 0}, {1, 0}, {0, 0}, {0, 1}, {0, 1}, {1, 1}};
  if (direction < 0 || direction > 6) direction = 7;
  *object = POINT{kObject[direction][0] * d, kObject[direction][1] * d};
  *shadow = POINT{kShadow[direction][0] * d, kShadow[direction][1] * d};
}

HDIB CreateSampleShadow(const SHADOW& s, const SHADOWSAMPLE& sample, const RECT& rect) {
  const int rw = rect.right - rect.left, rh = rect.bottom - rect.top;
  const RECT shape{0, 0, rw - 40, rh - 40};
  if (shape.right < 1 || shape.bottom < 1) return nullptr;

  COLORREF paper, object, shadowColour;
  if (sample.ImageType == 0) {
    paper = sample.PaperColour;
    object = sample.FillColour;
    shadowColour = ShadowColourFor(s, SHADOWCOLOURS{sample.PaintColour, sample.FillColour, sample.PaperColour});
  } else if (sample.ImageType == 1) {
    const int p = GetRValue(sample.PaperColour), f = GetRValue(sample.FillColour);
    paper = RGB(p, p, p);
    object = RGB(f, f, f);
    shadowColour = s.ShadowColor;
  } else {
    paper = RGB(255, 255, 255);
    object = RGB(0, 0, 0);
    shadowColour = 0x808080;
  }
  const int d = std::clamp(s.ShadowOffset, 0, 256);
  POINT objectShift, shadowShift;
  SampleShifts(s.ShadowDirection, d, &objectShift, &shadowShift);

  BYTE palette[768];
  GetDefaultPalette(palette, nullptr, 8);
  HDIB out = CreateDib(rw, rh, palette, 24);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  for (int y = 0; y < rh; ++y) {
    BYTE* p = DibRow(o, y);
    for (int x = 0; x < rw; ++x, p += 3) {
      p[0] = static_cast<BYTE>(GetBValue(paper));
      p[1] = static_cast<BYTE>(GetGValue(paper));
      p[2] = static_cast<BYTE>(GetRValue(paper));
    }
  }

  HDIB solid, shade;
  const int opacity = std::clamp(s.ShadowOpacity, 0, 255);
  switch (sample.Tool) {
    case 13:
      solid = CreateShadowEllipseSampleBitmap(shape, 255, 0, d, d);
      shade = CreateShadowEllipseSampleBitmap(shape, opacity, 0, shape.right / 2, shape.bottom / 2);
      break;
    case 14:
      solid = CreateShadowPolygonSampleBitmap(shape, 255, 0, d, d);
      shade = CreateShadowPolygonSampleBitmap(shape, opacity, 0, shape.right / 2, shape.bottom / 2);
      break;
    case 16: {
      const char* font = sample.TextFontName.empty() ? nullptr : sample.TextFontName.c_str();
      solid = CreateShadowTextSampleBitmap(font, sample.TextFontSize, sample.TextFontBold, sample.TextFontItal,
                                           sample.TextFontUnder, 255, 0, d, d, sample.Text.c_str());
      shade = CreateShadowTextSampleBitmap(font, sample.TextFontSize, sample.TextFontBold, sample.TextFontItal,
                                           sample.TextFontUnder, opacity, 0, 2 * d, 2 * d, sample.Text.c_str());
      break;
    }
    default:
      solid = CreateShadowRectangleSampleBitmap(shape, 255, 0, d, d);
      shade = CreateShadowRectangleSampleBitmap(shape, opacity, 0, shape.right / 2, shape.bottom / 2);
      break;
  }
  if (!solid || !shade) return nullptr;
  HDIB blurred = BlurShadowMask(shade, 1, s.ShadowSoft, paper);
  if (!blurred) return nullptr;

  const BITMAPINFOHEADER* bm = LockDib(blurred);
  BlendShadow(out, blurred, (rw - bm->biWidth) / 2 + shadowShift.x, (rh - bm->biHeight) / 2 + shadowShift.y,
              shadowColour);
  const BITMAPINFOHEADER* sm = LockDib(solid);
  const int ox = (rw - sm->biWidth) / 2 + objectShift.x, oy = (rh - sm->biHeight) / 2 + objectShift.y;
  for (int y = 0; y < sm->biHeight; ++y)
    for (int x = 0; x < sm->biWidth; ++x)
      if (DibRow(sm, y)[x] != 0) PutDibPixel(o, ox + x, oy + y, object);
  return out;
}

}  // namespace ochrel
