#include "tools/shapetools.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "image/lineangle.h"
#include "frame/view.h"
#include "tools/shapecomposite.h"

namespace ochrel {

namespace {
constexpr int kDragCursor = 6008;
constexpr int kRestCursor = 6003;
}  // namespace

// ---- The 45-degree constraint -----------------------------------------------------------

POINT ConstrainToAngle(POINT from, POINT to) {
  const int a = GetLineAngle(from, to);
  const int ax = std::abs(from.x - to.x), ay = std::abs(from.y - to.y);
  const int m = ax <= ay ? ay : ax;
  if (a < 30) return POINT{to.x, from.y};
  if (a < 60) return POINT{from.x + m, from.y - m};
  if (a < 120) return POINT{from.x, to.y};
  if (a < 150) return POINT{from.x - m, from.y - m};
  if (a < 210) return POINT{to.x, from.y};
  if (a < 240) return POINT{from.x - m, from.y + m};
  if (a < 300) return POINT{from.x, to.y};
  if (a < 330) return POINT{from.x + m, from.y + m};
  return POINT{to.x, from.y};
}

// ---- Commits ------------------------------------------------------------------------------

int InsetLine(BLOCKSET* r, POINT start, POINT end, RECT rect, RECT* changed) {
  if (changed) *changed = RECT{};
  WRAPPERBLOCK block;
  block.Operation = WRAPPER_LINE;
  block.Rect = rect;
  block.Opacity = r->Opacity;
  block.Antialias = ShapeAntialias(r);
  for (int i = 0; i < 256; ++i)
    block.Palette[3 * i] = block.Palette[3 * i + 1] = block.Palette[3 * i + 2] = static_cast<BYTE>(i);
  block.Line.X0 = start.x;
  block.Line.Y0 = start.y;
  block.Line.X1 = end.x;
  block.Line.Y1 = end.y;
  block.Line.LineThickness = r->LineThickness;
  block.Line.LineCap = r->LineCap;
  block.Line.Coverage = static_cast<std::int32_t>(CoverageValue(r->Opacity));
  HDIB mask = OCHLWRPR_proc(&block).Dib;
  const BITMAPINFOHEADER* m = LockDib(mask);
  BITMAPINFOHEADER* image = LockDib(r->Image);
  if (!m || !image) return 0;
  const int k = r->LineThickness / 2 + 4;
  RECT done = BlendThroughMask(image, m, rect.left - k, rect.top - k, r->PaintColour);
  if (changed) *changed = done;
  return 1;
}

namespace {
int InsetBoxShape(BLOCKSET* r, RECT rect, int operation, RECT* changed) {
  WRAPPERBLOCK block;
  block.Operation = operation;
  block.Rect = rect;
  block.Shape.Box = RECT{4, 4, rect.right - rect.left + 4, rect.bottom - rect.top + 4};
  block.Shape.LineThickness = r->LineThickness;
  return CompositeShape(r, &block, rect.left - 4, rect.top - 4, changed);
}
}  // namespace

int InsetRectangle(BLOCKSET* r, RECT rect, RECT* changed) { return InsetBoxShape(r, rect, WRAPPER_RECTANGLE, changed); }
int InsetEllipse(BLOCKSET* r, RECT rect, RECT* changed) { return InsetBoxShape(r, rect, WRAPPER_ELLIPSE, changed); }

// ---- The session ----------------------------------------------------------------------------

void ShapeTool::OnCreate(int x, int y) {
  create_ = POINT{x, y};
  // The mouse belongs to the drag from the start, so that a release that
  // comes before the posted press still ends it.
  document->Capture(this);
}

void ShapeTool::OnRefresh(unsigned flags) {
  if (pressed_) return;  // a last word before the end: the window stays where the drag put it
  param.Flags = flags;
  POINT s = document->SnapPoint(create_);
  PlaceWindow(s.x, s.y, 0, 0);
  param.OriginX = window.left;
  param.OriginY = window.top;
}

void ShapeTool::PlaceWindow(int left, int top, int width, int depth) {
  const BLOCKSET* r = document->record();
  if (Zoom(r, 100) > 100) {
    // Above 100 percent the window lies on whole image pixels.
    auto whole = [r](int v) { return Zoom(r, UnZoom(r, v)); };
    left = whole(left);
    top = whole(top);
    width = whole(width);
    depth = whole(depth);
  }
  window = RECT{left, top, left + width, top + depth};
  windowX_ = left;
  windowY_ = top;
}

RECT ShapeTool::ImageRect() const {
  const BLOCKSET* r = document->record();
  const int sx = document->host()->ScrollX(), sy = document->host()->ScrollY();
  return RECT{UnZoom(r, window.left) + sx, UnZoom(r, window.top) + sy, UnZoom(r, window.right) + sx,
              UnZoom(r, window.bottom) + sy};
}

void ShapeTool::ShowRect() {
  const RECT i = ImageRect();
  char text[96];
  std::snprintf(text, sizeof text, "(%d,%d) - (%d,%d) [ %d,%d ]", i.left, i.top, i.right, i.bottom, i.right - i.left,
                i.bottom - i.top);
  document->host()->StatusText(text);
}

void ShapeTool::InvertPreview() {
  ToolHost* host = document->host();
  if (IsLine()) {
    const BLOCKSET* r = document->record();
    // The ends are kept unzoomed; the screen shows them at the view's scale.
    POINT a{window.left + Zoom(r, lineStart_.x), window.top + Zoom(r, lineStart_.y)};
    POINT b{window.left + Zoom(r, lineEnd_.x), window.top + Zoom(r, lineEnd_.y)};
    host->InvertLine(a, b);
  } else if (param.Tool == TOOL_ELLIPSE) {
    host->InvertEllipse(window);
  } else {
    host->InvertRectangle(window);
  }
  shown_ = !shown_;
}

void ShapeTool::OnLButtonDown(int, int, unsigned) {
  if (pressed_) return;
  pressed_ = true;
  document->Capture(this);
  param.Cursor = kDragCursor;
  document->host()->SetCursor(kDragCursor);
  press_ = document->SnapPoint(create_);
  last_ = press_;
  if (IsLine()) {
    lastX_ = press_.x - window.left;
    lastY_ = press_.y - window.top;
    // A line is never an empty window: a click alone still leaves a dot.
    const int z = std::max(1, Zoom(document->record(), 1));
    PlaceWindow(window.left, window.top, 2 * z, 2 * z);
  }
}

void ShapeTool::OnMouseMove(int x, int y, unsigned keys) {
  if (!pressed_) return;
  ToolHost* host = document->host();
  const bool ctrl = (keys & MK_CONTROL) || host->ControlDown();
  POINT c = document->SnapPoint(POINT{x + window.left, y + window.top});
  // The line's constraint needs a cursor off the press point on both axes.
  if (IsLine() && ctrl && c.x != press_.x && c.y != press_.y) c = ConstrainToAngle(press_, c);
  if (c == last_) return;
  int dx = c.x - press_.x, dy = c.y - press_.y;
  if (!IsLine() && ctrl) {
    const int s = std::abs(dx) > std::abs(dy) ? std::abs(dx) : std::abs(dy);
    dx = dx > 0 ? s : -s;
    dy = dy > 0 ? s : -s;
  }
  if (shown_) InvertPreview();
  const int left = param.OriginX + std::min(dx, 0), top = param.OriginY + std::min(dy, 0);
  const int w = std::abs(dx), d = std::abs(dy);
  if (IsLine()) {
    const int z = std::max(1, Zoom(document->record(), 1));
    PlaceWindow(left, top, w + 2 * z, d + 2 * z);
    // From the corner nearest the press to the opposite one.
    POINT a, b;
    if (dx >= 0 && dy >= 0) a = POINT{0, 0}, b = POINT{w, d};
    else if (dx >= 0) a = POINT{0, d}, b = POINT{w, 0};
    else if (dy < 0) a = POINT{w, d}, b = POINT{0, 0};
    else a = POINT{w, 0}, b = POINT{0, d};
    const BLOCKSET* r = document->record();
    lineStart_ = POINT{UnZoom(r, a.x), UnZoom(r, a.y)};
    lineEnd_ = POINT{UnZoom(r, b.x), UnZoom(r, b.y)};
  } else {
    PlaceWindow(left, top, w, d);
  }
  InvertPreview();
  last_ = c;
  ShowRect();
}

void ShapeTool::OnLButtonUp(int x, int y, unsigned keys) {
  // A release that overtook the posted press: the press happens now.
  if (!pressed_) OnLButtonDown(x, y, keys);
  if (shown_) InvertPreview();
  document->ReleaseCapture();
  if (window.right > window.left && window.bottom > window.top) ShowRect();
  param.Cursor = kRestCursor;
  document->host()->SetCursor(kRestCursor);
  document->DestroyToolParam();  // commits; this session lives to the end of the event
}

void ShapeTool::Commit() {
  if (shown_) InvertPreview();
  BLOCKSET* r = document->record();
  const RECT rect = ImageRect();
  RECT changed{};
  if (IsLine()) InsetLine(r, lineStart_, lineEnd_, rect, &changed);
  else if (param.Tool == TOOL_ELLIPSE) InsetEllipse(r, rect, &changed);
  else InsetRectangle(r, rect, &changed);
  if (changed.right > changed.left && changed.bottom > changed.top) document->host()->InvalidateImage(changed);
}

}  // namespace ochrel
