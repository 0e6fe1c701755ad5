// Surface filters: Add Noise, Despeckle, Oil Painting, Shade and Vignette.
#pragma once

#include "filters/filterparam.h"

namespace ochrel {

// One noise value of 0 to 255 at level N from the program-wide rand().
// Types: 0 Gaussian (and anything above 4), 1 multiplicative, 2 impulse,
// 3 Laplacian, 4 Poisson.
int FilterGenerateNoise(int level, int type);

// One step of the morphological hull on two byte planes of (columns + 2) x
// (rows + 2) with a one-sample border: f -> g, then g -> f.
void Hull(int xOffset, int yOffset, int polarity, int columns, int rows, BYTE* f, BYTE* g);

// (9798 R + 19235 G + 3735 B) >> 15: the surface height of a pixel.
constexpr int PixelIntensity(int red, int green, int blue) { return (9798 * red + 19235 * green + 3735 * blue) >> 15; }

// 8-bit grey-ramp image: 255 means paper, 0 means image; null on failure.
HDIB CreateVignetteMask(int width, int height, const FILTERPARAM* param);

}  // namespace ochrel
