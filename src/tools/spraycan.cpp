#include "tools/spraycan.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "image/colourblend.h"
#include "frame/view.h"
#include "image/crand.h"
#include "frame/settings.h"
#include "tools/brushstroke.h"

namespace ochrel {

// ---- The pixel list ------------------------------------------------------------------------

SPRAYLIST* LockSprayList(const HGLOBAL& list) {
  if (!list || list->size() < sizeof(SPRAYLIST)) return nullptr;
  auto* l = reinterpret_cast<SPRAYLIST*>(list->data());
  // A list whose counts don't fit its block is as good as none.
  if (l->total < 0 || l->remaining < 0 || l->remaining > l->total ||
      list->size() < sizeof(SPRAYLIST) + static_cast<std::size_t>(l->total) * sizeof(std::uint16_t))
    return nullptr;
  return l;
}

std::uint16_t* SprayEntries(SPRAYLIST* list) { return reinterpret_cast<std::uint16_t*>(list + 1); }

HGLOBAL CreateSpraycan(int diameter) {
  srand(static_cast<unsigned>(
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
          .count()));
  const int d = std::min(diameter, kMaxSprayDiameter);
  if (d < 1) return nullptr;
  // Pixel centres (x + 1/2, y + 1/2) inside the circle of diameter d, in
  // doubled coordinates to stay in whole numbers.
  int count = 0;
  auto inside = [d](int x, int y) {
    const long long dx = 2LL * x + 1 - d, dy = 2LL * y + 1 - d;
    return dx * dx + dy * dy <= static_cast<long long>(d) * d;
  };
  for (int y = 0; y < d; ++y)
    for (int x = 0; x < d; ++x) count += inside(x, y);
  if (count == 0) return nullptr;
  HGLOBAL block = MemBlock::Allocate(sizeof(SPRAYLIST) + static_cast<std::size_t>(count) * sizeof(std::uint16_t));
  if (!block) return nullptr;
  auto* l = reinterpret_cast<SPRAYLIST*>(block->data());
  l->remaining = l->total = count;
  l->width = l->height = d;
  std::uint16_t* e = SprayEntries(l);
  for (int y = 0; y < d; ++y)
    for (int x = 0; x < d; ++x)
      if (inside(x, y)) *e++ = static_cast<std::uint16_t>(x | (y << 8));
  return block;
}

HDIB RenderSpraycan(const HGLOBAL& list, std::uint32_t foreground, std::uint32_t background, int flow) {
  SPRAYLIST* l = LockSprayList(list);
  if (!l || l->width < 1 || l->height < 1 || l->width > kMaxSprayDiameter || l->height > kMaxSprayDiameter)
    return nullptr;
  BYTE grey[768];
  GetDefaultPalette(grey, nullptr, 10);
  HDIB spot = CreateDib(l->width, l->height, grey, 8);
  BITMAPINFOHEADER* h = LockDib(spot);
  if (!h) return nullptr;
  std::memset(DibBits(h), static_cast<int>(background & 255), DibStride(h) * static_cast<std::size_t>(l->height));
  const long long n = static_cast<long long>(l->total) * flow / 100;
  std::uint16_t* entries = SprayEntries(l);
  for (long long k = 0; k < n && l->remaining > 0; ++k) {
    l->remaining -= 1;
    const int i = l->remaining > 0 ? rand() % l->remaining : 0;
    const std::uint16_t e = entries[i];
    entries[i] = entries[l->remaining];
    PutDibPixel(h, e & 255, e >> 8, foreground);
  }
  return spot;
}

// ---- The stroke ----------------------------------------------------------------------------

namespace {
int CopyBytes(int bits) { return bits <= 8 ? 1 : bits / 8; }
}  // namespace

bool SprayStroke::Press(std::uint32_t colour, POINT scroll) {
  Release();
  const BITMAPINFOHEADER* h = LockDib(doc_.Image);
  if (!h || h->biWidth <= 0 || h->biHeight <= 0) return false;
  const int bits = h->biBitCount;
  if (bits != 1 && bits != 4 && bits != 8 && bits != 24 && bits != 32) return false;
  // Zeroed blocks straight from the allocator: only the pages a stroke
  // touches cost anything, and a pixel's press-time value is taken the first
  // time the stroke covers it, before anything has written it.
  const std::size_t area = static_cast<std::size_t>(h->biWidth) * static_cast<std::size_t>(h->biHeight);
  coverage_ = MemBlock::Allocate(area);
  copy_ = MemBlock::Allocate(area * static_cast<std::size_t>(CopyBytes(bits)));
  if (!coverage_ || !copy_) {
    coverage_.reset();
    copy_.reset();
    return false;
  }
  width_ = h->biWidth;
  height_ = h->biHeight;
  image_ = doc_.Image.get();
  colour_ = colour;
  scroll_ = scroll;
  painting_ = true;
  return true;
}

void SprayStroke::Release() {
  painting_ = false;
  coverage_.reset();
  copy_.reset();
  image_ = nullptr;
}

RECT SprayStroke::Lay(const HDIB& spot, POINT at) {
  RECT changed{};
  BITMAPINFOHEADER* img = LockDib(doc_.Image);
  const BITMAPINFOHEADER* st = LockDib(spot);
  // The image must still be the one bound at the press (an undo swaps it).
  if (!painting_ || !img || !st || st->biBitCount != 8 || doc_.Image.get() != image_ || img->biWidth != width_ ||
      img->biHeight != height_)
    return changed;
  const int w = st->biWidth, h = st->biHeight;
  const long long left = static_cast<long long>(at.x) - w / 2 + scroll_.x;
  const long long top = static_cast<long long>(at.y) - h / 2 + scroll_.y;
  const int i0 = static_cast<int>(std::clamp<long long>(-left, 0, w));
  const int i1 = static_cast<int>(std::clamp<long long>(width_ - left, 0, w));
  const int j0 = static_cast<int>(std::clamp<long long>(-top, 0, h));
  const int j1 = static_cast<int>(std::clamp<long long>(height_ - top, 0, h));
  if (i0 >= i1 || j0 >= j1) return changed;
  const int bytes = CopyBytes(img->biBitCount);
  BYTE* cov = coverage_->data();
  BYTE* copy = copy_->data();
  for (int j = j0; j < j1; ++j) {
    const BYTE* s = DibRow(st, j);
    const int py = static_cast<int>(top) + j;
    for (int i = i0; i < i1; ++i) {
      const int value = s[i];
      const int px = static_cast<int>(left) + i;
      const std::size_t at1 = static_cast<std::size_t>(py) * static_cast<std::size_t>(width_) + px;
      if (value <= cov[at1]) continue;
      BYTE* o = copy + at1 * static_cast<std::size_t>(bytes);
      if (cov[at1] == 0) {
        const std::uint32_t p = GetDibPixel(img, px, py);
        for (int b = 0; b < bytes; ++b) o[b] = static_cast<BYTE>(p >> (8 * b));
      }
      cov[at1] = static_cast<BYTE>(value);
      std::uint32_t original = 0;
      for (int b = 0; b < bytes; ++b) original |= static_cast<std::uint32_t>(o[b]) << (8 * b);
      std::uint32_t blended = CoverageBlend(original, colour_, value);
      if (bytes == 4) blended |= original & 0xFF000000u;  // the fourth byte isn't a colour
      PutDibPixel(img, px, py, blended);
    }
  }
  changed = RECT{static_cast<int>(left) + i0, static_cast<int>(top) + j0, static_cast<int>(left) + i1,
                 static_cast<int>(top) + j1};
  return changed;
}

// ---- The tool --------------------------------------------------------------------------------

SpraycanTool::~SpraycanTool() = default;

POINT SpraycanTool::Unzoomed(int x, int y) const {
  const BLOCKSET* r = document->record();
  return POINT{UnZoom(r, x + window.left), UnZoom(r, y + window.top)};
}

void SpraycanTool::StopTimer() {
  if (timer_) document->host()->StopTimer(this, kSprayTimer);
  timer_ = 0;
}

void SpraycanTool::OnRefresh(unsigned) {
  FitToLimitRect();
  param.Tool = TOOL_SPRAYCAN;
  sprayTemplate_ = CreateSpraycan(document->record()->SpraycanThickness);
  if (!sprayTemplate_) document->FailSession(false);
}

void SpraycanTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
  if (message == UM_SETTINGCHANGED) {
    sprayTemplate_ = CreateSpraycan(document->record()->SpraycanThickness);
    if (!sprayTemplate_) document->FailSession(Painting());
  }
}

