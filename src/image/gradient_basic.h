// The basic gradients that the rendering back end draws (its gradient operation,
// types 0 to 2). They are plain arithmetic, so they live here and the back end
// and the fill engine share one implementation.
#pragma once

#include "image/dib.h"

namespace ochrel {

// type 0: a ramp along `angle` degrees; types 1 and 2: the two kinds of ramp
// around the centre (centerX, centerY). bits 24 gives a true-colour DIB, 8 an
// 8-bit DIB with the grey palette. Null on failure or a size below 1.
HDIB RenderBasicGradient(int width, int depth, int gradientType, COLORREF startColour, COLORREF endColour,
                         int angle, int bits, int centerX, int centerY);

}  // namespace ochrel
