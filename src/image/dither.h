// Turning an image of any depth into one of fewer colours: error diffusion,
// plain remapping to the nearest colour, and three ordered (Bayer) dithers onto
// fixed palettes. Each returns a new DIB, or null; the source is left alone.
#pragma once

#include "image/dib.h"

namespace ochrel {

extern const BYTE bayerPattern[8][8];

// The two levels of the error-diffused mono conversion, 1 to 128 each.
struct DitherOptions {
  int brightness = 25;
  int contrast = 25;
};

// The 1-bit path's tone table from the contrast and brightness levels.
void BuildDitherTable(int contrast, int brightness, BYTE table[256]);

// Error diffusion onto `palette` (768 bytes) at `bits` 1, 4 or 8; the 1-bit
// path tones the image by `options` first. A 1-bit source gives null: mono
// images aren't dithered. `reserved` isn't read.
HDIB DitherDib(const HDIB& image, const BYTE* palette, int bits, int reserved, const DitherOptions& options = {});

// Nearest colour of `palette` at `bits` 1, 4 or 8, without diffusion. Any depth.
HDIB RemapDib(const HDIB& image, const BYTE* palette, int bits, int reserved);

HDIB ConvertToBayerDither2(const HDIB& image);    // 1 bit, black and white
HDIB ConvertToBayerDither16(const HDIB& image);   // 4 bits, the eight-colour palette
HDIB ConvertToBayerDither256(const HDIB& image);  // 8 bits, the 3-3-2 palette

}  // namespace ochrel
