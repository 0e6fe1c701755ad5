// Brush stamps: square 8-bit grey masks that the freehand tools lay along the
// mouse path. Value 0 is no paint; the stamp's strongest value is its
// foreground, which for painting is the document's opacity, so the stroke needs
// no opacity of its own.
//
// A stamp is T + 4 pixels on a side for a thickness T, leaving a margin of two
// pixels (a rotated pen stamp can be bigger: always read the real size).
#pragma once

#include "frame/blockset.h"
#include "image/dib.h"
#include "tools/toolparam.h"

namespace ochrel {

// Thickness beyond which a stamp is not built larger. The settings window
// stops at 64; this only keeps a damaged record from asking for a huge stamp.
inline constexpr int kMaxStampThickness = 1024;

// Shape 0 round, 1 square; type 0 soft, 1 hard.
struct SoftBrushRow {
  int thickness = 0;
  int shape = 0;
  int softness = 0;
};
// The settings a soft stamp is built from, chosen by the document's Tool:
// eraser, airbrush, selective undo, and the soft brush for any other tool.
SoftBrushRow GetSoftBrushRow(const BLOCKSET& document);

// The stamp's foreground for painting: the opacity's low byte in all three bytes.
constexpr COLORREF StampForeground(int opacity) { return RGB(opacity & 255, opacity & 255, opacity & 255); }

// A new soft stamp from the document's settings row, or null when memory runs
// out. `type` is the tool's type setting (the airbrush passes 0); on paletted
// and mono images every stamp is hard. The settings window asks for its sample
// with a white background and a black foreground.
HDIB CreateSoftBrush(const BLOCKSET& document, COLORREF background, COLORREF foreground, int type);

// A new pen stamp from HardBrushThickness, HardBrushShape, HardBrushFlat and
// HardBrushAngle, or null when memory runs out or the rotation fails.
HDIB CreateHardBrush(const BLOCKSET& document, COLORREF background, COLORREF foreground);

// ---- Shapes inside stamp boxes ------------------------------------------------
// A box (left, top, right, bottom) filled without an outline covers
// right - left - 1 columns from left and bottom - top - 1 rows from top, so a
// box from 2 to T + 3 is exactly T pixels across. A box given with its corners
// swapped is the same box put in order, and a box that would cover nothing still
// covers the pixels at its middle in that direction (one, or two when the middle
// falls between them).
enum class StampShape { Rectangle, Ellipse, RoundRect };
// Fills the shape with the grey value, clipped to the stamp (an 8-bit DIB).
// `corner` is the round rectangle's corner diameter.
void FillStampShape(BITMAPINFOHEADER* stamp, RECT box, StampShape shape, int corner, BYTE value);

}  // namespace ochrel
