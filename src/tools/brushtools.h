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

 private:
  bool BuildStamp();
  POINT Unzoomed(int x, int y) const;
  void Show(RECT changed);
  std::unique_ptr<BrushStroke> stroke_;
  AirbrushSwell swell_;
};

}  // namespace ochrel
