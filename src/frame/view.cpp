#include "frame/view.h"

#include <algorithm>
#include <vector>

#include "frame/blockset.h"
#include "image/parallel.h"

namespace ochrel {

const int viewmodetable[kViewModes] = {10, 20, 25, 50, 75, 100, 200, 400, 800, 1200, 1600};

int ViewPercent(int viewMode) { return viewmodetable[std::clamp(viewMode, 0, kViewModes - 1)]; }

int ZoomPercent(int percent, int value) {
  if (percent == 100) return value;
  return static_cast<int>(static_cast<long long>(percent) * value / 100);
}
int UnZoomPercent(int percent, int value) {
  if (percent == 100) return value;
  return static_cast<int>(static_cast<long long>(value) * 100 / percent);
}
int Zoom(const BLOCKSET* r, int value) { return ZoomPercent(ViewPercent(r->ViewMode), value); }
int UnZoom(const BLOCKSET* r, int value) { return UnZoomPercent(ViewPercent(r->ViewMode), value); }

void ZoomRect(const BLOCKSET* r, RECT* rect) {
  rect->left = Zoom(r, rect->left);
  rect->top = Zoom(r, rect->top);
  rect->right = Zoom(r, rect->right);
  rect->bottom = Zoom(r, rect->bottom);
}
void UnZoomRect(const BLOCKSET* r, RECT* rect) {
  rect->left = UnZoom(r, rect->left);
  rect->top = UnZoom(r, rect->top);
  rect->right = UnZoom(r, rect->right);
  rect->bottom = UnZoom(r, rect->bottom);
}
void ZoomPoint(const BLOCKSET* r, POINT* p) {
  p->x = Zoom(r, p->x);
  p->y = Zoom(r, p->y);
}
void UnZoomPoint(const BLOCKSET* r, POINT* p) {
  p->x = UnZoom(r, p->x);
  p->y = UnZoom(r, p->y);
}

void NormalizeRect(RECT* r) {
  if (r->left > r->right) std::swap(r->left, r->right);
  if (r->top > r->bottom) std::swap(r->top, r->bottom);
}

bool GetImageRect(const BLOCKSET* r, RECT* rect) {
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  if (!h) return false;
  *rect = RECT{0, 0, h->biWidth, h->biHeight};
  return true;
}

int ScrollRange(const BLOCKSET* r, int imageSize, int clientSize) { return UnZoom(r, Zoom(r, imageSize) - clientSize); }

int RescaleScrollPosition(int position, int oldPercent, int newPercent) {
  // The bars report zoomed positions; back to image pixels by the old scale,
  // then scaled by the new one, as the scale change has always done it.
  long long image = static_cast<long long>(ZoomPercent(oldPercent, position)) * 100 / oldPercent;
  return static_cast<int>(image * newPercent / 100);
}

void RenderView(const BITMAPINFOHEADER* h, const ViewRender& v, int vx, int vy, int vw, int vh, std::uint32_t* dst,
                std::size_t dstStride) {
  if (vw <= 0 || vh <= 0) return;
  const int width = h ? h->biWidth : 0, height = h ? h->biHeight : 0, bits = h ? h->biBitCount : 0;
  // Source column of each view column, -1 outside the image.
  std::vector<int> cols(static_cast<std::size_t>(vw)), colEnd(static_cast<std::size_t>(vw));
  for (int i = 0; i < vw; ++i) {
    int sx = UnZoomPercent(v.percent, vx + i) + v.scrollX;
    cols[static_cast<std::size_t>(i)] = (sx >= 0 && sx < width) ? sx : -1;
    colEnd[static_cast<std::size_t>(i)] =
        std::min(width, std::max(sx + 1, UnZoomPercent(v.percent, vx + i + 1) + v.scrollX));
  }
  std::uint32_t lut[256] = {};
  if (h && bits <= 8) {
    const BYTE* e = DibPaletteEntries(h);
    for (int k = 0; k < (1 << bits); ++k)
      lut[k] = 0xFF000000u | (std::uint32_t{e[4 * k + 2]} << 16) | (std::uint32_t{e[4 * k + 1]} << 8) | e[4 * k];
  }
  const std::uint32_t indexMask = bits <= 8 ? (1u << bits) - 1 : 0;
  const bool whiteOnBlack = bits == 1 && v.percent < 100;
  auto rowOut = [&](int j) {
    return reinterpret_cast<std::uint32_t*>(reinterpret_cast<BYTE*>(dst) + dstStride * static_cast<std::size_t>(j));
  };
  ParallelBands(vh, 64, [&](int j0, int j1) {
    int lastSy = -2;
    for (int j = j0; j < j1; ++j) {
      std::uint32_t* out = rowOut(j);
      int sy = UnZoomPercent(v.percent, vy + j) + v.scrollY;
      if (sy < 0 || sy >= height) {
        std::fill(out, out + vw, v.background);
        lastSy = -2;
        continue;
      }
      // Enlarged views repeat rows: copy the one just made.
      if (sy == lastSy && j > j0) {
        std::copy(rowOut(j - 1), rowOut(j - 1) + vw, out);
        continue;
      }
      lastSy = sy;
      const BYTE* row = DibRow(h, sy);
      int syEnd =
          whiteOnBlack ? std::min(height, std::max(sy + 1, UnZoomPercent(v.percent, vy + j + 1) + v.scrollY)) : sy + 1;
      const bool gridRow = v.grid && sy % v.gridVertical == 0;
      for (int i = 0; i < vw; ++i) {
        int sx = cols[static_cast<std::size_t>(i)];
        if (sx < 0) {
          out[i] = v.background;
          continue;
        }
        std::uint32_t px;
        switch (bits) {
          case 24: {
            const BYTE* p = row + 3 * static_cast<std::size_t>(sx);
            px = 0xFF000000u | (std::uint32_t{p[2]} << 16) | (std::uint32_t{p[1]} << 8) | p[0];
            if (gridRow && sx % v.gridHorizontal == 0) px ^= 0x00FFFFFFu;
            break;
          }
          case 32: {
            const BYTE* p = row + 4 * static_cast<std::size_t>(sx);
            px = 0xFF000000u | (std::uint32_t{p[2]} << 16) | (std::uint32_t{p[1]} << 8) | p[0];
            if (gridRow && sx % v.gridHorizontal == 0) px ^= 0x00FFFFFFu;
            break;
          }
          default: {
            std::uint32_t index;
            if (bits == 8) index = row[sx];
            else if (bits == 4) index = (sx & 1) ? (row[sx >> 1] & 0x0F) : (row[sx >> 1] >> 4);
            else if (bits == 1) {
              index = 0;
              // Shrunk mono: any white pixel of the block shows.
              int xe = whiteOnBlack ? colEnd[static_cast<std::size_t>(i)] : sx + 1;
              for (int yy = sy; yy < syEnd && !index; ++yy) {
                const BYTE* r = DibRow(h, yy);
                for (int xx = sx; xx < xe; ++xx)
                  if (r[xx >> 3] & masktable[xx & 7]) {
                    index = 1;
                    break;
                  }
              }
            } else index = 0;
            if (gridRow && sx % v.gridHorizontal == 0) index ^= indexMask;
            px = lut[index & 255];
          }
        }
        out[i] = px;
      }
    }
  });
}

}  // namespace ochrel
