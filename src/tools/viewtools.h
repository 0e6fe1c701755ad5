// Two standing tools that leave the image alone: the eyedropper takes colours,
// the zoom tool steps the scale around the pressed point.
#pragma once

#include "tools/toolsession.h"

namespace ochrel {

class EyedropperTool : public ToolSession {
 public:
  EyedropperTool() : ToolSession(TOOL_EYEDROPPER) {}
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t, std::int64_t) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonDown(int x, int y, unsigned keys) override { Pick(x, y, keys | MK_LBUTTON); }
  void OnRButtonDown(int x, int y, unsigned keys) override { Pick(x, y, keys | MK_RBUTTON); }
  void OnMButtonDown(int x, int y, unsigned keys) override { Pick(x, y, keys | MK_MBUTTON); }

 private:
  void Pick(int x, int y, unsigned keys);
};

class ZoomTool : public ToolSession {
 public:
  ZoomTool() : ToolSession(TOOL_ZOOM) {}
  void OnRefresh(unsigned flags) override;
  void OnMessage(int message, std::int64_t, std::int64_t) override;
  void OnMouseMove(int x, int y, unsigned keys) override;
  void OnLButtonDown(int x, int y, unsigned keys) override;
  void OnRButtonDown(int x, int y, unsigned keys) override;
  void OnMButtonDown(int x, int y, unsigned keys) override;

 private:
  void Step(int x, int y, int newMode);
};

// Centres the view on the image point that lay under (x, y) at the old scale.
void SetZoomLocation(DocumentTools* document, int x, int y, int oldMode, int oldScrollX, int oldScrollY);

}  // namespace ochrel
