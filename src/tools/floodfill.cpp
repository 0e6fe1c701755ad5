#include "tools/floodfill.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "image/colourblend.h"
#include "frame/strings.h"
#include "image/kernel.h"
#include "image/parallel.h"
#include "frame/settings.h"

namespace ochrel {

// ---- Matching -------------------------------------------------------------------------------

int GetFloodFillStackSize() { return std::clamp(FloodFillStackSize, kMinFloodFillStack, kMaxFloodFillStack); }

int MatchPixel(const BITMAPINFOHEADER*, const BLOCKSET* bs, std::uint32_t a, std::uint32_t b, int imageType) {
  if (a == NOPIXEL || b == NOPIXEL) return 0;
  switch (imageType) {
    case IMAGE_GREY: {
      const long long d = std::llabs(static_cast<long long>(a) - static_cast<long long>(b));
      const long long tolerance =
          (static_cast<long long>(bs->RedTolerance) + bs->GreenTolerance + bs->BlueTolerance) / 3;
      return d < tolerance;
    }
    case IMAGE_PALETTED: return (a & 255) == (b & 255);
    case IMAGE_MONO: return (a & 1) == (b & 1);
    default:
      return std::abs(GetRValue(a) - GetRValue(b)) < bs->RedTolerance &&
             std::abs(GetGValue(a) - GetGValue(b)) < bs->GreenTolerance &&
             std::abs(GetBValue(a) - GetBValue(b)) < bs->BlueTolerance;
  }
}

std::uint32_t NotColour(const BLOCKSET* bs, std::uint32_t value) {
  switch (bs->ImageType) {
    case IMAGE_GREY: return value ^ 255u;
    case IMAGE_MONO: return value ^ 1u;
    case IMAGE_PALETTED: {
      const BITMAPINFOHEADER* h = LockDib(bs->Image);
      const int bits = h ? h->biBitCount : 8;
      return value ^ (bits == 1 ? 1u : bits == 4 ? 15u : 255u);
    }
    default: return value ^ 0xFFFFFFu;
  }
}

std::uint32_t BucketFillCoverage(const BLOCKSET* bs) {
  switch (bs->ImageType) {
    case IMAGE_TRUECOLOUR: {
      const std::uint32_t o = static_cast<std::uint32_t>(bs->Opacity) & 255u;
      return o | (o << 8) | (o << 16);
    }
    case IMAGE_GREY: return static_cast<std::uint32_t>(bs->Opacity);
    case IMAGE_PALETTED:
    case IMAGE_MONO: return 0xFFFFFFu;
    default: return 0;
  }
}

namespace {

bool FillableDepth(int bits) { return bits == 1 || bits == 4 || bits == 8 || bits == 24 || bits == 32; }

bool UsableDib(const BITMAPINFOHEADER* h) {
  return h && h->biWidth > 0 && h->biHeight > 0 && FillableDepth(h->biBitCount);
}

// What a pixel of this depth reads back after PutDibPixel(value).
std::uint32_t StoredValue(int bits, std::uint32_t value) {
  switch (bits) {
    case 1: return value ? 1u : 0u;
    case 4: return value & 15u;
    case 8: return value & 255u;
    case 24: return value & 0xFFFFFFu;
    default: return value;
  }
}

template <int Bits>
inline std::uint32_t Fetch(const BYTE* row, int x) {
  if constexpr (Bits == 1) {
    return (row[x >> 3] & masktable[x & 7]) ? 1u : 0u;
  } else if constexpr (Bits == 4) {
    return (x & 1) ? (row[x >> 1] & 0x0Fu) : (row[x >> 1] >> 4);
  } else if constexpr (Bits == 8) {
    return row[x];
  } else if constexpr (Bits == 24) {
    const BYTE* p = row + 3 * static_cast<std::size_t>(x);
    return RGB(p[2], p[1], p[0]);
  } else {
    const BYTE* p = row + 4 * static_cast<std::size_t>(x);
    return RGB(p[2], p[1], p[0]) | (static_cast<std::uint32_t>(p[3]) << 24);
  }
}

// MatchPixel against one fixed value, answered from tables: for depths up to 8
// every pixel value the image can hold is looked up, for true colour each
// channel. Anything else asks MatchPixel itself.
class Matcher {
 public:
  Matcher(const BITMAPINFOHEADER* image, const BLOCKSET* bs, std::uint32_t value, int type)
      : image_(image), bs_(bs), value_(value), type_(type) {
    const int bits = image->biBitCount;
    if (bits <= 8) {
      kind_ = kTable;
      for (int p = 0; p < 256; ++p) table_[p] = MatchPixel(image, bs, static_cast<std::uint32_t>(p), value, type) != 0;
    } else if (bits == 24 && type != IMAGE_GREY && type != IMAGE_PALETTED && type != IMAGE_MONO) {
      kind_ = kChannels;
      for (int c = 0; c < 256; ++c) {
        const bool any = value != NOPIXEL;
        red_[c] = any && std::abs(c - GetRValue(value)) < bs->RedTolerance;
        green_[c] = any && std::abs(c - GetGValue(value)) < bs->GreenTolerance;
        blue_[c] = any && std::abs(c - GetBValue(value)) < bs->BlueTolerance;
      }
    } else {
      kind_ = kCall;
    }
  }
  template <int Bits>
  bool Alike(const BYTE* row, int x) const {
    if constexpr (Bits <= 8) {
      return table_[Fetch<Bits>(row, x)];
    } else {
      if (Bits == 24 && kind_ == kChannels) {
        const BYTE* p = row + 3 * static_cast<std::size_t>(x);
        return red_[p[2]] & green_[p[1]] & blue_[p[0]];
      }
      return MatchPixel(image_, bs_, Fetch<Bits>(row, x), value_, type_) != 0;
    }
  }

