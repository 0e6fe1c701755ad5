// The colour replacer and selective undo: two standing, brush-like tools that
// paint with something other than one colour. Both read every stamp from a
// copy of the image taken at the press, so a stroke crossing itself changes
// nothing more than the first pass did.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/blockset.h"
#include "image/dib.h"
#include "tools/toolsession.h"

namespace ochrel {

// The replacer's square at (x, y), view points in image pixels (unzoomed),
// plus the scroll position of the press: every pixel of `copy` under it that
// matches the paper colour takes the coverage blend toward the paint colour at
// the record's opacity, in the record's image. Returns 0 when the image or the
// copy is missing; `changed` receives the image rectangle touched.
int UpdateReplacerPixels(BLOCKSET* record, const HDIB& copy, POINT at, POINT scroll, RECT* changed);
// The same square along the line from a to b, both ends included.
int DrawReplacerLine(BLOCKSET* record, const HDIB& copy, POINT a, POINT b, POINT scroll, RECT* changed);

// Tool 3.
class ReplacerTool : public ToolSession {
 public:
  ReplacerTool() : ToolSession(TOOL_REPLACER) {}
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override { TakeColour(x, y, keys | MK_RBUTTON); }
  void OnMButtonDown(int x, int y, unsigned keys) override { TakeColour(x, y, keys | MK_MBUTTON); }
  void Commit() override;

 private:
  POINT Snap(int x, int y) const;
  POINT Unzoomed(POINT p) const;
  // The square's frame on the screen; 1 if it changed.
  int DrawReplacerBrush(bool show, int x, int y);
  void TakeColour(int x, int y, unsigned keys);
  int lastX_ = 0, lastY_ = 0;                        // the last square's centre (client coordinates)
  int pressScrollX_ = 0, pressScrollY_ = 0;          // the scroll at the press
  int replacing_ = 0;                                // a press is replacing
  int squareShown_ = 0, squareX_ = 0, squareY_ = 0;  // the dotted square on the screen, and where
  HDIB copy_;
};

// One stroke of selective undo: stamps blend the image, as it was at the
// press, toward the record's undo image. Coverage works as in a brush stroke:
// a pixel changes only where a stamp is stronger than any before it.
class UndoStroke {
 public:
  // False without an image, a stamp or an undo image of the same depth, or
  // when memory runs out; the image is then untouched.
  bool Press(BLOCKSET& record, const HDIB& stamp, POINT at, POINT scroll, RECT* changed);
  // One stamp at `at` (view points in image pixels).
  void DrawUndo(POINT at, RECT* changed);
  // Stamps along the line from a to b, both ends included.
  void DrawUndoLine(POINT a, POINT b, RECT* changed);
  void Release();
  bool Painting() const { return record_ != nullptr; }

 private:
  BLOCKSET* record_ = nullptr;
  const HDIB* stamp_ = nullptr;
  HDIB copy_;
  std::vector<BYTE> coverage_;
  POINT scroll_{};
};

// Tool 17.
class LocalUndoTool : public ToolSession {
 public:
  LocalUndoTool() : ToolSession(TOOL_LOCALUNDO) {}
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  void Commit() override;

 private:
  bool BuildStamp();
  POINT Unzoomed(int x, int y) const;
  int lastX_ = 0, lastY_ = 0;                // the last point painted (client coordinates)
  int pressScrollX_ = 0, pressScrollY_ = 0;  // the scroll at the press
  HDIB stamp_;
  UndoStroke stroke_;
};

}  // namespace ochrel
