#include "tools/replacertools.h"

#include <algorithm>
#include <cstdio>

#include "image/colourblend.h"
#include "frame/strings.h"
#include "frame/view.h"
#include "tools/brushstamp.h"
#include "tools/brushstroke.h"
#include "tools/floodfill.h"

namespace ochrel {
namespace {

constexpr int kReplacingCursor = 6020;
constexpr int kReplacerCursor = 6019;

void Include(RECT* r, RECT add) {
  if (!r || add.left >= add.right || add.top >= add.bottom) return;
  if (r->left >= r->right || r->top >= r->bottom) {
    *r = add;
    return;
  }
  r->left = std::min(r->left, add.left);
  r->top = std::min(r->top, add.top);
  r->right = std::max(r->right, add.right);
  r->bottom = std::max(r->bottom, add.bottom);
}

void ShowStatus(ToolSession* t, int x, int y) {
  POINT p = t->document->ImagePointOfView(x + t->window.left, y + t->window.top);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", p.x, p.y);
  t->document->host()->StatusText(text);
}

void Show(DocumentTools* doc, const RECT& r) {
  if (r.right > r.left && r.bottom > r.top) doc->host()->InvalidateImage(r);
}

}  // namespace

// ---- Colour replacer ------------------------------------------------------------------------

int UpdateReplacerPixels(BLOCKSET* bs, const HDIB& copy, POINT at, POINT scroll, RECT* changed) {
  BITMAPINFOHEADER* img = LockDib(bs->Image);
  const BITMAPINFOHEADER* old = LockDib(copy);
  if (!img || !old) return 0;
  const int s = std::max(1, bs->ReplacerSize);
  const int left = at.x - s / 2 + scroll.x, top = at.y - s / 2 + scroll.y;
  const int i0 = std::max(0, -left), j0 = std::max(0, -top);
  const int i1 = std::min(s, old->biWidth - left), j1 = std::min(s, old->biHeight - top);
  if (i0 >= i1 || j0 >= j1) return 1;
  const std::uint32_t paper = bs->PaperColour, paint = bs->PaintColour;
  const int m = std::clamp(bs->Opacity, 0, 255);
  for (int j = j0; j < j1; ++j)
    for (int i = i0; i < i1; ++i) {
      const std::uint32_t o = GetDibPixel(old, left + i, top + j);
      if (o == NOPIXEL || !MatchPixel(old, bs, o, paper, bs->ImageType)) continue;
      PutDibPixel(img, left + i, top + j, CoverageBlend(o, paint, m));
    }
  Include(changed, RECT{left + i0, top + j0, left + i1, top + j1});
  return 1;
}

int DrawReplacerLine(BLOCKSET* bs, const HDIB& copy, POINT a, POINT b, POINT scroll, RECT* changed) {
  int ok = 1;
  StepBrushLine(a, b, [&](int x, int y) { ok &= UpdateReplacerPixels(bs, copy, POINT{x, y}, scroll, changed); });
  return ok;
}

POINT ReplacerTool::Snap(int x, int y) const {
  // Above 100 percent the square moves in whole image pixels.
  const BLOCKSET* r = document->record();
  if (ViewPercent(r->ViewMode) <= 100) return POINT{x, y};
  const int vx = x + window.left, vy = y + window.top;
  return POINT{Zoom(r, UnZoom(r, vx)) - window.left, Zoom(r, UnZoom(r, vy)) - window.top};
}

POINT ReplacerTool::Unzoomed(POINT p) const {
  const BLOCKSET* r = document->record();
  return POINT{UnZoom(r, p.x + window.left), UnZoom(r, p.y + window.top)};
}

int ReplacerTool::DrawReplacerBrush(bool show, int x, int y) {
  const int z = Zoom(document->record(), std::max(1, document->record()->ReplacerSize));
  auto frame = [&](int cx, int cy) {
    const int l = cx + window.left - z / 2, t = cy + window.top - z / 2;
    document->host()->InvertRectangle(RECT{l, t, l + z, t + z});
  };
  if (!show && squareShown_) {
    frame(squareX_, squareY_);
    squareShown_ = 0;
    return 1;
  }
  if (show && !squareShown_) {
    frame(x, y);
    squareShown_ = 1;
    squareX_ = x;
    squareY_ = y;
    return 1;
  }
  return 0;
}

void ReplacerTool::OnRefresh(unsigned) {
  FitToLimitRect();
  param.Tool = TOOL_REPLACER;
}

void ReplacerTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
}