int SpraycanTool::DrawSpraycan(int x, int y) {
  if (!stroke_ || !stroke_->Painting()) return 0;
  const BLOCKSET* r = document->record();
  HDIB spot = RenderSpraycan(sprayList_, static_cast<std::uint32_t>(r->Opacity), 0, r->SpraycanFlow);
  if (!spot) return 0;
  const RECT changed = stroke_->Lay(spot, Unzoomed(x, y));
  if (changed.right > changed.left && changed.bottom > changed.top) document->host()->InvalidateImage(changed);
  return 1;
}

void SpraycanTool::DrawSpraycanLine(int x0, int y0, int x1, int y1) {
  if (!stroke_ || !stroke_->Painting()) return;
  // Only points whose spot can reach the image are walked: the image in tool
  // window points, widened by the disc on every side.
  const SPRAYLIST* t = LockSprayList(sprayTemplate_);
  const long long reach = (t ? t->width : kMaxSprayDiameter) + 1;
  const BLOCKSET* r = document->record();
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  if (!h) return;
  auto limit = [](long long v) {
    return static_cast<std::int32_t>(std::clamp<long long>(v, INT32_MIN / 2, INT32_MAX / 2));
  };
  const long long sx = pressScrollX_, sy = pressScrollY_;
  // Zoomed bounds: a point maps to UnZoom(point); one view pixel per image
  // pixel is the least any scale gives, so the zoomed span covers them all.
  const long long zx0 = Zoom(r, static_cast<int>(std::clamp<long long>(-sx - reach, -(1LL << 20), 1LL << 20)));
  const long long zy0 = Zoom(r, static_cast<int>(std::clamp<long long>(-sy - reach, -(1LL << 20), 1LL << 20)));
  const long long zx1 =
      Zoom(r, static_cast<int>(std::clamp<long long>(h->biWidth - sx + reach, -(1LL << 20), 1LL << 20)));
  const long long zy1 =
      Zoom(r, static_cast<int>(std::clamp<long long>(h->biHeight - sy + reach, -(1LL << 20), 1LL << 20)));
  const RECT clip{limit(zx0 - window.left - 1), limit(zy0 - window.top - 1), limit(zx1 - window.left + 2),
                  limit(zy1 - window.top + 2)};
  StepBrushLine(
      POINT{x0, y0}, POINT{x1, y1},
      [&](int x, int y) {
        DrawSpraycan(x, y);  // a spot that can't be rendered is skipped
        sprayList_ = DuplicateObject(sprayTemplate_);
      },
      &clip);
}

