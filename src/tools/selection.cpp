#include "tools/selection.h"

#include <algorithm>
#include <cstring>

#include "image/colourblend.h"
#include "frame/view.h"
#include "image/convert.h"
#include "tools/floodfill.h"
#include "tools/toolsession.h"

namespace ochrel {

// ---- Masks -------------------------------------------------------------------------------------

int IsTransparentPixel(std::uint32_t value, const BLOCKSET* bs, int depth, int imageType) {
  const int mode = bs->FragmentPasteMode;
  if (mode != 1 && mode != 2) return 0;
  const std::uint32_t p = bs->PaperColour;
  if (depth > 8) {
    if (mode == 1) return (value & 0xFFFFFFu) == (p & 0xFFFFFFu);
    const int tol[3] = {bs->RedTolerance, bs->GreenTolerance, bs->BlueTolerance};
    for (int c = 0; c < 3; ++c) {
      const int v = static_cast<int>((value >> (8 * c)) & 255), k = static_cast<int>((p >> (8 * c)) & 255);
      if (!(k - tol[c] < v && v < k + tol[c])) return 0;
    }
    return 1;
  }
  if (depth >= 5) {
    const int v = static_cast<int>(value & 255), k = static_cast<int>(p & 255);
    if (mode == 2 && imageType == IMAGE_GREY) return k - bs->RedTolerance < v && v < k + bs->RedTolerance;
    return v == k;
  }
  if (depth >= 2) return (value & 7u) == (p & 7u);
  return (value & 1u) == (p & 1u);
}

int CreateSelectMasks(TOOLPARAM* tp, const BLOCKSET* bs) {
  tp->SelectMask.reset();
  const BITMAPINFOHEADER* f = LockDib(tp->Fragment);
  if (!f || (bs->FragmentPasteMode == 0 && !tp->SelectShape)) return 0;
  const int w = f->biWidth, h = f->biHeight, depth = f->biBitCount;
  BYTE palette[768] = {};
  palette[3] = palette[4] = palette[5] = 255;
  HDIB mask = CreateDib(w, h, palette, 1);
  BITMAPINFOHEADER* m = LockDib(mask);
  if (!m) return 0;
  const BITMAPINFOHEADER* shape = LockDib(tp->SelectShape);
  const int type = bs->ImageType;
  const bool paste = bs->FragmentPasteMode == 1 || bs->FragmentPasteMode == 2;
  for (int y = 0; y < h; ++y) {
    BYTE* row = DibRow(m, y);
    for (int x = 0; x < w; ++x) {
      bool keep = !paste || !IsTransparentPixel(GetDibPixel(f, x, y), bs, depth, type);
      if (keep && shape) keep = GetDibPixel(shape, x, y) == 1;
      if (keep) row[x >> 3] |= masktable[x & 7];
    }
  }
  tp->SelectMask = std::move(mask);
  return 1;
}

namespace {

// The fragment in the image's depth and palette; null when it already is.
HDIB MatchDepth(const BITMAPINFOHEADER* image, const HDIB& fragment) {
  const BITMAPINFOHEADER* f = LockDib(fragment);
  if (f->biBitCount == image->biBitCount) return nullptr;
  BYTE palette[768] = {};
  GetDibPalette(image, palette);
  switch (image->biBitCount) {
    case 1: return ConvertToMono(fragment, palette);
    case 4: return ConvertToFourBit(fragment, palette);
    case 8: return ConvertToEightBit(fragment, palette);
    default: return ConvertToTrueColour(fragment);
  }
}

bool MaskShows(const BITMAPINFOHEADER* m, int x, int y) {
  if (!m) return true;
  if (x >= m->biWidth || y >= m->biHeight) return true;  // a mask reads -1 there, which hides nothing
  return (DibRow(m, y)[x >> 3] & masktable[x & 7]) != 0;
}

}  // namespace

int InsetBitmap(const HDIB& image, const HDIB& fragment, const HDIB& mask, RECT rect, int opacity) {
  BITMAPINFOHEADER* img = LockDib(image);
  if (!img || !LockDib(fragment)) return 0;
  HDIB converted = MatchDepth(img, fragment);
  const BITMAPINFOHEADER* f = converted ? LockDib(converted) : LockDib(fragment);
  if (!f || f->biBitCount != img->biBitCount) return 0;
  const BITMAPINFOHEADER* m = LockDib(mask);
  if (m && m->biBitCount != 1) m = nullptr;
  const int bits = img->biBitCount;
  const bool blend = opacity < 255 && bits > 8;
  // Only the part over the image is visited.
  const int x0 = std::max(0, -rect.left), y0 = std::max(0, -rect.top);
  const int x1 = std::min(f->biWidth, img->biWidth - rect.left), y1 = std::min(f->biHeight, img->biHeight - rect.top);
  if (x0 >= x1 || y0 >= y1) return 1;
  for (int y = y0; y < y1; ++y) {
    const BYTE* src = DibRow(f, y);
    BYTE* dst = DibRow(img, rect.top + y);
    const bool whole = !m || y >= m->biHeight;
    if (bits == 24 && !blend) {
      if (whole) {
        std::memcpy(dst + 3 * static_cast<std::size_t>(rect.left + x0), src + 3 * static_cast<std::size_t>(x0),
                    3 * static_cast<std::size_t>(x1 - x0));
        continue;
      }
      for (int x = x0; x < x1; ++x)
        if (MaskShows(m, x, y))
          std::memcpy(dst + 3 * static_cast<std::size_t>(rect.left + x), src + 3 * static_cast<std::size_t>(x), 3);
    } else if (bits == 8 && !blend) {
      if (whole) {
        std::memcpy(dst + rect.left + x0, src + x0, static_cast<std::size_t>(x1 - x0));
        continue;
      }
      for (int x = x0; x < x1; ++x)
        if (MaskShows(m, x, y)) dst[rect.left + x] = src[x];
    } else {
      for (int x = x0; x < x1; ++x) {
        if (!MaskShows(m, x, y)) continue;
        const std::uint32_t v = GetDibPixel(f, x, y);
        if (!blend) {
          PutDibPixel(img, rect.left + x, rect.top + y, v);
          continue;
        }
        const std::uint32_t under = GetDibPixel(img, rect.left + x, rect.top + y);
        if (v == NOPIXEL || under == NOPIXEL) continue;
        PutDibPixel(img, rect.left + x, rect.top + y, CoverageBlend(under, v, opacity));
      }
    }
  }
  return 1;
}

// ---- Polygons ----------------------------------------------------------------------------------

int LimitPolygon(std::vector<POINT>* points, RECT r) {
  if (r.right <= r.left || r.bottom <= r.top) return 0;
  for (POINT& p : *points) {
    p.x = std::clamp(p.x, r.left, r.right);
    p.y = std::clamp(p.y, r.top, r.bottom);
  }
  return 1;
}

void GetPolygonFrame(RECT* rect, const std::vector<POINT>& points) {
  *rect = RECT{1000000, 1000000, 0, 0};
  for (const POINT& p : points) {
    rect->left = std::min(rect->left, p.x);
    rect->top = std::min(rect->top, p.y);
    rect->right = std::max(rect->right, p.x);
    rect->bottom = std::max(rect->bottom, p.y);
  }
}

void NormalizePolygon(std::vector<POINT>* points, int dx, int dy) {
  int mx = 1000000, my = 1000000;
  for (const POINT& p : *points) {
    mx = std::min(mx, p.x);
    my = std::min(my, p.y);
  }
  for (POINT& p : *points) {
    p.x += dx - mx;
    p.y += dy - my;
  }
}

void UnZoomPolygon(const BLOCKSET* bs, std::vector<POINT>* points) {
  for (POINT& p : *points) UnZoomPoint(bs, &p);
}

HDIB PolygonToMask(const std::vector<POINT>& input) {
  if (input.size() < 2) return nullptr;
  std::vector<POINT> pts = input;
  NormalizePolygon(&pts, 0, 0);
  RECT f{};
  GetPolygonFrame(&f, pts);
  const int w = f.right, h = f.bottom;
  if (w <= 0 || h <= 0) return nullptr;
  BYTE palette[768] = {};
  int bits = 1;
  GetDefaultPalette(palette, &bits, 0);
  HDIB mask = CreateDib(w, h, palette, 1);
  BITMAPINFOHEADER* m = LockDib(mask);
  if (!m) return nullptr;
  // Scan lines through the pixel centres. Vertices are whole numbers, so a
  // centre line never passes through one; an edge crossing at x lies left of
  // the centre of column c when 2x < 2c + 1.
  struct Crossing {
    long long num, den;  // x = num / den, den > 0
    int winding;
  };
  std::vector<Crossing> xs;
  const std::size_t n = pts.size();
  for (int y = 0; y < h; ++y) {
    xs.clear();
    const long long yc2 = 2LL * y + 1;  // twice the centre line
    for (std::size_t i = 0; i < n; ++i) {
      const POINT a = pts[i], b = pts[(i + 1) % n];
      if (a.y == b.y) continue;
      const bool up = a.y < b.y;
      const long long lo = up ? a.y : b.y, hi = up ? b.y : a.y;
      if (yc2 < 2 * lo || yc2 > 2 * hi) continue;
      // x = a.x + (yc - a.y) (b.x - a.x) / (b.y - a.y), kept as a fraction.
      long long den = 2LL * (b.y - a.y), num = 2LL * a.x * (b.y - a.y) + (yc2 - 2LL * a.y) * (b.x - a.x);
      if (den < 0) den = -den, num = -num;
      xs.push_back({num, den, up ? 1 : -1});
    }
    std::sort(xs.begin(), xs.end(), [](const Crossing& p, const Crossing& q) {
      return static_cast<__int128>(p.num) * q.den < static_cast<__int128>(q.num) * p.den;
    });
    // First column whose centre lies right of x: ceil((2x - 1) / 2) = ceil((2num - den) / 2den).
    auto firstRight = [](const Crossing& c) {
      const long long top = 2 * c.num - c.den, bottom = 2 * c.den;
      long long q = top / bottom;
      if (top % bottom != 0 && top > 0) ++q;
      return q;
    };
    BYTE* row = DibRow(m, y);
    int winding = 0;
    for (std::size_t k = 0; k + 1 < xs.size(); ++k) {
      winding += xs[k].winding;
      if (winding == 0) continue;
      const long long from = std::max(0LL, firstRight(xs[k])), to = std::min<long long>(w, firstRight(xs[k + 1]));
      for (long long x = from; x < to; ++x) row[x >> 3] |= masktable[x & 7];
    }
  }
  return mask;
}

// ---- The wand --------------------------------------------------------------------------------------

HDIB PointToMask(const BLOCKSET* bs, int x, int y, RECT* rect) {
  *rect = RECT{};
  const BITMAPINFOHEADER* img = LockDib(bs->Image);
  if (!img || x < 0 || y < 0 || x >= img->biWidth || y >= img->biHeight) return nullptr;
  // The seed fill marks an 8-bit mask (fresh pages cost nothing until touched);
  // only the region's rectangle is kept, at one bit a pixel.
  BYTE grey[768];
  for (int i = 0; i < 256; ++i) grey[3 * i] = grey[3 * i + 1] = grey[3 * i + 2] = static_cast<BYTE>(i);
  HDIB full = CreateDib(img->biWidth, img->biHeight, grey, 8);
  BITMAPINFOHEADER* fm = LockDib(full);
  if (!fm) return nullptr;
  const std::uint32_t seed = GetDibPixel(img, x, y);
  RECT r{};
  BucketFillMask(img, fm, bs, x, y, NotColour(bs, seed), seed, &r);
  if (r.right <= r.left || r.bottom <= r.top) return nullptr;
  BYTE palette[768] = {};
  int bits = 1;
  GetDefaultPalette(palette, &bits, 0);
  HDIB mask = CreateDib(r.right - r.left, r.bottom - r.top, palette, 1);
  BITMAPINFOHEADER* m = LockDib(mask);
  if (!m) return nullptr;
  for (int j = r.top; j < r.bottom; ++j) {
    const BYTE* s = DibRow(fm, j) + r.left;
    BYTE* d = DibRow(m, j - r.top);
    for (int i = 0; i < r.right - r.left; ++i)
      if (s[i]) d[i >> 3] |= masktable[i & 7];
  }
  *rect = r;
  return mask;
}

HDIB FrameFromMask(const HDIB& handle) {
  const BITMAPINFOHEADER* m = LockDib(handle);
  if (!m || m->biBitCount != 1) return nullptr;
  const int w = m->biWidth, h = m->biHeight;
  BYTE palette[768] = {};
  int bits = 1;
  GetDefaultPalette(palette, &bits, 0);
  HDIB out = CreateDib(w, h, palette, 1);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  // A shape pixel is an edge when one of its eight neighbours is outside the
  // shape or the mask; three unpacked rows at a time, with a border of 0.
  std::vector<BYTE> rows[3];
  for (auto& r : rows) r.assign(static_cast<std::size_t>(w) + 2, 0);
  auto unpack = [&](int y, std::vector<BYTE>& r) {
    std::fill(r.begin(), r.end(), 0);
    if (y < 0 || y >= h) return;
    const BYTE* s = DibRow(m, y);
    for (int x = 0; x < w; ++x) r[static_cast<std::size_t>(x) + 1] = (s[x >> 3] & masktable[x & 7]) ? 1 : 0;
  };
  unpack(-1, rows[0]);
  unpack(0, rows[1]);
  for (int y = 0; y < h; ++y) {
    unpack(y + 1, rows[2]);
    const BYTE *up = rows[0].data(), *mid = rows[1].data(), *down = rows[2].data();
    BYTE* d = DibRow(o, y);
    for (int x = 0; x < w; ++x) {
      const std::size_t c = static_cast<std::size_t>(x) + 1;
      if (!mid[c]) continue;
      const bool inner = up[c - 1] & up[c] & up[c + 1] & mid[c - 1] & mid[c + 1] & down[c - 1] & down[c] & down[c + 1];
      // The dash: the first two of every four columns in the first two of every four rows are cut.
      const bool cut = (x & 3) < 2 && (y & 3) < 2;
      if (!inner && !cut) d[x >> 3] |= masktable[x & 7];
    }
    std::swap(rows[0], rows[1]);
    std::swap(rows[1], rows[2]);
  }
  return out;
}

// ---- Drawing ---------------------------------------------------------------------------------------

void RenderFragment(const BITMAPINFOHEADER* f, const BITMAPINFOHEADER* mask, const BITMAPINFOHEADER* frame, int percent,
                    int vx, int vy, int vw, int vh, std::uint32_t* dst, std::size_t stride) {
  if (!f || vw <= 0 || vh <= 0 || f->biWidth <= 0 || f->biHeight <= 0) return;
  const int w = f->biWidth, h = f->biHeight, bits = f->biBitCount;
  if (mask && mask->biBitCount != 1) mask = nullptr;
  if (frame && frame->biBitCount != 1) frame = nullptr;
  std::vector<int> cols(static_cast<std::size_t>(vw));
  for (int i = 0; i < vw; ++i) {
    const int sx = UnZoomPercent(percent, vx + i);
    cols[static_cast<std::size_t>(i)] = sx >= 0 && sx < w ? sx : -1;
  }
  std::uint32_t lut[256] = {};
  if (bits <= 8) {
    const BYTE* pal = DibPaletteEntries(f);
    for (int i = 0; i < (1 << bits); ++i)
      lut[i] = 0xFF000000u | (static_cast<std::uint32_t>(pal[4 * i + 2]) << 16) |
               (static_cast<std::uint32_t>(pal[4 * i + 1]) << 8) | pal[4 * i];
  }
  const std::uint32_t invert = bits > 8 ? 0xFFFFFFu : (1u << bits) - 1;
  auto bit = [](const BITMAPINFOHEADER* b, int x, int y) {
    return x < b->biWidth && y < b->biHeight && (DibRow(b, y)[x >> 3] & masktable[x & 7]) != 0;
  };
  for (int j = 0; j < vh; ++j) {
    const int sy = UnZoomPercent(percent, vy + j);
    if (sy < 0 || sy >= h) continue;
    std::uint32_t* out =
        reinterpret_cast<std::uint32_t*>(reinterpret_cast<BYTE*>(dst) + stride * static_cast<std::size_t>(j));
    const BYTE* row = DibRow(f, sy);
    const bool edgeRow = sy == 0 || sy == h - 1;
    for (int i = 0; i < vw; ++i) {
      const int sx = cols[static_cast<std::size_t>(i)];
      if (sx < 0) continue;
      // Past the mask's own size a mask reads as no pixel, which hides nothing.
      if (mask && sx < mask->biWidth && sy < mask->biHeight && !bit(mask, sx, sy)) continue;
      bool framed;
      if (frame) framed = bit(frame, sx, sy);
      else framed = (edgeRow && (sx & 1)) || ((sx == 0 || sx == w - 1) && (sy & 1));
      std::uint32_t v;
      switch (bits) {
        case 24: {
          const BYTE* p = row + 3 * static_cast<std::size_t>(sx);
          v = (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[1]) << 8) | p[0];
          out[i] = 0xFF000000u | (framed ? v ^ invert : v);
          continue;
        }
        case 32: {
          const BYTE* p = row + 4 * static_cast<std::size_t>(sx);
          v = (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[1]) << 8) | p[0];
          out[i] = 0xFF000000u | (framed ? v ^ invert : v);
          continue;
        }
        case 8: v = row[sx]; break;
        case 4: v = (sx & 1) ? (row[sx >> 1] & 15u) : (row[sx >> 1] >> 4); break;
        case 1: v = (row[sx >> 3] & masktable[sx & 7]) ? 1u : 0u; break;
        default: continue;
      }
      out[i] = lut[(framed ? v ^ invert : v) & 255];
    }
  }
}

bool HasSelection(const BLOCKSET* bs, bool* hasMask) {
  if (hasMask) *hasMask = false;
  if (!bs || !bs->ToolWindow) return false;
  const TOOLPARAM& p = bs->ToolWindow->param;
  if ((p.Tool != TOOL_RECTSELECT && p.Tool != TOOL_LASSO && p.Tool != TOOL_WAND) || !p.Fragment) return false;
  if (hasMask) *hasMask = p.SelectMask != nullptr;
  return true;
}

}  // namespace ochrel
