#include "tools/viewtools.h"

#include <cstdio>

#include "frame/view.h"
#include "frame/settings.h"

namespace ochrel {

namespace {
void ReportPosition(ToolSession* t, int x, int y) {
  POINT p = t->document->ImagePointOfView(x + t->window.left, y + t->window.top);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", p.x, p.y);
  t->document->host()->StatusText(text);
}
}  // namespace

// ---- Eyedropper ---------------------------------------------------------------------------

void EyedropperTool::OnRefresh(unsigned) {
  FitToLimitRect();
  param.Tool = TOOL_EYEDROPPER;
}

void EyedropperTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
}

void EyedropperTool::OnMouseMove(int x, int y, unsigned) { ReportPosition(this, x, y); }

void EyedropperTool::Pick(int x, int y, unsigned keys) {
  DocumentTools* doc = document;
  BLOCKSET* r = doc->record();
  POINT p = doc->ImagePointOfView(x + window.left, y + window.top);
  std::uint32_t value = GetDibPixel(LockDib(r->Image), p.x, p.y);
  int code = (keys & MK_RBUTTON) ? COLOUR_FILL : (keys & (MK_SHIFT | MK_MBUTTON)) ? COLOUR_PAPER : COLOUR_PAINT;
  if (value != NOPIXEL) {
    value = AdjustPixel(r, value);
    (code == COLOUR_FILL ? r->FillColour : code == COLOUR_PAPER ? r->PaperColour : r->PaintColour) = value;
    // Back to the tool in use before, which ends this session.
    if (RevertAfterEyedropper && r->PreviousTool != -1 && r->PreviousTool != TOOL_EYEDROPPER &&
        DocumentTools::ToolboxCommand())
      DocumentTools::ToolboxCommand()(r->PreviousTool);
  }
  doc->Post(RECV_STATUSBAR, UM_REFRESH);
  const std::int64_t v = value == NOPIXEL ? -1 : static_cast<std::int64_t>(value);
  if (r->ToolWindow) {
    doc->Post(RECV_TOOL, UM_COLOURCHANGED, code, v);
    doc->Post(RECV_SETTINGS, UM_COLOURCHANGED, code, v);
  }
}

// ---- Zoom ---------------------------------------------------------------------------------

void ZoomTool::OnRefresh(unsigned) {
  FitToLimitRect();
  param.Tool = TOOL_ZOOM;
}

void ZoomTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
}

void ZoomTool::OnMouseMove(int x, int y, unsigned) { ReportPosition(this, x, y); }

void ZoomTool::Step(int x, int y, int newMode) {
  DocumentTools* doc = document;
  BLOCKSET* r = doc->record();
  const int oldMode = r->ViewMode, oldX = doc->host()->ScrollX(), oldY = doc->host()->ScrollY();
  const int vx = x + window.left, vy = y + window.top;
  // At the ends of the range the scale stays, but the view still recentres.
  doc->host()->SelectViewMode(newMode >= 0 && newMode < kViewModes ? newMode : oldMode);
  SetZoomLocation(doc, vx, vy, oldMode, oldX, oldY);
}

void ZoomTool::OnLButtonDown(int x, int y, unsigned keys) {
  if (keys & MK_SHIFT) {
    // Shift with the left button acts as the middle button.
    document->Post(RECV_TOOL, WM_MBUTTONDOWN, keys,
                   static_cast<std::int64_t>((static_cast<std::uint32_t>(y & 0xFFFF) << 16) | (x & 0xFFFF)));
    return;
  }
  Step(x, y, document->record()->ViewMode + 1);
}

void ZoomTool::OnRButtonDown(int x, int y, unsigned) { Step(x, y, document->record()->ViewMode - 1); }

void ZoomTool::OnMButtonDown(int x, int y, unsigned) { Step(x, y, 5); }

void SetZoomLocation(DocumentTools* doc, int x, int y, int oldMode, int oldScrollX, int oldScrollY) {
  BLOCKSET* r = doc->record();
  const int oldPercent = ViewPercent(oldMode);
  POINT p{UnZoomPercent(oldPercent, x) + oldScrollX, UnZoomPercent(oldPercent, y) + oldScrollY};
  int hw = UnZoom(r, doc->host()->ClientWidth() / 2), hd = UnZoom(r, doc->host()->ClientHeight() / 2);
  doc->host()->SetScrollBars(p.x - hw, p.y - hd);
  doc->host()->InvalidateView();
}

}  // namespace ochrel
