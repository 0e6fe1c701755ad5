// Soft shadows: a shape's mask turned into a blurred, displaced shadow mask.
#pragma once

#include <cstdint>

#include "image/dib.h"

namespace ochrel {

struct SHADOW {
  void* Owner = nullptr;     // the document the dialog's copy belongs to
  int ShadowType = 0;        // 0 paint colour, 1 fill colour, 2 ShadowColor
  COLORREF ShadowColor = 0;  // the custom colour
  int ShadowDirection = 0;   // 0..7, see ShadowOffsetFor
  int ShadowOpacity = 0;     // grey level of the mask, 255 opaque
  int ShadowOffset = 0;      // pixels on each axis that moves
  int ShadowSoft = 0;        // blur sigma in tenths of a pixel
  int ShadowActive = 0;
};

// The document colours a shadow may take.
struct SHADOWCOLOURS {
  COLORREF PaintColour = 0, FillColour = 0, PaperColour = 0xFFFFFF;
};

// The blur may spread this far beyond the shape; the shadow mask is this much
// larger on every side.
inline constexpr int kShadowMargin = 50;

// Displacement of the shadow for a direction (values outside 0..6 count as 7).
// Note that 3 is right and 4 is left.
void ShadowOffsetFor(int direction, int offset, int* dx, int* dy);
COLORREF ShadowColourFor(const SHADOW& shadow, const SHADOWCOLOURS& colours);

// In: *mask, the shape (8-bit grey, or 24-bit from text), 0 outside and
// ShadowOpacity inside. On 1, *mask is replaced by the blurred shadow, 100
// pixels wider and deeper, whose top left goes at (*x, *y) relative to the
// shape's. On 0 the mask is left alone. *x, *y and *colour are set either way.
int HandleShadowImage(HDIB* mask, int* x, int* y, COLORREF* colour, const SHADOW* shadow, const SHADOWCOLOURS& colours);

// The blur a shadow gets: radius 10 pixels, sigma ShadowSoft tenths. imageType 1
// for an 8-bit mask, 0 for 24 bits. Null on failure.
HDIB BlurShadowMask(const HDIB& mask, int imageType, int soft, COLORREF paper);

// The tool's side: blends `colour` through the shadow mask's low byte into a
// 24-bit image, the mask's top left at (x, y); what falls outside is dropped.
void BlendShadow(const HDIB& image, const HDIB& shadowMask, int x, int y, COLORREF colour);

}  // namespace ochrel
