// Colour ramps: the rings of the soft brush stamps take their levels from here.
#pragma once

#include "image/dib.h"

namespace ochrel {

// Writes `count` RGB triples (red, green, blue) stepping from `from` towards
// `to` and returns the pointer after the last one. Each channel runs in fixed
// point (thousandths) with the step truncated, so the last entry stops short of
// `to` by up to one step; callers that need the end colour set it themselves.
// A count under 1 writes nothing.
BYTE* CreateColourBlend(BYTE* table, COLORREF from, COLORREF to, int count);

}  // namespace ochrel
