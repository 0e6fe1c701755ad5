#include "tools/polygontool.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "frame/view.h"
#include "tools/shapecomposite.h"
#include "tools/shapetools.h"

namespace ochrel {

int InsetPolygon(BLOCKSET* r, const std::vector<POINT>& points, int scrollX, int scrollY, RECT* changed) {
  if (changed) *changed = RECT{};
  if (points.empty()) return 0;
  std::vector<POINT> copy;
  try {
    copy = points;
  } catch (const std::bad_alloc&) {
    return 0;
  }
  // Unzoomed, framed, and moved so that the smallest x and y are k + 4.
  RECT f{1000000, 1000000, 0, 0};
  for (POINT& p : copy) {
    UnZoomPoint(r, &p);
    f.left = std::min(f.left, p.x);
    f.top = std::min(f.top, p.y);
    f.right = std::max(f.right, p.x);
    f.bottom = std::max(f.bottom, p.y);
  }
  const int t = std::max(0, r->LineThickness);
  f = RECT{f.left - t, f.top - t, f.right + t, f.bottom + t};
  const int k = std::max(1, t / 2);
  const int minX = f.left + t, minY = f.top + t;
  for (POINT& p : copy) p = POINT{p.x - minX + k + 4, p.y - minY + k + 4};

  WRAPPERBLOCK block;
  block.Operation = WRAPPER_POLYGON;
  block.Rect = f;
  block.Polygon.Frame = f;
  block.Polygon.VertexCount = static_cast<int>(copy.size());
  block.Polygon.Vertices = copy.data();
  block.Polygon.LineThickness = t;
  return CompositeShape(r, &block, f.left + scrollX - 4, f.top + scrollY - 4, changed);
}

// ---- The session ----------------------------------------------------------------------------

void PolygonTool::OnRefresh(unsigned flags) {
  FitToLimitRect();
  param.Flags = flags;
}

void PolygonTool::OnMessage(int message, std::int64_t, std::int64_t) {
  if (message == UM_WINDOWRESIZED) FitToLimitRect();
}

bool PolygonTool::AddPoint(POINT p) {
  try {
    points_.push_back(p);
  } catch (const std::bad_alloc&) {
    return false;  // the figure goes on without this vertex
  }
  return true;
}

void PolygonTool::InvertEdge(POINT a, POINT b) {
  document->host()->InvertLine(POINT{a.x + window.left, a.y + window.top}, POINT{b.x + window.left, b.y + window.top});
}

void PolygonTool::InvertBand() { InvertEdge(chainEnd_, rubberEnd_); }

void PolygonTool::OnLButtonDown(int x, int y, unsigned keys) {
  ToolHost* host = document->host();
  POINT v = document->SnapPoint(POINT{x + window.left, y + window.top});
  POINT p{v.x - window.left, v.y - window.top};
  const bool ctrl = (keys & MK_CONTROL) || host->ControlDown();
  if (ctrl && !points_.empty()) p = rubberEnd_;
  lastX_ = p.x;
  lastY_ = p.y;
  if (points_.empty()) {
    document->Capture(this);
    CreateUndo(document->record());
    host->UpdateMenuStates();
    chainEnd_ = p;
    AddPoint(p);
  } else {
    InvertBand();
    chainEnd_ = p;
    AddPoint(p);
    InvertEdge(previousVertex_, chainEnd_);  // stays until the commit redraws
  }
  previousVertex_ = rubberEnd_ = p;
  document->Capture(this);
}

void PolygonTool::OnMouseMove(int x, int y, unsigned keys) {
  if (!points_.empty()) {
    POINT p{x, y};
    const bool ctrl = (keys & MK_CONTROL) || document->host()->ControlDown();
    if (ctrl && p.x != lastX_ && p.y != chainEnd_.y) p = ConstrainToAngle(chainEnd_, p);
    if (p.x != lastX_ || p.y != lastY_) {
      InvertBand();
      rubberEnd_ = p;
      InvertBand();
    }
  }
  POINT i = document->ImagePointOfView(x + window.left, y + window.top);
  char text[64];
  std::snprintf(text, sizeof text, "(%d,%d)", i.x, i.y);
  document->host()->StatusText(text);
}

void PolygonTool::OnLButtonDblClk(int x, int y, unsigned) {
  if (points_.empty()) return;
  // The end point snaps like every vertex; a double click that didn't move
  // adds nothing to the press before it.
  POINT v = document->SnapPoint(POINT{x + window.left, y + window.top});
  POINT p{v.x - window.left, v.y - window.top};
  if (!(p == chainEnd_)) {
    chainEnd_ = p;
    AddPoint(p);
  }
  std::vector<POINT> view(points_);
  for (POINT& q : view) q = POINT{q.x + window.left, q.y + window.top};
  RECT changed{};
  InsetPolygon(document->record(), view, document->host()->ScrollX(), document->host()->ScrollY(), &changed);
  document->Post(RECV_DOCUMENT, UM_TOOLFINISHED);
  RedrawFigure(changed);
  points_.clear();
  chainEnd_ = previousVertex_ = rubberEnd_ = POINT{};
  document->ReleaseCapture();
}

void PolygonTool::RedrawFigure(RECT also) {
  if (points_.empty()) {
    if (also.right > also.left) document->host()->InvalidateImage(also);
    return;
  }
  // The inverted edges and the band lie inside the frame of the vertices and
  // the band's free end.
  RECT f{1000000, 1000000, -1000000, -1000000};
  auto take = [&](POINT q) {
    f.left = std::min(f.left, q.x);
    f.top = std::min(f.top, q.y);
    f.right = std::max(f.right, q.x + 1);
    f.bottom = std::max(f.bottom, q.y + 1);
  };
  for (POINT q : points_) take(q);
  take(rubberEnd_);
  const BLOCKSET* r = document->record();
  const int sx = document->host()->ScrollX(), sy = document->host()->ScrollY();
  RECT image{UnZoom(r, f.left + window.left) + sx - 1, UnZoom(r, f.top + window.top) + sy - 1,
             UnZoom(r, f.right + window.left) + sx + 1, UnZoom(r, f.bottom + window.top) + sy + 1};
  document->host()->InvalidateImage(UnionOf(image, also));
}

void PolygonTool::OnRButtonDown(int x, int y, unsigned) {
  document->TakeColour(x + window.left, y + window.top, false);
}

void PolygonTool::Commit() {
  // A tool change in the middle of a figure forgets it; its edges leave the screen.
  if (!points_.empty()) RedrawFigure(RECT{});
  points_.clear();
}

}  // namespace ochrel