 private:
  enum Kind { kTable, kChannels, kCall };
  const BITMAPINFOHEADER* image_;
  const BLOCKSET* bs_;
  std::uint32_t value_;
  int type_;
  Kind kind_ = kCall;
  bool table_[256] = {};
  bool red_[256] = {}, green_[256] = {}, blue_[256] = {};
};

struct Span {
  std::int32_t y, xl, xr, dy;  // scan row y + dy between xl and xr
};
static_assert(sizeof(Span) == 16);

// The scan-line seed fill over spans of rows. rowOf(y) gives an object with
// Inside(x) (alike to the old value and not yet marked), Mark(x), and
// Marked(x0, x1), told after each run of marks. The order
// of the pushes decides which spans a full stack drops, so it is kept exactly.
template <class RowOf>
void SeedFill(int w, int h, int x, int y, RowOf&& rowOf) {
  const int capacity = GetFloodFillStackSize();
  HGLOBAL block = MemBlock::Allocate(static_cast<std::size_t>(capacity) * sizeof(Span));
  if (!block) return;
  Span* const stack = reinterpret_cast<Span*>(block->data());
  int sp = 0;
  auto push = [&](int py, int l, int r, int d) {
    if (sp < capacity && py + d >= 0 && py + d < h) stack[sp++] = Span{py, l, r, d};
  };
  push(y, x, x, 1);
  push(y + 1, x, x, -1);
  while (sp > 0) {
    const Span s = stack[--sp];
    const int x1 = s.xl, x2 = s.xr, d = s.dy, row = s.y + d;
    auto r = rowOf(row);
    int px = x1;
    while (px >= 0 && r.Inside(px)) r.Mark(px--);
    // Nothing marked at x1: straight to the skip over the rest of the span.
    bool skipping = px >= x1;
    int l = px + 1;
    if (!skipping) {
      r.Marked(l, x1);
      if (l < x1) push(row, l, x1 - 1, -d);
      px = x1 + 1;
    }
    for (;;) {
      if (!skipping) {
        const int from = px;
        while (px < w && r.Inside(px)) r.Mark(px++);
        if (px > from) r.Marked(from, px - 1);
        push(row, l, px - 1, d);
        if (px > x2 + 1) push(row, x2 + 1, px - 1, -d);
      }
      skipping = false;
      for (++px; px <= x2 && !r.Inside(px); ++px) {}
      l = px;
      if (px > x2) break;
    }
  }
}

// Writes the coverage into a mask row: bytes for 8-bit masks, else PutDibPixel.
struct MaskWriter {
  BITMAPINFOHEADER* mask;
  std::uint32_t value;
  bool bytes;
  int y;
  BYTE* row;
  void Put(int x) const {
    if (bytes) row[x] = static_cast<BYTE>(value);
    else PutDibPixel(mask, x, y, value);
  }
};

template <int Bits>
void FillMarkingImage(BITMAPINFOHEADER* image, BITMAPINFOHEADER* mask, const Matcher& alike, int x, int y,
                      std::uint32_t newValue, std::uint32_t coverage, BYTE* visited) {
  const int w = image->biWidth, h = image->biHeight;
  const bool bytes = mask->biBitCount == 8;
  SeedFill(w, h, x, y, [&](int row) {
    struct Row {
      BITMAPINFOHEADER* image;
      const BYTE* pixels;
      const Matcher* alike;
      MaskWriter mask;
      BYTE* seen;  // one byte per pixel of this row, or null when marks suffice
      std::uint32_t value;
      bool Inside(int x) const { return (!seen || !seen[x]) && alike->Alike<Bits>(pixels, x); }
      void Mark(int x) const {
        PutDibPixel(image, x, mask.y, value);
        mask.Put(x);
        if (seen) seen[x] = 1;
      }
      void Marked(int, int) const {}
    };
    BYTE* seen = visited ? visited + static_cast<std::size_t>(row) * static_cast<std::size_t>(w) : nullptr;
    return Row{image,   DibRow(image, row), &alike, MaskWriter{mask, coverage, bytes, row, DibRow(mask, row)}, seen,
               newValue};
  });
}

// The box of the marked pixels, grown as they are marked.
struct Box {
  int left = INT_MAX, right = -1, top = INT_MAX, bottom = -1;
  void Add(int y, int x0, int x1) {  // columns x0 .. x1 of row y
    left = std::min(left, x0);
    right = std::max(right, x1);
    top = std::min(top, y);
    bottom = std::max(bottom, y);
  }
};

template <int Bits>
void FillMaskOnly(const BITMAPINFOHEADER* image, BITMAPINFOHEADER* mask, const Matcher& alike, int x, int y,
                  std::uint32_t coverage, Box* box) {
  const int w = image->biWidth, h = image->biHeight;
  const bool bytes = mask->biBitCount == 8;
  SeedFill(w, h, x, y, [&](int row) {
    struct Row {
      const BYTE* pixels;
      const Matcher* alike;
      MaskWriter mask;
      Box* box;
      bool Inside(int x) const {
        const bool unmarked = mask.bytes ? mask.row[x] == 0 : GetDibPixel(mask.mask, x, mask.y) == 0;
        return unmarked && alike->Alike<Bits>(pixels, x);
      }
      void Mark(int x) const { mask.Put(x); }
      void Marked(int x0, int x1) const { box->Add(mask.y, x0, x1); }
    };
    return Row{DibRow(image, row), &alike, MaskWriter{mask, coverage, bytes, row, DibRow(mask, row)}, box};
  });
}

bool SameSize(const BITMAPINFOHEADER* a, const BITMAPINFOHEADER* b) {
  return a->biWidth == b->biWidth && a->biHeight == b->biHeight;
}

}  // namespace

void BucketFill(BITMAPINFOHEADER* image, BITMAPINFOHEADER* mask, const BLOCKSET* bs, int x, int y,
                std::uint32_t newValue, std::uint32_t oldValue) {
  if (!UsableDib(image) || !UsableDib(mask) || !SameSize(image, mask)) return;
  if (x < 0 || y < 0 || x >= image->biWidth || y >= image->biHeight) return;
  const int type = bs->ImageType;
  if (MatchPixel(image, bs, GetDibPixel(image, x, y), newValue, type)) return;
  const int bits = image->biBitCount;
  // A marked pixel must never pass as unvisited. It can only if what the image
  // stores for the new value still matches the old one (a value the depth
  // truncates, or no value at all); then visits are kept apart as well.
  HGLOBAL visited;
  if (newValue == NOPIXEL || MatchPixel(image, bs, StoredValue(bits, newValue), oldValue, type)) {
    visited = MemBlock::Allocate(static_cast<std::size_t>(image->biWidth) * static_cast<std::size_t>(image->biHeight));
    if (!visited) return;
  }
  const Matcher alike(image, bs, oldValue, type);
  const std::uint32_t v = BucketFillCoverage(bs);
  BYTE* seen = visited ? visited->data() : nullptr;
  switch (bits) {
    case 1: FillMarkingImage<1>(image, mask, alike, x, y, newValue, v, seen); break;
    case 4: FillMarkingImage<4>(image, mask, alike, x, y, newValue, v, seen); break;
    case 8: FillMarkingImage<8>(image, mask, alike, x, y, newValue, v, seen); break;
    case 24: FillMarkingImage<24>(image, mask, alike, x, y, newValue, v, seen); break;
    default: FillMarkingImage<32>(image, mask, alike, x, y, newValue, v, seen); break;
  }
}

void BucketFillMask(const BITMAPINFOHEADER* image, BITMAPINFOHEADER* mask, const BLOCKSET* bs, int x, int y,
                    std::uint32_t newValue, std::uint32_t oldValue, RECT* filled) {
  if (filled) *filled = RECT{};
  if (!UsableDib(image) || !UsableDib(mask) || !SameSize(image, mask)) return;
  if (x < 0 || y < 0 || x >= image->biWidth || y >= image->biHeight) return;
  const int type = bs->ImageType;
  if (MatchPixel(image, bs, GetDibPixel(image, x, y), newValue, type)) return;
  const std::uint32_t v = BucketFillCoverage(bs);
  // A coverage the mask stores as 0 leaves it all 0 whatever is visited.
  if (StoredValue(mask->biBitCount, v) == 0) return;
  const Matcher alike(image, bs, oldValue, type);
  Box box;
  switch (image->biBitCount) {
    case 1: FillMaskOnly<1>(image, mask, alike, x, y, v, &box); break;
    case 4: FillMaskOnly<4>(image, mask, alike, x, y, v, &box); break;
    case 8: FillMaskOnly<8>(image, mask, alike, x, y, v, &box); break;
    case 24: FillMaskOnly<24>(image, mask, alike, x, y, v, &box); break;
    default: FillMaskOnly<32>(image, mask, alike, x, y, v, &box); break;
  }
  if (filled && box.right >= 0) *filled = RECT{box.left, box.top, box.right + 1, box.bottom + 1};
}

HDIB FeatherMask(const BITMAPINFOHEADER* mask) {
  if (!UsableDib(mask) || mask->biBitCount != 8) return nullptr;
  const int w = mask->biWidth, h = mask->biHeight;
  BYTE palette[768];
  GetDibPalette(mask, palette);
  HDIB out = CreateDib(w, h, palette, 8);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  // Weights 1 2 1 / 2 15 2 / 1 2 1; those falling outside the image are
  // dropped from both the sum and the divisor.
  ParallelBands(h, 32, [&](int y0, int y1) {
    for (int y = y0; y < y1; ++y) {
      const BYTE* up = y > 0 ? DibRow(mask, y - 1) : nullptr;
      const BYTE* mid = DibRow(mask, y);
      const BYTE* down = y + 1 < h ? DibRow(mask, y + 1) : nullptr;
      BYTE* d = DibRow(o, y);
      auto column = [&](int x, int& s, int& wt, int side) {  // side: 1 for a neighbour column, else centre
        const int edge = side ? 1 : 2, centre = side ? 2 : 15;
        s += mid[x] * centre;
        wt += centre;
        if (up) s += up[x] * edge, wt += edge;
        if (down) s += down[x] * edge, wt += edge;
      };
      auto pixel = [&](int x) {
        int s = 0, wt = 0;
        column(x, s, wt, 0);
        if (x > 0) column(x - 1, s, wt, 1);
        if (x + 1 < w) column(x + 1, s, wt, 1);
        return static_cast<BYTE>(std::min(255, s / wt));
      };
      d[0] = pixel(0);
      if (w > 1) d[w - 1] = pixel(w - 1);
      if (up && down) {
        for (int x = 1; x + 1 < w; ++x) {
          const int s = up[x - 1] + 2 * up[x] + up[x + 1] + 2 * mid[x - 1] + 15 * mid[x] + 2 * mid[x + 1] +
                        down[x - 1] + 2 * down[x] + down[x + 1];
          d[x] = static_cast<BYTE>(s / 27);
        }
      } else {
        for (int x = 1; x + 1 < w; ++x) d[x] = pixel(x);
      }
    }
  });
  return out;
}

int GetBucketFillBoundingBox(const BITMAPINFOHEADER* mask, RECT* rect) {
  RECT r{};
  if (UsableDib(mask)) {
    const int w = mask->biWidth, h = mask->biHeight;
    int left = w, right = -1, top = -1, bottom = -1;
    for (int y = 0; y < h; ++y) {
      int first = -1, last = -1;
      if (mask->biBitCount == 8) {
        const BYTE* row = DibRow(mask, y);
        for (int x = 0; x < w; ++x)
          if (row[x]) {
            first = x;
            break;
          }
        if (first < 0) continue;
        for (int x = w - 1; x >= first; --x)
          if (row[x]) {
            last = x;
            break;
          }
      } else {
        for (int x = 0; x < w; ++x)
          if (GetDibPixel(mask, x, y) != 0) {
            if (first < 0) first = x;
            last = x;
          }
        if (first < 0) continue;
      }
      if (top < 0) top = y;
      bottom = y;
      left = std::min(left, first);
      right = std::max(right, last);
    }
    if (top >= 0) r = RECT{left, top, right + 1, bottom + 1};
  }
  if (rect) *rect = r;
  return 1;
}

// ---- The whole fill -------------------------------------------------------------------------

namespace {

// a * b / 255, truncated: both terms of the coverage blend come from it.
const std::array<std::array<BYTE, 256>, 256>& ScaleTable() {
  static const auto table = [] {
    std::array<std::array<BYTE, 256>, 256> t{};
    for (int a = 0; a < 256; ++a)
      for (int b = 0; b < 256; ++b) t[a][b] = static_cast<BYTE>(a * b / 255);
    return t;
  }();
  return table;
}

// Blends the colour (or the source's pixels) into the image through the mask
// over rect. The mask's pixel for image point (x, y) is at (x - maskX, y - maskY);
// the source's at (x - rect.left, y - rect.top).
void Composite(BITMAPINFOHEADER* img, const BITMAPINFOHEADER* mask, int maskX, int maskY, const RECT& rect,
               const BITMAPINFOHEADER* source, std::uint32_t colour, std::uint32_t fillColour) {
  const auto& mul = ScaleTable();
  const int bits = img->biBitCount;
  const bool sourceBytes = source && source->biBitCount == 24;
  ParallelBands(rect.bottom - rect.top, 64, [&](int b0, int b1) {
    for (int y = rect.top + b0; y < rect.top + b1; ++y) {
      const BYTE* m = DibRow(mask, y - maskY) + (rect.left - maskX);
      BYTE* row = DibRow(img, y);
      const BYTE* src = sourceBytes ? DibRow(source, y - rect.top) : nullptr;
      for (int x = rect.left; x < rect.right; ++x) {
        const int cover = m[x - rect.left];
        if (cover == 0) continue;
        std::uint32_t k = colour;
        if (sourceBytes) {
          const BYTE* s = src + 3 * static_cast<std::size_t>(x - rect.left);
          k = RGB(s[2], s[1], s[0]);
        } else if (source) {
          k = GetDibPixel(source, x - rect.left, y - rect.top);
          if (k == NOPIXEL) k = fillColour;
        }
        const auto& keep = mul[255 - cover];
        const auto& take = mul[cover];
        if (bits == 24) {
          BYTE* p = row + 3 * static_cast<std::size_t>(x);
          p[0] = static_cast<BYTE>(keep[p[0]] + take[GetBValue(k)]);
          p[1] = static_cast<BYTE>(keep[p[1]] + take[GetGValue(k)]);
          p[2] = static_cast<BYTE>(keep[p[2]] + take[GetRValue(k)]);
        } else if (bits == 8) {
          row[x] = static_cast<BYTE>(keep[row[x]] + take[k & 255]);
        } else {
          PutDibPixel(img, x, y, CoverageBlend(GetDibPixel(img, x, y), k, cover));
        }
      }
    }
  });
}

}  // namespace

int InsetBucketFill(BLOCKSET* bs, std::uint32_t colour, std::uint32_t seed, int x, int y) {
  BITMAPINFOHEADER* img = LockDib(bs->Image);
  if (!UsableDib(img)) return 0;
  const int w = img->biWidth, h = img->biHeight;
  BYTE grey[768];
  GetDefaultPalette(grey, nullptr, 10);
  HDIB mask = CreateDib(w, h, grey, 8);
  if (!LockDib(mask)) return 0;
  const std::uint32_t marker = bs->FillType != 0 ? NotColour(bs, seed) : colour;
  // The fill reads the image and marks only the mask, which is what a fill on
  // a throw-away copy leaves, without the copy.
  RECT rect{};
  BucketFillMask(img, LockDib(mask), bs, x, y, marker, seed, &rect);
  if (rect.right <= rect.left) return 1;  // nothing filled

  // The mask the composite reads, and where its top left lies in the image.
  HDIB feathered;
  const BITMAPINFOHEADER* m = LockDib(mask);
  int maskX = 0, maskY = 0;
  if (bs->Antialias && (bs->ImageType == IMAGE_TRUECOLOUR || bs->ImageType == IMAGE_GREY)) {
    // The kernel reaches one pixel, so it changes nothing more than a pixel off
    // the filled box; a margin of two keeps the weights at the box's border
    // what they are in the whole mask.
    const RECT area{std::max(0, rect.left - 2), std::max(0, rect.top - 2), std::min(w, rect.right + 2),
                    std::min(h, rect.bottom + 2)};
    HDIB part = area.left == 0 && area.top == 0 && area.right == w && area.bottom == h ? std::move(mask)
                                                                                       : CropImage(mask, area);
    if (!part) return 0;
    feathered = FeatherMask(LockDib(part));
    if (!LockDib(feathered)) return 0;
    m = LockDib(feathered);
    maskX = area.left;
    maskY = area.top;
    RECT inner{};
    GetBucketFillBoundingBox(m, &inner);
    rect = RECT{inner.left + maskX, inner.top + maskY, inner.right + maskX, inner.bottom + maskY};
    if (rect.right <= rect.left) return 1;
  }

  HDIB source;
  if (bs->FillType != 0) source = GetFillImage(bs, rect);
  const BITMAPINFOHEADER* s = LockDib(source);
  if (s &&
      (s->biWidth < rect.right - rect.left || s->biHeight < rect.bottom - rect.top || !FillableDepth(s->biBitCount)))
    s = nullptr;  // a source that can't cover the box paints the marker
  Composite(img, m, maskX, maskY, rect, s, marker, bs->FillColour);
  return 1;
}

// ---- The tool ---------------------------------------------------------------------------------

void BucketTool::OnRefresh(unsigned) {
  FitToLimitRect();
  param.Tool = TOOL_BUCKET;
}

void BucketTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
}

void BucketTool::OnMouseMove(int x, int y, unsigned) {
  POINT p = document->ImagePointOfView(x + window.left, y + window.top);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", p.x, p.y);
  document->host()->StatusText(text);
}

void BucketTool::Fill(int x, int y, unsigned keys) {
  DocumentTools* doc = document;
  BLOCKSET* r = doc->record();
  const POINT p = doc->ImagePointOfView(x + window.left, y + window.top);
  const std::uint32_t seed = GetDibPixel(LockDib(r->Image), p.x, p.y);
  if (seed == NOPIXEL) return;
  const std::uint32_t colour = (keys & MK_RBUTTON)                ? r->FillColour
                               : (keys & (MK_SHIFT | MK_MBUTTON)) ? r->PaperColour
                               : (keys & MK_LBUTTON)              ? r->PaintColour
                                                                  : 0;
  CreateUndo(r);
  doc->host()->UpdateMenuStates();
  if (InsetBucketFill(r, colour, seed, p.x, p.y)) doc->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
  else doc->host()->ShowMessage(FetchString(IDS_MEMORY_ERROR));
  doc->host()->InvalidateView();
  doc->Post(RECV_STATUSBAR, UM_REFRESH);
}

}  // namespace ochrel
