// Geometry filters: Rotate, Flip, Resize and Swirl. Rotate, Flip and Resize
// stand on the image store's resampling; the filter side numbers rotations
// counter-clockwise.
#pragma once

#include "filters/filterparam.h"

namespace ochrel {

// Filter-side names of the right-angle turns: the number is the
// counter-clockwise angle.
HDIB RotateDib90(const HDIB& image);  // counter-clockwise
HDIB RotateDib180(const HDIB& image);
HDIB RotateDib270(const HDIB& image);  // clockwise
HDIB FlipDibHorizontal(const HDIB& image);
HDIB FlipDibVertical(const HDIB& image);

// Rotation by any whole angle (counter-clockwise on the screen), keeping the
// size when FilterRotatePreserve is set and interpolating when
// FilterRotateInterpolate is set on a true-colour or grey image. The
// background is stored as given: a COLORREF (grey level in its low byte) or a
// palette index. Also leaves in param->NewMask a 4-bit image of the result's
// size, 1 where the source supplied the pixel and 0 where the background did.
HDIB FreeRotateImageFilter(const HDIB& image, int angle, COLORREF background, FILTERPARAM* param);

// Nearest-sample scaling by two percentages, at any depth. Null when a new
// side would be 0.
HDIB FilterScaleImage(const HDIB& image, int horizontal, int vertical);

// The colour at a real position (y = 0 at the top), bilinear over the four
// pixels around (x + 0.5, y + 0.5); background outside. True colour.
COLORREF InterpolateColor(const HDIB& image, double x, double y, COLORREF background);

}  // namespace ochrel