void ReplacerTool::OnLButtonDown(int x, int y, unsigned) {
  if (replacing_) return;
  BLOCKSET* r = document->record();
  const POINT p = Snap(x, y);
  CreateUndo(r);
  document->host()->UpdateMenuStates();
  copy_ = DuplicateObject(r->Image);
  if (!copy_) {
    document->FailSession(false);
    return;
  }
  squareShown_ = 0;
  pressScrollX_ = document->host()->ScrollX();
  pressScrollY_ = document->host()->ScrollY();
  RECT changed{};
  UpdateReplacerPixels(r, copy_, Unzoomed(p), POINT{pressScrollX_, pressScrollY_}, &changed);
  Show(document, changed);
  DrawReplacerBrush(true, p.x, p.y);
  document->Capture(this);
  lastX_ = p.x;
  lastY_ = p.y;
  replacing_ = 1;
  document->host()->SetCursor(kReplacingCursor);
}

void ReplacerTool::OnMouseMove(int x, int y, unsigned) {
  const POINT p = Snap(x, y);
  if (replacing_ && (p.x != lastX_ || p.y != lastY_)) {
    DrawReplacerBrush(false, 0, 0);
    RECT changed{};
    DrawReplacerLine(document->record(), copy_, Unzoomed(POINT{lastX_, lastY_}), Unzoomed(p),
                     POINT{pressScrollX_, pressScrollY_}, &changed);
    Show(document, changed);
    DrawReplacerBrush(true, p.x, p.y);
    lastX_ = p.x;
    lastY_ = p.y;
  }
  ShowStatus(this, x, y);
}

void ReplacerTool::OnLButtonUp(int, int, unsigned) {
  if (!replacing_) return;
  copy_.reset();
  DrawReplacerBrush(false, 0, 0);
  replacing_ = 0;
  document->host()->SetCursor(kReplacerCursor);
  document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
  document->ReleaseCapture();
}

void ReplacerTool::Commit() {
  // The tool ends during a stroke: what was replaced stays.
  if (!replacing_) return;
  copy_.reset();
  replacing_ = 0;
  squareShown_ = 0;
  document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
}

void ReplacerTool::TakeColour(int x, int y, unsigned keys) {
  if (replacing_) return;
  if (keys & MK_RBUTTON) document->TakeColour(x + window.left, y + window.top, false);
  else if (keys & (MK_SHIFT | MK_MBUTTON)) document->TakeColour(x + window.left, y + window.top, true);
}

// ---- Selective undo ---------------------------------------------------------------------------

bool UndoStroke::Press(BLOCKSET& r, const HDIB& stamp, POINT at, POINT scroll, RECT* changed) {
  Release();
  const BITMAPINFOHEADER* img = LockDib(r.Image);
  const BITMAPINFOHEADER* undo = LockDib(r.UndoImage);
  const BITMAPINFOHEADER* st = LockDib(stamp);
  if (!img || !undo || !st || st->biBitCount != 8 || undo->biBitCount != img->biBitCount) return false;
  copy_ = DuplicateObject(r.Image);
  if (!copy_) return false;
  try {
    coverage_.assign(static_cast<std::size_t>(img->biWidth) * static_cast<std::size_t>(img->biHeight), 0);
  } catch (const std::bad_alloc&) {
    copy_.reset();
    return false;
  }
  record_ = &r;
  stamp_ = &stamp;
  scroll_ = scroll;
  DrawUndo(at, changed);
  return true;
}

void UndoStroke::DrawUndo(POINT at, RECT* changed) {
  if (!record_) return;
  BITMAPINFOHEADER* img = LockDib(record_->Image);
  const BITMAPINFOHEADER* old = LockDib(copy_);
  const BITMAPINFOHEADER* undo = LockDib(record_->UndoImage);
  const BITMAPINFOHEADER* st = LockDib(*stamp_);
  // An Undo during the stroke swaps the image: nothing more is painted.
  if (!img || !old || !undo || !st || img->biWidth != old->biWidth || img->biHeight != old->biHeight ||
      img->biBitCount != old->biBitCount)
    return;
  const int w = st->biWidth, h = st->biHeight;
  const int left = at.x - w / 2 + scroll_.x, top = at.y - h / 2 + scroll_.y;
  const int i0 = std::max(0, -left), j0 = std::max(0, -top);
  const int i1 = std::min(w, img->biWidth - left), j1 = std::min(h, img->biHeight - top);
  if (i0 >= i1 || j0 >= j1) return;
  for (int j = j0; j < j1; ++j) {
    const BYTE* s = DibRow(st, j);
    const int py = top + j;
    BYTE* cov = coverage_.data() + static_cast<std::size_t>(py) * static_cast<std::size_t>(img->biWidth);
    for (int i = i0; i < i1; ++i) {
      const int px = left + i, m = s[i];
      if (m <= cov[px]) continue;
      // An undo image of another size reads -1 outside itself.
      const std::uint32_t u = GetDibPixel(undo, px, py);
      if (u == NOPIXEL) continue;
      cov[px] = static_cast<BYTE>(m);
      PutDibPixel(img, px, py, CoverageBlend(GetDibPixel(old, px, py), u, m));
    }
  }
  Include(changed, RECT{left + i0, top + j0, left + i1, top + j1});
}