void SpraycanTool::OnLButtonDown(int x, int y, unsigned) {
  if (Painting()) return;
  BLOCKSET* r = document->record();
  lastX_ = x;
  lastY_ = y;
  cursor_ = POINT{x, y};
  CreateUndo(r);
  document->host()->UpdateMenuStates();
  sprayList_ = DuplicateObject(sprayTemplate_);
  stroke_ = std::make_unique<SprayStroke>(*r);
  pressScrollX_ = document->host()->ScrollX();
  pressScrollY_ = document->host()->ScrollY();
  if (!sprayList_ || !stroke_->Press(r->PaintColour, POINT{pressScrollX_, pressScrollY_})) {
    stroke_.reset();
    sprayList_.reset();
    document->FailSession(true);
    return;
  }
  painting_ = 1;
  DrawSpraycan(x, y);
  timer_ = kSprayTimer;
  document->host()->StartTimer(this, kSprayTimer, kSprayPeriod);
  document->host()->CaptureMouse(this);
}

void SpraycanTool::OnMouseMove(int x, int y, unsigned) {
  cursor_ = POINT{x, y};
  if (Painting() && (x != lastX_ || y != lastY_)) {
    DrawSpraycanLine(lastX_, lastY_, x, y);
    lastX_ = x;
    lastY_ = y;
  }
  POINT p = document->ImagePointOfView(x + window.left, y + window.top);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", p.x, p.y);
  document->host()->StatusText(text);
}

void SpraycanTool::OnTimer(int id) {
  if (id != kSprayTimer || !Painting() || !timer_) return;
  // The cursor outran the mouse events: the spray stops until the next press.
  if (std::abs(static_cast<long long>(cursor_.x) - lastX_) > SpraycanMotion ||
      std::abs(static_cast<long long>(cursor_.y) - lastY_) > SpraycanMotion) {
    StopTimer();
    return;
  }
  if (!DrawSpraycan(lastX_, lastY_)) StopTimer();
}

void SpraycanTool::OnLButtonUp(int, int, unsigned) {
  const bool painting = Painting();
  painting_ = 0;
  if (stroke_) stroke_->Release();
  stroke_.reset();
  StopTimer();
  sprayList_.reset();
  if (painting) {
    document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
    document->host()->ReleaseMouse();
  }
}

void SpraycanTool::OnRButtonDown(int x, int y, unsigned) {
  if (Painting()) return;
  document->TakeColour(x + window.left, y + window.top, false);
}

}  // namespace ochrel
