#include "tools/brushstamp.h"

#include <algorithm>
#include <cstring>

#include "image/colourblend.h"
#include "image/kernel.h"
#include "image/resample.h"

// Stamps are rasterised here rather than through the rendering back end: its
// masks are antialiased and framed for the shape tools, while a stamp needs
// hard-edged shapes exactly inside the boxes its rings are given, every ring
// level painted over the last. Whole-pixel integer tests keep every shape
// mirror-symmetric, cost nothing per build and need no application object.

namespace ochrel {
namespace {

const BYTE* GreyPalette() {
  static const struct Grey {
    BYTE p[768];
    Grey() { GetDefaultPalette(p, nullptr, 10); }
  } grey;
  return grey.p;
}

// The stamp value a colour becomes in an 8-bit grey DIB: its grey level, or
// the nearest grey for a colour that isn't one.
BYTE StampValue(COLORREF colour) {
  const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
  if (r == g && g == b) return static_cast<BYTE>(r);
  return static_cast<BYTE>(FindPaletteColour(r, g, b, GreyPalette(), 256));
}

HDIB CreateStamp(int side, BYTE background) {
  HDIB stamp = CreateDib(side, side, GreyPalette(), 8);
  BITMAPINFOHEADER* h = LockDib(stamp);
  if (!h) return nullptr;
  std::memset(DibBits(h), background, DibStride(h) * static_cast<std::size_t>(side));
  return stamp;
}

int Clamp(int v, int lo, int hi) { return std::min(std::max(v, lo), hi); }

// Inside test of a pixel in a w by h box whose corners are quarter ellipses
// dx by dy across (dx = w, dy = h gives the ellipse). The pixel is folded into
// the top-left quarter, so the shape is symmetric by construction.
bool InsideRounded(int x, int y, int w, int h, int dx, int dy) {
  const int mx = std::min(x, w - 1 - x), my = std::min(y, h - 1 - y);
  const long long X = dx - (2LL * mx + 1), Y = dy - (2LL * my + 1);  // doubled distances from the corner's centre
  if (X <= 0 || Y <= 0) return true;
  const long long DX = dx, DY = dy;
  return X * X * DY * DY + Y * Y * DX * DX <= DX * DX * DY * DY;
}

}  // namespace

void FillStampShape(BITMAPINFOHEADER* stamp, RECT box, StampShape shape, int corner, BYTE value) {
  if (!stamp || stamp->biBitCount != 8) return;
  if (box.left > box.right) std::swap(box.left, box.right);
  if (box.top > box.bottom) std::swap(box.top, box.bottom);
  // A box too small to cover anything keeps the pixels at its middle: one, or
  // two when the middle falls between pixels. The innermost rings of a small
  // stamp thus stay centred with the rest, and the stamp symmetric.
  int w = box.right - box.left - 1, h = box.bottom - box.top - 1;
  if (w < 1) {
    const int twice = box.left + box.right - 2;  // twice the middle, in pixel indexes
    box.left = twice >> 1;
    w = 1 + (twice & 1);
  }
  if (h < 1) {
    const int twice = box.top + box.bottom - 2;
    box.top = twice >> 1;
    h = 1 + (twice & 1);
  }
  int dx = 1, dy = 1;
  if (shape == StampShape::Ellipse) {
    dx = w;
    dy = h;
  } else if (shape == StampShape::RoundRect) {
    dx = Clamp(corner, 1, w);
    dy = Clamp(corner, 1, h);
  }
  const int sw = stamp->biWidth, sh = stamp->biHeight;
  const int y0 = std::max(0, box.top), y1 = std::min(sh, box.top + h);
  const int x0 = std::max(0, box.left), x1 = std::min(sw, box.left + w);
  for (int y = y0; y < y1; ++y) {
    BYTE* row = DibRow(stamp, y);
    for (int x = x0; x < x1; ++x)
      if (InsideRounded(x - box.left, y - box.top, w, h, dx, dy)) row[x] = value;
  }
}

SoftBrushRow GetSoftBrushRow(const BLOCKSET& d) {
  switch (d.Tool) {
    case TOOL_ERASER: return {d.EraserBrushThickness, d.EraserBrushShape, d.EraserBrushSoftness};
    case TOOL_AIRBRUSH: return {d.AirBrushThickness, d.AirBrushShape, d.AirBrushSoftness};
    case TOOL_LOCALUNDO: return {d.UndoThickness, d.UndoShape, d.UndoSoftness};
    default: return {d.BrushThickness, d.BrushShape, d.BrushSoftness};
  }
}

HDIB CreateSoftBrush(const BLOCKSET& document, COLORREF background, COLORREF foreground, int type) {
  const SoftBrushRow row = GetSoftBrushRow(document);
  const int T = Clamp(row.thickness, 1, kMaxStampThickness);
  const int S = Clamp(row.softness, 0, 100);
  const int W = T + 4;
  const int imageType = document.Image ? GetImageType(document.Image) : document.ImageType;
  if (imageType == IMAGE_PALETTED || imageType == IMAGE_MONO) type = 1;

  const BYTE bg = StampValue(background), fg = StampValue(foreground);
  HDIB stamp = CreateStamp(W, bg);
  BITMAPINFOHEADER* h = LockDib(stamp);
  if (!h) return nullptr;
  const RECT box{2, 2, W - 1, W - 1};

  if (T < 4) {  // too small for rings or a shape: a plain square, unblurred
    FillStampShape(h, box, StampShape::Rectangle, 0, fg);
    return stamp;
  }
  if (type != 0) {
    FillStampShape(h, box, row.shape == 1 ? StampShape::Rectangle : StampShape::Ellipse, 0, fg);
    return stamp;
  }

  // Rings from the outside in, each a filled shape one pixel smaller on every
  // side, stepping from the background to the foreground. The softness sets
  // how much of the radius is solid core.
  const int half = T / 2;
  const int c = std::max(half * S / 100, 1);
  const int inner = std::min(c, half - 1);
  const int n = std::max(half - inner, std::min(T, 8));
  BYTE levels[3 * 8 + 3 * kMaxStampThickness];
  CreateColourBlend(levels, background, foreground, n);
  for (int i = 0; i < n; ++i) {
    const BYTE level = i == n - 1 ? fg : StampValue(RGB(levels[3 * i], levels[3 * i + 1], levels[3 * i + 2]));
    const RECT ring{i + 2, i + 2, W - 1 - i, W - 1 - i};
    if (row.shape == 1) FillStampShape(h, ring, StampShape::RoundRect, i + 1, level);
    else FillStampShape(h, ring, StampShape::Ellipse, 0, level);
  }
  DibRow(h, W / 2)[W / 2] = fg;

  HDIB blurred = ImposeKernelFilter(stamp, BlurrKernel, 0);
  return blurred;  // null when the blur could not be made; the stamp goes with it
}

HDIB CreateHardBrush(const BLOCKSET& document, COLORREF background, COLORREF foreground) {
  const int T = Clamp(document.HardBrushThickness, 1, kMaxStampThickness);
  const int flat = Clamp(document.HardBrushFlat, 0, 100);
  const int shape = document.HardBrushShape;
  const int W = T + 4, H = T + 4;
  HDIB stamp = CreateStamp(W, StampValue(background));
  BITMAPINFOHEADER* hd = LockDib(stamp);
  if (!hd) return nullptr;

  const int h = std::max((100 - flat) * (H - 1) / 100, 1);
  const int off = (H - 1 - h) / 2;
  const bool ellipse = shape != 1 && T > 2;
  // The box covers h - 3 rows; a pen flattened below one row keeps the row
  // under the cursor.
  const RECT box = h - 3 >= 1 ? RECT{2, off + 2, W - 1, h + off} : RECT{2, H / 2, W - 1, H / 2 + 2};
  FillStampShape(hd, box, ellipse ? StampShape::Ellipse : StampShape::Rectangle, 0, StampValue(foreground));

  // A round, unflattened pen looks the same at every angle.
  if (T <= 2 || (shape == 0 && flat == 0)) return stamp;
  const int angle = document.HardBrushAngle;
  switch (angle) {
    case 0:
    case 360: return stamp;
    case 90: return RotateImage90(stamp);
    case 180: return RotateImage180(stamp);
    case 270: return RotateImage270(stamp);
    default: return FreeRotateImageFilter(stamp, angle, 0, background);
  }
}

}  // namespace ochrel
