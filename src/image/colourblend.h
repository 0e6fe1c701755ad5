// Colour ramps (the rings of the soft brush stamps take their levels from
// here) and the blend of a colour into a pixel through a coverage value.
#pragma once

#include <cstdint>

#include "image/dib.h"

namespace ochrel {

// Writes `count` RGB triples (red, green, blue) stepping from `from` towards
// `to` and returns the pointer after the last one. Each channel runs in fixed
// point (thousandths) with the step truncated, so the last entry stops short of
// `to` by up to one step; callers that need the end colour set it themselves.
// A count under 1 writes nothing.
BYTE* CreateColourBlend(BYTE* table, COLORREF from, COLORREF to, int count);

// The coverage blend of the tools: one channel value c toward k through mask
// value m (0 keeps c, 255 gives k), each division truncating by itself.
constexpr int BlendChannel(int c, int k, int m) { return ((c * (255 - m)) / 255 + (k * m) / 255) & 255; }
// All three channels of a 32-bit pixel value.
std::uint32_t CoverageBlend(std::uint32_t pixel, std::uint32_t colour, int m);

}  // namespace ochrel
