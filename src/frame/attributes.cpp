#include "frame/attributes.h"

#include <algorithm>

#include "frame/blockset.h"

namespace ochrel {

POINT AnchorOffset(int anchor, int ow, int oh, int nw, int nh) {
  switch (anchor) {
    case ANCHOR_UPPERRIGHT: return POINT{nw - ow, 0};
    case ANCHOR_LOWERRIGHT: return POINT{nw - ow, nh - oh};
    case ANCHOR_LOWERLEFT: return POINT{0, nh - oh};
    case ANCHOR_CENTER: return POINT{(nw - ow) / 2, (nh - oh) / 2};
    default: return POINT{0, 0};
  }
}

int ClampCanvasSize(int value) { return std::clamp(value, 1, 32760); }

HDIB AttributesCanvas(const BLOCKSET* r, int width, int height, int anchor) {
  const BITMAPINFOHEADER* h = LockDib(r->Image);
  if (!h) return nullptr;
  width = ClampCanvasSize(width);
  height = ClampCanvasSize(height);
  POINT at = AnchorOffset(anchor, h->biWidth, h->biHeight, width, height);
  return MattImage(r->Image, width, height, at.x, at.y, r->PaperColour);
}

bool ApplyImageAttributes(BLOCKSET* r, int width, int height, int anchor) {
  if (!LockDib(r->Image)) return false;
  CreateUndo(r);
  HDIB canvas = AttributesCanvas(r, width, height, anchor);
  if (!canvas) return false;
  r->Image = std::move(canvas);
  r->Modified = 1;
  return true;
}

}  // namespace ochrel
