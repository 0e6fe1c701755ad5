// What the three selectors share: the masks of a floating fragment, its
// commit into the image, the shapes of the lasso and the wand, and how the
// fragment is drawn over the view.
//
// A selection is not a marked region of the image but a floating fragment:
// the selected pixels are cut out into a DIB of their own, which the session
// holds and the view draws at the session's window; when the session ends the
// fragment is laid back into the image where it floats.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/blockset.h"
#include "image/dib.h"
#include "tools/toolparam.h"

namespace ochrel {

// Non-zero for a pixel value that the record's FragmentPasteMode hides (1:
// the paper colour exactly, 2: within the tolerances of it) in an image of
// the given depth and type.
int IsTransparentPixel(std::uint32_t value, const BLOCKSET* blockset, int depth, int imageType);

// Makes SelectMask (1 bit, the fragment's size): 0 where the paste mode hides
// the pixel or the shape leaves it out. Without a paste mode and a shape no
// mask is needed, and none is made (0). 1 when a mask was made.
int CreateSelectMasks(TOOLPARAM* toolparam, const BLOCKSET* blockset);

// Lays `fragment` into `image` with its top left at rect's; pixels the mask
// hides stay, pixels over the edge are dropped. A fragment of another depth
// is converted to the image's first. Opacity under 255 blends on images over
// 8 bits. Non-zero on success; on failure the image is unchanged.
int InsetBitmap(const HDIB& image, const HDIB& fragment, const HDIB& mask, RECT rect, int opacity);

// ---- The lasso's polygon ----------------------------------------------------------------
// Each point held inside rect, edges included; 0 for an empty rect.
int LimitPolygon(std::vector<POINT>* points, RECT rect);
// The smallest and largest coordinates (right and bottom are the largest, not one past).
void GetPolygonFrame(RECT* rect, const std::vector<POINT>& points);
// Moves the points so that the smallest x and y become dx, dy.
void NormalizePolygon(std::vector<POINT>* points, int dx, int dy);
void UnZoomPolygon(const BLOCKSET* blockset, std::vector<POINT>* points);
// The polygon filled by the winding rule as a 1-bit DIB as wide as its
// largest x minus its smallest (pixel centres inside are 1); null when empty.
HDIB PolygonToMask(const std::vector<POINT>& points);

// The wand's region around image point (x, y): pixels 4-connected to it and
// alike under the record's tolerances, as a 1-bit DIB cropped to their
// rectangle, which `rect` receives (image coordinates). Null when nothing is
// selected (a point outside the image, no like pixel, no coverage).
HDIB PointToMask(const BLOCKSET* blockset, int x, int y, RECT* rect);

// The dashed outline of a 1-bit shape: the shape's own pixels that touch the
// outside on any of their eight sides, with a 2-on, 2-off dash cut into it.
HDIB FrameFromMask(const HDIB& mask);

// ---- On the screen -------------------------------------------------------------------------
// Draws a floating fragment over what dst already shows: view pixel (vx + i,
// vy + j), counted from the fragment window's top left, shows fragment pixel
// (UnZoom(vx + i), UnZoom(vy + j)) at `percent`. The frame is burnt in by
// inverting pixel values: the pixels of `frame` when given, else every second
// pixel of the border rows and columns. Pixels that `mask` hides, and those
// past the fragment, keep what dst holds, so the image shows through.
void RenderFragment(const BITMAPINFOHEADER* fragment, const BITMAPINFOHEADER* mask, const BITMAPINFOHEADER* frame,
                    int percent, int vx, int vy, int vw, int vh, std::uint32_t* dst, std::size_t dstStride);

// Whether the record's document has a floating selection (a selector's
// session holding a fragment), and whether that selection has a mask.
bool HasSelection(const BLOCKSET* blockset, bool* hasMask = nullptr);

}  // namespace ochrel
