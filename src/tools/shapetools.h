// Line, rectangle and ellipse: press tools. The press makes the session, the
// drag stretches its window with a thin inverted outline as the preview, and
// the release ends it; only then is the real shape made and laid into the image.
#pragma once

#include "tools/toolsession.h"

namespace ochrel {

class ShapeTool : public ToolSession {
 public:
  explicit ShapeTool(int tool) : ToolSession(tool) {}
  void OnCreate(int x, int y) override;
  void OnRefresh(unsigned flags) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void Commit() override;

 private:
  bool IsLine() const { return param.Tool == TOOL_LINE; }
  // The preview of the window as it is now; a second call takes it away.
  void InvertPreview();
  // Moves and sizes the window, on whole image pixels above 100 percent.
  void PlaceWindow(int left, int top, int width, int depth);
  RECT ImageRect() const;
  void ShowRect();
  POINT create_{};  // where the press made the window (view coordinates)
  POINT press_{};   // the snapped press point
  POINT last_{};    // the last drag point seen
  bool pressed_ = false;
  bool shown_ = false;             // an outline is on the screen
  int lastX_ = 0, lastY_ = 0;      // the press point (client coordinates)
  POINT lineStart_{}, lineEnd_{};  // the line's ends in its window
  int windowX_ = 0, windowY_ = 0;  // the window's place at the press
};

// The commits, into the record's image; rect is the session's window in image
// coordinates. Non-zero on success; `changed` gets the image area touched.
int InsetLine(BLOCKSET* record, POINT start, POINT end, RECT rect, RECT* changed = nullptr);
int InsetRectangle(BLOCKSET* record, RECT rect, RECT* changed = nullptr);
int InsetEllipse(BLOCKSET* record, RECT rect, RECT* changed = nullptr);

// The 45-degree constraint of line and polygon: the free end moved onto the
// horizontal, vertical or diagonal through `from` that the angle scale picks.
POINT ConstrainToAngle(POINT from, POINT to);

}  // namespace ochrel
