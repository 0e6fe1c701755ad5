#include "tools/brushtools.h"

#include <cstdio>

#include "frame/view.h"
#include "frame/settings.h"
#include "tools/brushstamp.h"

namespace ochrel {

namespace {
constexpr int kAirbrushTimer = 3;
}

StrokeTool::~StrokeTool() = default;

bool StrokeTool::BuildStamp() {
  BLOCKSET* r = document->record();
  const COLORREF fg = StampForeground(r->Opacity);
  stamp_.reset();
  stamp_ = CreateToolStamp(*r, 0, fg, tooltable[param.Tool].stamp);
  return stamp_ != nullptr;
}

POINT StrokeTool::Unzoomed(int x, int y) const {
  const BLOCKSET* r = document->record();
  return POINT{UnZoom(r, x + window.left), UnZoom(r, y + window.top)};
}

void StrokeTool::Show(RECT changed) {
  if (changed.right > changed.left && changed.bottom > changed.top) document->host()->InvalidateImage(changed);
}

void StrokeTool::OnRefresh(unsigned) {
  FitToLimitRect();
  if (!BuildStamp()) document->FailSession(false);
}

void StrokeTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
  // A setting changed: a new stamp (not during a stroke, which keeps its own).
  if ((message == UM_SETTINGCHANGED || message == UM_COLOURCHANGED) && !Painting() && !BuildStamp())
    document->FailSession(false);
}

void StrokeTool::OnLButtonDown(int x, int y, unsigned) {
  if (Painting()) return;
  BLOCKSET* r = document->record();
  lastX_ = x;
  lastY_ = y;
  CreateUndo(r);
  document->host()->UpdateMenuStates();
  if (param.Tool == TOOL_AIRBRUSH) {
    pressX_ = x;
    pressY_ = y;
    softness_ = AirbrushSwell::kFirstSoftness;
    swell_.Press(POINT{x, y});
    stamp_ = CreateAirbrushDab(*r, softness_);
  }
  stroke_ = std::make_unique<BrushStroke>(*r, stamp_);
  pressScrollX_ = document->host()->ScrollX();
  pressScrollY_ = document->host()->ScrollY();
  std::optional<RECT> first = stroke_->Press(Unzoomed(x, y), POINT{pressScrollX_, pressScrollY_});
  if (!first) {
    stroke_.reset();
    document->FailSession(true);
    return;
  }
  Show(*first);
  if (param.Tool == TOOL_AIRBRUSH) {
    timer_ = kAirbrushTimer;
    document->host()->StartTimer(this, kAirbrushTimer, r->AirBrushFlow);
  }
}

void StrokeTool::OnMouseMove(int x, int y, unsigned) {
  if (Painting() && (x != lastX_ || y != lastY_)) {
    Show(stroke_->LineTo(Unzoomed(x, y)));
    lastX_ = x;
    lastY_ = y;
  }
  if (param.Tool == TOOL_AIRBRUSH) swell_.Move(POINT{x, y});
  POINT p = document->ImagePointOfView(x + window.left, y + window.top);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", p.x, p.y);
  document->host()->StatusText(text);
}

void StrokeTool::OnLButtonUp(int, int, unsigned) {
  if (timer_) {
    document->host()->StopTimer(this, kAirbrushTimer);
    timer_ = 0;
  }
  swell_.Release();
  if (!Painting()) return;
  Show(stroke_->Release());
  stroke_.reset();
  document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
}

void StrokeTool::OnRButtonDown(int x, int y, unsigned) {
  if (Painting()) return;
  document->TakeColour(x + window.left, y + window.top, param.Tool == TOOL_ERASER);
}

void StrokeTool::OnTimer(int id) {
  if (id != kAirbrushTimer || !Painting()) return;
  std::optional<int> softness = swell_.Tick();
  if (!softness) {
    // Moved away from the press: the swelling stops for the rest of the stroke.
    document->host()->StopTimer(this, kAirbrushTimer);
    timer_ = 0;
    return;
  }
  softness_ = *softness;
  HDIB dab = CreateAirbrushDab(*document->record(), *softness);
  if (!dab) return;  // no dab this tick; the stroke goes on
  stamp_ = std::move(dab);
  POINT c = swell_.Cursor();
  Show(stroke_->DrawSoftBrush(Unzoomed(c.x, c.y)));
}

}  // namespace ochrel
