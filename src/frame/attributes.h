// The canvas size change of the image attributes dialog.
#pragma once

#include "image/dib.h"

namespace ochrel {

struct BLOCKSET;

enum AttributesAnchor : int {
  ANCHOR_UPPERLEFT = 200,
  ANCHOR_UPPERRIGHT = 201,
  ANCHOR_LOWERRIGHT = 202,
  ANCHOR_LOWERLEFT = 203,
  ANCHOR_CENTER = 204,
};

// Where the old picture's top left lands in the new canvas.
POINT AnchorOffset(int anchor, int oldWidth, int oldHeight, int newWidth, int newHeight);
// Sizes are clamped to 1..32760 (0 taken as 1).
int ClampCanvasSize(int value);
// The new canvas with paper around (or cropped at the anchor); null when
// memory runs out. The record is left as it was.
HDIB AttributesCanvas(const BLOCKSET* record, int width, int height, int anchor);
// CreateUndo, the new canvas with paper around (or cropped at the anchor),
// Modified set. False (and the image as it was) when memory runs out.
bool ApplyImageAttributes(BLOCKSET* record, int width, int height, int anchor);

}  // namespace ochrel
