// The polygon: a standing tool. Each left press adds a vertex, a rubber band
// follows the mouse from the last one, and a double click closes the figure
// and lays it into the image with the layers of the rectangle and the ellipse.
#pragma once

#include <vector>

#include "tools/toolsession.h"

namespace ochrel {

class PolygonTool : public ToolSession {
 public:
  PolygonTool() : ToolSession(TOOL_POLYGON) {}
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonDblClk(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  // The end of the session: a figure still being drawn is dropped.
  void Commit() override;
  bool ChangesImage() const override { return false; }

  // The vertices so far, in the session's own coordinates.
  const std::vector<POINT>& Points() const { return points_; }
  POINT RubberEnd() const { return rubberEnd_; }

 private:
  bool AddPoint(POINT p);
  void InvertBand();
  void InvertEdge(POINT a, POINT b);
  // Redraws what the figure's edges covered on the screen.
  void RedrawFigure(RECT alsoChanged);
  std::vector<POINT> points_;
  POINT chainEnd_{};           // the last vertex, where the rubber band starts
  POINT previousVertex_{};     // the vertex before the rubber band
  POINT rubberEnd_{};          // the band's free end
  int lastX_ = 0, lastY_ = 0;  // the last press
};

// Commits a polygon whose vertices are in view coordinates (the standing
// window's), for a view scrolled to (scrollX, scrollY). Non-zero on success;
// `changed` gets the image area touched.
int InsetPolygon(BLOCKSET* record, const std::vector<POINT>& points, int scrollX, int scrollY, RECT* changed = nullptr);

}  // namespace ochrel
