// The freehand tools as sessions: pen, soft brush, eraser and airbrush. Each
// stands over the image, builds its stamp when it starts or a setting changes,
// and paints a stroke from press to release straight into the image.
#pragma once

#include <memory>

#include "tools/airbrush.h"
#include "tools/brushstroke.h"
#include "tools/toolsession.h"

namespace ochrel {

class StrokeTool : public ToolSession {
 public:
  explicit StrokeTool(int tool) : ToolSession(tool) {}
  ~StrokeTool() override;
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t wParam, std::int64_t lParam) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonUp(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  void OnTimer(int id) override;

  bool Painting() const { return stroke_ && stroke_->Painting(); }
  // The airbrush dab's softness now.
  int Softness() const { return softness_; }

 private:
  bool BuildStamp();
  POINT Unzoomed(int x, int y) const;
  void Show(RECT changed);
  // The press and last points (client coordinates), the scroll at the press,
  // the airbrush's swelling dab and its timer.
  int lastX_ = 0, lastY_ = 0, pressX_ = 0, pressY_ = 0;
  int pressScrollX_ = 0, pressScrollY_ = 0;
  int softness_ = 0;
  unsigned timer_ = 0;
  HDIB stamp_;
  std::unique_ptr<BrushStroke> stroke_;
  AirbrushSwell swell_;
};

}  // namespace ochrel
