// Geometry primitives of the image store: resizing by percentage, right-angle
// rotations and flips, rotation by any whole angle, and masking.
//
// Every operation takes a DIB and returns a new one of the source's depth and
// palette (or null on failure); the source is never changed.
#pragma once

#include "image/dib.h"

namespace ochrel {

// 3.14159 / 180: the program has always turned with this value, not with the
// full-precision one, and rotated sizes depend on it.
inline constexpr double kDegreesToRadians = 0.017453277777777776;

// Both axes by `percentage`: interpolating for true colour and grey (two
// passes, horizontal first), nearest sample for every other kind.
HDIB ResizeDib(const HDIB& image, int percentage);

// The interpolating and averaging passes. The horizontal ones work on the
// stored bytes and take 8-, 24- and 32-bit images only (null otherwise); the
// vertical ones read pixel values and take any depth.
HDIB ScaleUpHorizontal(const HDIB& image, int percentage);
HDIB ScaleUpVertical(const HDIB& image, int percentage);
HDIB ScaleDownHorizontal(const HDIB& image, int percentage);
HDIB ScaleDownVertical(const HDIB& image, int percentage);

// ScaleDownVertical(ScaleDownHorizontal(image, horizontal), vertical), byte
// for byte, without the picture in between where it can.
HDIB ScaleDown(const HDIB& image, int horizontal, int vertical);

// ScaleUpVertical(ScaleUpHorizontal(image, horizontal), vertical), likewise.
HDIB ScaleUp(const HDIB& image, int horizontal, int vertical);

// Nearest-sample resize, the path of paletted and mono images.
HDIB ResizeNearest(const HDIB& image, int percentage);

// Clockwise by 90, by 180, counter-clockwise by 90 (y = 0 at the top).
HDIB RotateImage90(const HDIB& image);
HDIB RotateImage180(const HDIB& image);
HDIB RotateImage270(const HDIB& image);
HDIB FlipImageHorizontal(const HDIB& image);
HDIB FlipImageVertical(const HDIB& image);

// Flag bits of FreeRotateImageFilter.
inline constexpr int ROTATE_KEEPSIZE = 1;
inline constexpr int ROTATE_INTERPOLATE = 2;

// Rotation by `angle` whole degrees; a positive angle turns the picture
// counter-clockwise on the screen. `background` is a COLORREF; at 8 bits and
// fewer it becomes an index (its luminance plus 1).
HDIB FreeRotateImageFilter(const HDIB& image, int angle, int flags, COLORREF background);
// The size of a w by h picture turned by the angle whose cosine and sine are
// given: the box of its turned corners about the centre. False when that is
// under one pixel or beyond an int.
bool RotatedSize(int w, int h, double c, double sn, int* nw, int* nh);

// Where the mask's pixel is non-zero (or the mask has none) the image's pixel,
// elsewhere `colour`, a pixel value of the image's depth.
HDIB MaskBitmap(const HDIB& image, const HDIB& mask, std::uint32_t colour);

// Luminance with each term truncated by itself, as the whole program takes it.
constexpr int Luminance(int red, int green, int blue) { return red * 30 / 100 + green * 59 / 100 + blue * 11 / 100; }
constexpr int Luminance(COLORREF c) { return Luminance(GetRValue(c), GetGValue(c), GetBValue(c)); }

// A new DIB of the given size with `source`'s depth and palette.
HDIB CreateDibLike(const BITMAPINFOHEADER* source, int width, int height);

}  // namespace ochrel