void UndoStroke::DrawUndoLine(POINT a, POINT b, RECT* changed) {
  if (!record_) return;
  StepBrushLine(a, b, [&](int x, int y) { DrawUndo(POINT{x, y}, changed); });
}

void UndoStroke::Release() {
  record_ = nullptr;
  stamp_ = nullptr;
  copy_.reset();
  coverage_.clear();
  coverage_.shrink_to_fit();
}

bool LocalUndoTool::BuildStamp() {
  BLOCKSET* r = document->record();
  stamp_.reset();
  stamp_ = CreateToolStamp(*r, 0, StampForeground(r->Opacity), tooltable[param.Tool].stamp);
  return stamp_ != nullptr;
}

POINT LocalUndoTool::Unzoomed(int x, int y) const {
  const BLOCKSET* r = document->record();
  return POINT{UnZoom(r, x + window.left), UnZoom(r, y + window.top)};
}

void LocalUndoTool::OnRefresh(unsigned) {
  FitToLimitRect();
  param.Tool = TOOL_LOCALUNDO;
  if (!BuildStamp()) {
    document->FailSession(false);
  }
}

void LocalUndoTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
  if ((message == UM_SETTINGCHANGED || message == UM_COLOURCHANGED) && !stroke_.Painting() && !BuildStamp())
    document->FailSession(false);
}

void LocalUndoTool::OnLButtonDown(int x, int y, unsigned) {
  if (stroke_.Painting()) return;
  lastX_ = x;
  lastY_ = y;
  BLOCKSET* r = document->record();
  EnsureUndoImage(r);  // with a history, the picture before its latest step
  const BITMAPINFOHEADER* img = LockDib(r->Image);
  const BITMAPINFOHEADER* undo = LockDib(r->UndoImage);
  if (!img || !undo || undo->biBitCount != img->biBitCount) {
    // Nothing to paint back: the tool gives way to tool 0, with no session left standing.
    DocumentTools* doc = document;
    doc->host()->ShowMessage(FetchString(IDS_NO_UNDO_IMAGE));
    doc->DestroyToolParam();
    SelectTool(doc, TOOL_RECTSELECT);
    doc->Post(RECV_TOOLBOX, UM_SELECTTOOL, TOOL_RECTSELECT);
    return;
  }
  pressScrollX_ = document->host()->ScrollX();
  pressScrollY_ = document->host()->ScrollY();
  RECT changed{};
  if (!stroke_.Press(*r, stamp_, Unzoomed(x, y), POINT{pressScrollX_, pressScrollY_}, &changed)) {
    document->FailSession(false);
    return;
  }
  Show(document, changed);
  document->Capture(this);
}

void LocalUndoTool::OnMouseMove(int x, int y, unsigned) {
  if (stroke_.Painting() && (x != lastX_ || y != lastY_)) {
    RECT changed{};
    stroke_.DrawUndoLine(Unzoomed(lastX_, lastY_), Unzoomed(x, y), &changed);
    Show(document, changed);
    lastX_ = x;
    lastY_ = y;
  }
  ShowStatus(this, x, y);
}

void LocalUndoTool::OnLButtonUp(int, int, unsigned) {
  if (!stroke_.Painting()) return;
  stroke_.Release();
  document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
  document->ReleaseCapture();
}

void LocalUndoTool::Commit() {
  if (!stroke_.Painting()) return;
  stroke_.Release();
  document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
}

void LocalUndoTool::OnRButtonDown(int x, int y, unsigned) {
  if (stroke_.Painting()) return;
  document->TakeColour(x + window.left, y + window.top, true);
}

}  // namespace ochrel
