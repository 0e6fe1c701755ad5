// The commit of the drawn shapes: masks from the rendering back end, laid into
// the image as shadow, fill and outline, each through the coverage blend.
#pragma once

#include <cstdint>

#include "frame/blockset.h"
#include "render/wrapper.h"

namespace ochrel {

// Blends through an 8-bit mask into the image, the mask's pixel (0, 0) at
// image (x, y); what falls outside the image is dropped. The colour is
// `colour`, or where a source is given the source's pixel at the same mask
// coordinates (a source pixel that reads NOPIXEL takes `colour`). On depths of
// 8 bits or less only the low bytes take part. Returns the image rectangle the
// mask covered (empty when none).
RECT BlendThroughMask(BITMAPINFOHEADER* image, const BITMAPINFOHEADER* mask, int x, int y, std::uint32_t colour,
                      const BITMAPINFOHEADER* source = nullptr);

// Antialiasing as the image allows it: paletted and mono images get hard edges,
// since their pixel values are indices that must not be mixed.
int ShapeAntialias(const BLOCKSET* record);

// Makes the shadow, outline and fill masks of a rectangle, ellipse or polygon
// from `block` (its operation and geometry set, its fill and outline values
// ignored), then composites them into the record's image with the mask's
// pixel (0, 0) at image (x, y). All masks are made before the image is
// touched, so a failure leaves the image as it was. Returns 0 when the back
// end gives no mask or the image can't be locked; `changed` gets the image
// rectangle the masks covered.
int CompositeShape(BLOCKSET* record, WRAPPERBLOCK* block, int x, int y, RECT* changed);

// The union of two rectangles, an empty one counting as nothing.
RECT UnionOf(const RECT& a, const RECT& b);

}  // namespace ochrel
