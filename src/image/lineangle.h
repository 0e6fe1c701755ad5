// The angle scale of the 45-degree constraint of lines and polygons, and of
// the gradient dialog's drag. Not linear in the true angle: the steps of the
// constraint depend on that.
#pragma once

#include "image/dib.h"

namespace ochrel {

// 0 for equal points; else v = dy * dy * 90 / r * r with r the integer part
// of the distance, turned by quadrant of b seen from a (y down): right above v,
// left above 180 - v, left below 180 + v, right below 360 - v.
int GetLineAngle(POINT a, POINT b);

}  // namespace ochrel
