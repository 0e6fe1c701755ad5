// The small integer 5 by 5 convolution used by the soft brush stamps and the
// antialiased flood fill. Weights that fall outside the image are dropped and
// the average is taken over those that remain, so a uniform image stays uniform
// right up to its edges.
#pragma once

#include <cstdint>

#include "image/dib.h"

namespace ochrel {

struct KERNEL {
  std::uint16_t weights[25];  // five rows of five; the centre is weights[12]
  std::uint16_t divisor;
  std::uint16_t bias;
};

extern const KERNEL BlurrKernel;
extern const KERNEL AntialiasKernel2;

// Flag bits of ImposeKernelFilter.
inline constexpr int KERNEL_LUMINANCE = 2;      // weigh a true-colour sample's luminance
inline constexpr int KERNEL_CLAMPNEGATIVE = 4;  // a negative sum becomes 0 before dividing

// A new DIB of the source's size, depth and palette. Depth 8 filters the byte
// as a number (grey masks), 24 and 32 filter three channels; 1-bit and 4-bit
// sources give null.
HDIB ImposeKernelFilter(const HDIB& image, const KERNEL& kernel, int flags);

}  // namespace ochrel
