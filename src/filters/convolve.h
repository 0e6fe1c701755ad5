// Convolution filters: Gaussian Blur (two separable passes), Unsharp Mask,
// Emboss and Sharpen (square kernels through FilterConvolveImage).
//
// All arithmetic is in doubles; "truncate" converts towards zero. True colour
// (24 or 32 bits: every byte of a pixel is a channel) and 8-bit grey images are
// filtered; any other layout is copied unchanged by the blur and left black by
// FilterConvolveImage.
#pragma once

#include <vector>

#include "filters/filterparam.h"

namespace ochrel {

// Fills kernel with `width` taps (a width of 0 or less means 3), each the sum of
// three sub-samples a third of a pixel apart, normalised to sum 1. Returns the
// width, or 0 if memory ran out. The width must be odd.
int FilterGetBlurKernel(int width, double sigma, std::vector<double>& kernel);

// Blur one line of `columns` pixels (three bytes or one) into destination.
// Kernels wider than the line take the narrow path, dividing by the weights
// that met samples.
void FilterBlurScanlineRGB(const double* kernel, int width, const BYTE* source, BYTE* destination, int columns);
void FilterBlurScanlineGrey(const double* kernel, int width, const BYTE* source, BYTE* destination, int columns);

// The blur on its own terms, for callers outside the filter dialog (soft
// shadows): radius and sigma in pixels, imageType 0 or 1. Null on failure.
HDIB FilterGaussianBlurImage(const HDIB& image, int imageType, double radius, double sigma);

// Square kernel of order x order doubles, row-major; kernel row r meets stored
// row y - order / 2 + r. Edges wrap round (a torus). The sum of the kernel
// divides the result unless it is 0 or 1. Null if the order is even or larger
// than either side of the image.
HDIB FilterConvolveImage(const HDIB& image, int order, const double* kernel, const FILTERPARAM* param);

// An odd kernel width: 2 * ceil(radius) + 1 for a positive radius, else the
// widest kernel whose outermost tap still counts at 8-bit precision.
int FilterGetOptimalKernelWidth(double radius, double sigma);

// The two square kernels, exposed so tests can check their numbers.
std::vector<double> FilterMakeEmbossKernel(int width, double sigma);
std::vector<double> FilterMakeSharpenKernel(int width, double sigma);

}  // namespace ochrel
