// The scale arithmetic every tool uses: eleven fixed scales, image and view
// coordinates, and the scroll ranges of a document window.
#pragma once

#include "image/dib.h"

namespace ochrel {

struct BLOCKSET;

inline constexpr int kViewModes = 11;
extern const int viewmodetable[kViewModes];

// The percentage of a ViewMode index (clamped to the table).
int ViewPercent(int viewMode);

// At 100 percent the value itself; otherwise percent * value / 100 (Zoom) or
// value * 100 / percent (UnZoom), in signed integers rounding toward zero.
int Zoom(const BLOCKSET* record, int value);
int UnZoom(const BLOCKSET* record, int value);
int ZoomPercent(int percent, int value);
int UnZoomPercent(int percent, int value);
void ZoomRect(const BLOCKSET* record, RECT* rect);
void UnZoomRect(const BLOCKSET* record, RECT* rect);
void ZoomPoint(const BLOCKSET* record, POINT* point);
void UnZoomPoint(const BLOCKSET* record, POINT* point);

void NormalizeRect(RECT* rect);
inline int RectWidth(const RECT& r) { return r.right - r.left; }
inline int RectDepth(const RECT& r) { return r.bottom - r.top; }
inline void CopyPoint(POINT* to, const POINT& from) { *to = from; }

// 0, 0, image width, image height; false without an image.
bool GetImageRect(const BLOCKSET* record, RECT* rect);

// The most a bar can scroll, in image pixels: UnZoom(zoomed size - client
// size), negative when the image fits.
int ScrollRange(const BLOCKSET* record, int imageSize, int clientSize);
// A page step: an eighth of the maximum, in whole numbers.
inline int ScrollPage(int maximum) { return maximum > 0 ? maximum / 8 : 0; }

// A scroll position (image pixels) after a change of scale: its zoomed value divided by
// the old percentage (as a fraction), times the new percentage over 100.
int RescaleScrollPosition(int position, int oldPercent, int newPercent);

// What a view shows: view pixel (i, j) is image pixel (UnZoom(i) + scrollX,
// UnZoom(j) + scrollY). Renders the view rectangle (vx, vy, vw, vh) into dst
// (RGB32, top-down rows). Outside the image the background colour stands.
// Grid points (x and y on the spacing) are inverted when `grid` is set; a mono
// image shrunk below 100 percent keeps white pixels (white-on-black).
struct ViewRender {
  int percent = 100;
  int scrollX = 0, scrollY = 0;
  bool grid = false;
  int gridHorizontal = 8, gridVertical = 8;
  std::uint32_t background = 0xFFF0F0F0u;
};
void RenderView(const BITMAPINFOHEADER* image, const ViewRender& v, int vx, int vy, int vw, int vh, std::uint32_t* dst,
                std::size_t dstStride);

}  // namespace ochrel
