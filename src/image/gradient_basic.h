// The basic gradients that the rendering back end draws (its gradient operation,
// types 0 to 2). They are plain arithmetic, so they live here and the back end
// and the fill engine share one implementation.
#pragma once

#include "image/dib.h"

namespace ochrel {

// type 0: a ramp along `angle` degrees (0 runs left to right, 90 top to bottom);
// type 1: circles around the centre, type 2: rectangles of the image's shape
// around it. The centre is (centerX, centerY) percent of the size from the
// middle, positive y upwards, as for the conical gradient. The start colour lies
// at the first pixel of the ramp or the centre, the end colour at the last pixel
// or the farthest corner. bits 24 gives a true-colour DIB, 8 an 8-bit DIB with
// the grey palette whose values are the low bytes of the colours. Null on
// failure, a size below 1, another bit count or another type.
HDIB RenderBasicGradient(int width, int depth, int gradientType, COLORREF startColour, COLORREF endColour, int angle,
                         int bits, int centerX, int centerY);

}  // namespace ochrel
