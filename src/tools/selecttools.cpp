#include "tools/selecttools.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "frame/view.h"
#include "frame/settings.h"

namespace ochrel {

namespace {

constexpr int kKeyLeft = 0x25, kKeyUp = 0x26, kKeyRight = 0x27, kKeyDown = 0x28;

std::int64_t PackPoint(int x, int y) {
  return static_cast<std::int64_t>((static_cast<std::uint32_t>(y & 0xFFFF) << 16) |
                                   static_cast<std::uint32_t>(x & 0xFFFF));
}

RECT Union(const RECT& a, const RECT& b) {
  return RECT{std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
              std::max(a.bottom, b.bottom)};
}

bool Empty(const RECT& r) { return r.right <= r.left || r.bottom <= r.top; }

void Say(ToolHost* host, const char* format, POINT* mouse, const RECT& r) {
  char text[128];
  if (mouse)
    std::snprintf(text, sizeof text, format, mouse->x, mouse->y, r.left, r.top, r.right, r.bottom, r.right - r.left,
                  r.bottom - r.top);
  else std::snprintf(text, sizeof text, format, r.left, r.top, r.right, r.bottom, r.right - r.left, r.bottom - r.top);
  host->StatusText(text);
}

}  // namespace

// ---- The floating fragment ------------------------------------------------------------------

RECT SelectorTool::CommitRect() const {
  const BITMAPINFOHEADER* f = LockDib(param.Fragment);
  const int x = imageX_ + scrollX_, y = imageY_ + scrollY_;
  return RECT{x, y, x + (f ? f->biWidth : 0), y + (f ? f->biHeight : 0)};
}

void SelectorTool::MoveWindow(RECT to) {
  const RECT from = window;
  window = to;
  windowX_ = to.left;
  windowY_ = to.top;
  // What the old place showed comes back from the view's own picture; the
  // fragment is drawn at the new one.
  document->host()->RepaintView(Union(from, to));
}

void SelectorTool::StorePlace() {
  const BLOCKSET* r = document->record();
  windowX_ = param.OriginX = window.left;
  windowY_ = param.OriginY = window.top;
  scrollX_ = document->host()->ScrollX();
  scrollY_ = document->host()->ScrollY();
  imageX_ = UnZoom(r, window.left);
  imageY_ = UnZoom(r, window.top);
  param.Flags |= TF_PLACED;
}

void SelectorTool::Reposition() {
  if (!param.Fragment) return;
  const BLOCKSET* r = document->record();
  const BITMAPINFOHEADER* f = LockDib(param.Fragment);
  const int sx = document->host()->ScrollX(), sy = document->host()->ScrollY();
  // The image place stays; the window follows the scroll and the scale.
  imageX_ += scrollX_ - sx;
  imageY_ += scrollY_ - sy;
  scrollX_ = sx;
  scrollY_ = sy;
  const int left = Zoom(r, imageX_), top = Zoom(r, imageY_);
  MoveWindow(RECT{left, top, left + std::max(1, Zoom(r, f->biWidth)), top + std::max(1, Zoom(r, f->biHeight))});
  param.OriginX = left;
  param.OriginY = top;
}

bool SelectorTool::CutOut(RECT r, HDIB shape, bool pasteModeOff) {
  BLOCKSET* bs = document->record();
  ToolHost* host = document->host();
  RECT image{};
  GetImageRect(bs, &image);
  const RECT asked = r;
  r = RECT{std::max(r.left, image.left), std::max(r.top, image.top), std::min(r.right, image.right),
           std::min(r.bottom, image.bottom)};
  if (Empty(r)) return false;
  // Only what lies on the image is selected; the shape is cut to match.
  if (shape && !(r == asked)) {
    shape = CropImage(shape, RECT{r.left - asked.left, r.top - asked.top, r.right - asked.left, r.bottom - asked.top});
    if (!shape) return false;
  }
  param.Fragment = CropImage(bs->Image, r);
  if (!param.Fragment) return false;  // nothing floats, nothing is lifted
  if (shape) {
    param.SelectFrame = FrameFromMask(shape);
    param.SelectShape = std::move(shape);
  }
  const int mode = bs->FragmentPasteMode;
  if (pasteModeOff) bs->FragmentPasteMode = 0;
  CreateSelectMasks(&param, bs);
  bs->FragmentPasteMode = mode;
  // One Undo brings back the image as it was before the selection.
  CreateUndo(bs);
  cutOut_ = true;
  if (param.Flags & (TF_LIFT | TF_CUT | TF_CLEAR)) {
    if (param.SelectShape) InsetSolidMask(bs->Image, bs->PaperColour, r, param.SelectShape);
    else InsetSolidRectangle(bs->Image, bs->PaperColour, r);
    host->InvalidateImage(r);
  }
  const int sx = host->ScrollX(), sy = host->ScrollY();
  selectRect_ = RECT{r.left - sx, r.top - sy, r.right - sx, r.bottom - sy};
  scrollX_ = sx;
  scrollY_ = sy;
  imageX_ = r.left - sx;
  imageY_ = r.top - sy;
  param.Flags |= TF_PLACED;
  Reposition();
  param.Cursor = kMoveCursor;
  host->SetCursor(kMoveCursor);
  host->UpdateMenuStates();
  return true;
}

void SelectorTool::Float(HDIB image) {
  param.Fragment = std::move(image);
  param.SelectShape.reset();
  param.SelectFrame.reset();
  CreateSelectMasks(&param, document->record());
  cutOut_ = true;
  const BITMAPINFOHEADER* f = LockDib(param.Fragment);
  selectRect_ = RECT{0, 0, f ? f->biWidth : 0, f ? f->biHeight : 0};
  scrollX_ = document->host()->ScrollX();
  scrollY_ = document->host()->ScrollY();
  imageX_ = imageY_ = 0;
  param.Flags |= TF_PLACED;
  Reposition();
  document->host()->UpdateMenuStates();
  // As after a drag: the press that made the session comes first, then this
  // release, and the fragment rests at the view's top left.
  document->Post(RECV_TOOL, WM_LBUTTONUP, 0, PackPoint(0, 0));
}

void SelectorTool::PressFragment(POINT v, bool) {
  document->Capture(this);
  press_ = snapMoves_ ? document->SnapPoint(v) : v;
  last_ = POINT{-1, -1};
  param.Dragging = 1;
  param.OriginX = window.left;
  param.OriginY = window.top;
}

void SelectorTool::MoveFragment(POINT v) {
  const POINT p = snapMoves_ ? document->SnapPoint(v) : v;
  if (p == last_) return;
  const int left = param.OriginX + p.x - press_.x, top = param.OriginY + p.y - press_.y;
  MoveWindow(RECT{left, top, left + (window.right - window.left), top + (window.bottom - window.top)});
  last_ = p;
  moved_ = 1;
  // The drag keeps measuring from where the window stood at the press.
  const int ox = param.OriginX, oy = param.OriginY;
  StorePlace();
  param.OriginX = ox;
  param.OriginY = oy;
  ShowFloatingStatus(v);
}

void SelectorTool::ReleaseFragment() {
  param.Dragging = 0;
  document->ReleaseCapture();
  param.Cursor = kMoveCursor;
  document->host()->SetCursor(kMoveCursor);
  StorePlace();
}

void SelectorTool::ShowFloatingStatus(POINT v) {
  const BLOCKSET* r = document->record();
  const int sx = document->host()->ScrollX(), sy = document->host()->ScrollY();
  POINT mouse{UnZoom(r, v.x) + sx, UnZoom(r, v.y) + sy};
  const RECT i = CommitRect();
  Say(document->host(), "(%d,%d) - (%d,%d) - (%d,%d) [ %d,%d ]", &mouse, i);
}

void SelectorTool::OnKeyDown(int key) {
  if (!param.Fragment || key < kKeyLeft || key > kKeyDown) return;
  const BLOCKSET* r = document->record();
  ToolHost* host = document->host();
  const int step = std::max(Zoom(r, NudgeSize), 1);
  const int w = window.right - window.left, d = window.bottom - window.top;
  int x = window.left, y = window.top;
  switch (key) {
    case kKeyLeft:
      if (x + w < 0) return;
      x -= step;
      break;
    case kKeyUp:
      if (y + d < 0) return;
      y -= step;
      break;
    case kKeyRight:
      if (x > host->ClientWidth()) return;
      x += step;
      break;
    default:
      if (y > host->ClientHeight()) return;
      y += step;
      break;
  }
  // A nudge is no drag: a fragment only nudged is laid down at full strength.
  MoveWindow(RECT{x, y, x + w, y + d});
  StorePlace();
}

void SelectorTool::OnMessage(int message, std::int64_t, std::int64_t) {
  switch (message) {
    case UM_SCROLLED:
    case UM_WINDOWRESIZED:
    case UM_VIEWCHANGED: Reposition(); break;
    case UM_FRAGMENTCHANGED: {
      const BITMAPINFOHEADER* f = LockDib(param.Fragment);
      if (!f) break;
      selectRect_.right = selectRect_.left + f->biWidth;
      selectRect_.bottom = selectRect_.top + f->biHeight;
      Reposition();
      document->host()->RepaintView(window);
      break;
    }
    default: break;
  }
}

void SelectorTool::Popup(POINT v, bool tiles) {
  const BITMAPINFOHEADER* f = LockDib(param.Fragment);
  tiles = tiles && f && document->record()->ImageType == IMAGE_TRUECOLOUR && f->biWidth <= 256 && f->biHeight <= 256;
  document->host()->ShowSelectionPopup(v, tiles);
}

void SelectorTool::Commit() {
  BLOCKSET* bs = document->record();
  ToolHost* host = document->host();
  if (!param.Fragment) return;
  if (param.Flags & (TF_CUT | TF_CLEAR)) {
    host->RepaintView(window);
    return;
  }
  const RECT rect = CommitRect();
  // Only a fragment that was dragged takes the opacity; one left in place, or
  // only nudged, goes back whole.
  InsetBitmap(bs->Image, param.Fragment, param.SelectMask, rect, moved_ ? bs->Opacity : 255);
  host->InvalidateImage(rect);
  host->RepaintView(window);
}

// ---- Rectangle selector -------------------------------------------------------------------

void RectSelectTool::OnCreate(int x, int y) {
  param.OriginX = x;
  param.OriginY = y;
  window = RECT{x, y, x, y};
}

void RectSelectTool::OnRefresh(unsigned flags) {
  const unsigned kept = param.Flags & (TF_PLACED | TF_FRAMED);
  param.Flags = flags | kept;
  if (!param.Fragment && !(flags & TF_SELECTALL)) {
    const POINT p = document->SnapPoint(POINT{param.OriginX, param.OriginY});
    window = RECT{p.x, p.y, p.x, p.y};
    param.OriginX = windowX_ = p.x;
    param.OriginY = windowY_ = p.y;
  }
  if (!document->host()->AltDown()) param.Flags |= TF_LIFT;
  if (!param.Fragment && (flags & TF_SELECTALL)) {
    // The whole image, wherever the view stands; the cut-out follows at once.
    const BLOCKSET* r = document->record();
    RECT image{};
    GetImageRect(r, &image);
    const int left = -Zoom(r, document->host()->ScrollX()), top = -Zoom(r, document->host()->ScrollY());
    window = RECT{left, top, left + Zoom(r, image.right), top + Zoom(r, image.bottom)};
    param.OriginX = windowX_ = left;
    param.OriginY = windowY_ = top;
    document->Post(RECV_TOOL, WM_LBUTTONUP, 0, PackPoint(0, 0));
  }
}

void RectSelectTool::OnLButtonDown(int x, int y, unsigned) {
  const POINT v = ViewPoint(x, y);
  if (param.Fragment) {
    PressFragment(v, true);
    return;
  }
  if (pressed_) return;
  pressed_ = true;
  document->Capture(this);
  param.Cursor = kRectSelectCursor;
  param.Dragging = 1;
  press_ = document->SnapPoint(v);
  last_ = POINT{-1, -1};
}

void RectSelectTool::EraseFrame() {
  if (!(param.Flags & TF_FRAMED)) return;
  document->host()->InvertFocusRect(frameRect_);
  param.Flags &= ~TF_FRAMED;
}

void RectSelectTool::FrameStep(POINT v, unsigned keys) {
  ToolHost* host = document->host();
  const POINT p = document->SnapPoint(v);
  if (p == last_) return;
  last_ = p;
  int dx = p.x - press_.x, dy = p.y - press_.y;
  if ((keys & MK_CONTROL) || host->ControlDown()) {
    const int s = std::max(std::abs(dx), std::abs(dy));
    dx = dx > 0 ? s : -s;
    dy = dy > 0 ? s : -s;
  }
  if (param.OriginX + dx < 0) dx = -param.OriginX;
  if (param.OriginY + dy < 0) dy = -param.OriginY;
  const RECT limit = document->GetLimitRect();
  const int left = param.OriginX + std::min(dx, 0), top = param.OriginY + std::min(dy, 0);
  const int w = std::max(0, std::min(std::abs(dx), limit.right - left));
  const int d = std::max(0, std::min(std::abs(dy), limit.bottom - top));
  EraseFrame();
  window = RECT{left, top, left + w, top + d};
  windowX_ = left;
  windowY_ = top;
  frameRect_ = window;
  if (w > 0 && d > 0) {
    host->InvertFocusRect(window);
    param.Flags |= TF_FRAMED;
  }
  const BLOCKSET* r = document->record();
  const int sx = host->ScrollX(), sy = host->ScrollY();
  const int il = UnZoom(r, left) + sx, it = UnZoom(r, top) + sy;
  Say(host, "(%d,%d) - (%d,%d) [ %d,%d ]", nullptr, RECT{il, it, il + UnZoom(r, w), it + UnZoom(r, d)});
}

void RectSelectTool::OnMouseMove(int x, int y, unsigned keys) {
  const POINT v = ViewPoint(x, y);
  if (document->captured() == this) {
    if (param.Fragment) MoveFragment(v);
    else FrameStep(v, keys);
    return;
  }
  if (param.Fragment) {
    document->host()->SetCursor(param.Cursor);
    ShowFloatingStatus(v);
  }
}

void RectSelectTool::OnLButtonUp(int x, int y, unsigned keys) {
  if (param.Fragment) {
    if (document->captured() == this) ReleaseFragment();
    return;
  }
  // A release that overtook the posted press: the press happens now.
  if (!pressed_) OnLButtonDown(x, y, keys);
  param.Dragging = 0;
  if (document->captured() != this) return;
  document->ReleaseCapture();
  EraseFrame();
  const BLOCKSET* r = document->record();
  const int sx = document->host()->ScrollX(), sy = document->host()->ScrollY();
  RECT image{};
  GetImageRect(r, &image);
  RECT cut = image;
  if (!(param.Flags & TF_SELECTALL)) {
    const int left = UnZoom(r, window.left) + sx, top = UnZoom(r, window.top) + sy;
    cut = RECT{left, top, left + UnZoom(r, window.right - window.left), top + UnZoom(r, window.bottom - window.top)};
  }
  // A click without a drag, or a frame that holds no pixel, ends the session
  // with nothing changed.
  if (Empty(window) || !CutOut(cut, nullptr, false)) document->DestroyToolParam();
}

void RectSelectTool::OnRButtonDown(int x, int y, unsigned) { Popup(ViewPoint(x, y), true); }

void RectSelectTool::Commit() {
  EraseFrame();
  SelectorTool::Commit();
}

// ---- Lasso and wand ----------------------------------------------------------------------------

void IrregularSelectTool::OnRefresh(unsigned flags) {
  param.Flags = flags;
  param.OriginX = window.left;
  param.OriginY = window.top;
  if (!param.Fragment) FitToLimitRect();
}

bool IrregularSelectTool::InShape(int x, int y) const {
  const BITMAPINFOHEADER* shape = LockDib(param.SelectShape);
  if (!shape) return true;
  const BLOCKSET* r = document->record();
  return GetDibPixel(shape, UnZoom(r, x), UnZoom(r, y)) == 1;
}

void IrregularSelectTool::Restart() {
  // The session ends (laying down what floats) and a fresh one stands ready.
  DocumentTools* doc = document;
  const int tool = param.Tool;
  doc->DestroyToolParam();
  doc->PrepareToolFunction(tool);
}

void IrregularSelectTool::OnMessage(int message, std::int64_t wParam, std::int64_t lParam) {
  if (message == UM_ENDSELECTION) {
    Restart();
    return;
  }
  if (!param.Fragment) {
    if (message == UM_WINDOWRESIZED || message == UM_VIEWCHANGED) FitToLimitRect();
    return;
  }
  if (message == UM_WINDOWRESIZED) {
    document->Post(RECV_TOOL, UM_SCROLLED);
    return;
  }
  SelectorTool::OnMessage(message, wParam, lParam);
}

void IrregularSelectTool::OnLButtonDown(int x, int y, unsigned) {
  const POINT v = ViewPoint(x, y);
  if (param.Fragment) {
    // A press outside the shape, though inside its rectangle, lays the selection down.
    if (!InShape(x, y)) document->Post(RECV_TOOL, UM_ENDSELECTION);
    PressFragment(v, false);
    return;
  }
  document->Capture(this);
  press_ = v;
  points_.clear();
  if (IsLasso()) {
    chainEnd_ = v;
    chainStart_ = v;
    points_.push_back(v);
  }
  param.Cursor = IsLasso() ? kLassoCursor : kWandCursor;
  if (!document->host()->AltDown()) param.Flags |= TF_LIFT;
  else param.Flags &= ~TF_LIFT;
}

void IrregularSelectTool::Trace(POINT v) {
  const BLOCKSET* r = document->record();
  // Above 100 percent the chain runs on whole image pixels.
  const POINT p{Zoom(r, UnZoom(r, v.x)), Zoom(r, UnZoom(r, v.y))};
  points_.push_back(p);
  document->host()->InvertLine(chainEnd_, p);
  chainEnd_ = p;
}

void IrregularSelectTool::OnMouseMove(int x, int y, unsigned) {
  const POINT v = ViewPoint(x, y);
  const bool captured = document->captured() == this;
  if (param.Fragment) {
    if (captured) {
      MoveFragment(v);
      return;
    }
    param.Cursor = InShape(x, y) ? kMoveCursor : (IsLasso() ? kLassoCursor : kWandCursor);
    document->host()->SetCursor(param.Cursor);
    ShowFloatingStatus(v);
    return;
  }
  if (captured && IsLasso()) Trace(v);
  const POINT i = document->ImagePointOfView(v.x, v.y);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", i.x, i.y);
  document->host()->StatusText(text);
}

void IrregularSelectTool::OnLButtonUp(int x, int y, unsigned) {
  const POINT v = ViewPoint(x, y);
  if (param.Fragment) {
    if (document->captured() == this) ReleaseFragment();
    return;
  }
  if (document->captured() != this) return;
  document->ReleaseCapture();
  if (IsLasso()) CutOutLasso(v);
  else CutOutWand(v);
}

void IrregularSelectTool::CutOutLasso(POINT v) {
  Trace(v);
  if (!(chainEnd_ == chainStart_)) points_.push_back(chainStart_);
  // The chain on the screen goes with the redraw.
  document->host()->InvalidateView();
  const BLOCKSET* r = document->record();
  std::vector<POINT> points = points_;
  HDIB shape;
  RECT frame{};
  if (LimitPolygon(&points, document->GetLimitRect())) {
    UnZoomPolygon(r, &points);
    GetPolygonFrame(&frame, points);
    shape = PolygonToMask(points);
  }
  points_ = points;
  const int sx = document->host()->ScrollX(), sy = document->host()->ScrollY();
  const RECT cut{frame.left + sx, frame.top + sy, frame.right + sx, frame.bottom + sy};
  // An empty shape selects nothing: the lasso stands ready again at once.
  if (!shape || !CutOut(cut, std::move(shape), false)) document->Post(RECV_TOOL, UM_ENDSELECTION);
}

void IrregularSelectTool::CutOutWand(POINT v) {
  const POINT seed = document->ImagePointOfView(v.x, v.y);
  RECT region{};
  HDIB shape = PointToMask(document->record(), seed.x, seed.y, &region);
  // The wand's mask is its shape alone: the paste mode stays out of it.
  if (!shape || !CutOut(region, std::move(shape), true)) document->Post(RECV_TOOL, UM_ENDSELECTION);
}

void IrregularSelectTool::OnRButtonDown(int x, int y, unsigned) { Popup(ViewPoint(x, y), false); }

}  // namespace ochrel
