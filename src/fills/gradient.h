// Gradient fills, and the one entry point through which drawing tools obtain a
// fill of any kind as a bitmap.
#pragma once

#include "fills/matrix.h"
#include "fills/texture.h"
#include "image/dib.h"

namespace ochrel {

struct GRADIENT {
  int GradientType = 0;      // 0 linear along Angle, 1 and 2 around the centre, 3 conical
  COLORREF StartColour = 0;  // on a grey image only the low byte counts
  COLORREF EndColour = 0;
  int EdgePad = 0;   // carried, not drawn
  int CenterX = 0;   // percent of the width from the middle, -50..50, positive to the right
  int CenterY = 0;   // percent of the depth from the middle, -50..50, positive upwards
  int Midpoint = 0;  // carried, not drawn
  RECT Rect;         // only the size counts
  int ImageType = 0;
  int Angle = 0;  // degrees, -360..360
};

// A DIB of Rect's size: types 0 to 2 from the basic gradients, 3 conical. 24 bits
// for a true-colour image, otherwise 8 with the grey ramp. Null on failure.
HDIB CreateGradient(const GRADIENT* gradient);
HDIB CreateGradientConical(const GRADIENT* gradient);

// Fill kinds held as FillType in a document.
enum FillKind : int { FILL_SOLID = 0, FILL_GRADIENT = 1, FILL_TEXTURE = 2, FILL_MATRIX = 3 };

// The fill of kind `fillType` at the size of `rect`: the rectangle goes into the
// matching record's Rect first. A solid fill (or any unknown kind) gives null
// and touches no record.
HDIB GetFillImage(int fillType, GRADIENT* gradient, TEXTURE* texture, MATRIX* matrix, const RECT& rect);

}  // namespace ochrel
