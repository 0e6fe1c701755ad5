// The three selectors: the rectangle selector (made by a press), the lasso and
// the magic wand (standing over the image until a selection exists). All end
// in a floating fragment that can be dragged, nudged and filtered, and is laid
// into the image when the session ends.
#pragma once

#include "tools/selection.h"
#include "tools/toolsession.h"

namespace ochrel {

// Cursor resources of the selectors.
inline constexpr int kMoveCursor = 6003;
inline constexpr int kRectSelectCursor = 6008;
inline constexpr int kLassoCursor = 6022;
inline constexpr int kWandCursor = 6023;

// What the three share: the floating fragment and its place.
//
// Places: the window is where the fragment shows, in view coordinates. Once
// placed, the fragment's top left lies on image pixel (ImageX + ScrollX,
// ImageY + ScrollY); a scroll or a change of scale moves the window so that
// it stays there, and the commit lands there.
class SelectorTool : public ToolSession {
 public:
  using ToolSession::ToolSession;
  bool ShowsFragment() const override { return param.Fragment != nullptr; }
  void Commit() override;
  bool ChangesImage() const override { return param.Fragment != nullptr || cutOut_; }
  void OnKeyDown(int key) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  // The absolute image rectangle the fragment would be laid on now.
  RECT CommitRect() const;
  // A pasted image floats at the view's top left (the clipboard's way in).
  void Float(HDIB image);

 protected:
  POINT ViewPoint(int x, int y) const { return POINT{x + window.left, y + window.top}; }
  // Cuts the image rectangle r (absolute) out into the fragment, with an
  // optional shape, lifts the source unless Alt was held, and floats it.
  bool CutOut(RECT r, HDIB shape, bool pasteModeOff);
  // Drag of the fragment: press, each move, release.
  void PressFragment(POINT view, bool snap);
  void MoveFragment(POINT view);
  void ReleaseFragment();
  void StorePlace();
  // The window over the fragment at its image place, at the view's scale now.
  void Reposition();
  void MoveWindow(RECT to);
  void ShowFloatingStatus(POINT view);
  void Popup(POINT view, bool tiles);
  bool snapMoves_ = true;
  bool cutOut_ = false;
  POINT press_{}, last_{-1, -1};
  // Where the fragment lies: its image point, the scroll and window place it
  // was last placed at, its selected rectangle, and whether it has moved.
  int imageX_ = 0, imageY_ = 0, scrollX_ = 0, scrollY_ = 0, windowX_ = 0, windowY_ = 0;
  RECT selectRect_{};
  int moved_ = 0;
};

class RectSelectTool : public SelectorTool {
 public:
  RectSelectTool() : SelectorTool(TOOL_RECTSELECT) {}
  void OnCreate(int x, int y) override;
  void OnRefresh(unsigned flags) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  void Commit() override;

 private:
  void FrameStep(POINT view, unsigned keys);
  void EraseFrame();
  bool pressed_ = false;
  RECT frameRect_{};  // the drag frame on the screen
};

// Tool 1 (lasso) or 2 (wand).
class IrregularSelectTool : public SelectorTool {
 public:
  explicit IrregularSelectTool(int tool) : SelectorTool(tool) { snapMoves_ = false; }
  void OnRefresh(unsigned flags) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;

 private:
  bool IsLasso() const { return param.Tool == TOOL_LASSO; }
  // Whether a point of the window (client coordinates) lies on the shape.
  bool InShape(int x, int y) const;
  void Trace(POINT view);
  void CutOutLasso(POINT view);
  void CutOutWand(POINT view);
  void Restart();
  std::vector<POINT> points_;  // the lasso's polygon
  POINT chainStart_{}, chainEnd_{};
};

}  // namespace ochrel
