// Colour-depth conversion: to grey, to true colour, onto a given palette, and
// the strategies of the two conversion dialogs ("Convert to monochrome" and
// "Convert to paletted color"), so that the dialogs only choose and draw.
#pragma once

#include <functional>

#include "image/dib.h"
#include "image/dither.h"

namespace ochrel {

HDIB ConvertToGrey(const HDIB& image);        // 8 bits, the grey ramp (palette 10)
HDIB ConvertToTrueColour(const HDIB& image);  // 24 bits
// Onto `palette` (768 bytes) by nearest colour in red, green, blue.
HDIB ConvertToEightBit(const HDIB& image, const BYTE* palette);
HDIB ConvertToFourBit(const HDIB& image, const BYTE* palette);
HDIB ConvertToMono(const HDIB& image, const BYTE* palette);

// Radio-button ids of the two dialogs.
enum ConvertOption : int {
  IDC_MONO_DITHER = 101,
  IDC_MONO_BAYER = 102,
  IDC_MONO_REMAP = 103,
  IDC_PAL_QUANT256_DITHER = 101,
  IDC_PAL_QUANT240_FIXED_DITHER = 102,
  IDC_PAL_QUANT256_REMAP = 103,
  IDC_PAL_QUANT240_FIXED_REMAP = 104,
  IDC_PAL_ORTHO_DITHER = 105,
  IDC_PAL_ORTHO_REMAP = 106,
  IDC_PAL_BAYER256 = 107,
  IDC_PAL_BAYER16 = 108,
  IDC_PAL_WINDOWS16 = 109,
};

// The mono strategies: 103 remaps, 102 takes the Bayer dither, anything else
// error-diffuses at the levels in `dither`.
HDIB ConvertToMonoStrategy(const HDIB& image, int option, const DitherOptions& dither = {});

// The paletted strategies, 101 to 109; an unknown id runs 101. `preview`
// leaves out SortPalette, as the live preview does.
HDIB ConvertToPaletteStrategy(const HDIB& image, int option, bool preview = false);

// The quantized palettes of options 101 to 104: Quantize to 256 or 240, sorted
// or not, with the sixteen colours of palette 3 in entries 240 to 255 for the
// 240-colour ones. False when Quantize fails.
bool StrategyPalette(const HDIB& image, int option, bool preview, BYTE* palette);

// Which option a preview runs, from the radio buttons as they stand: the mono
// preview tests 103, then 102, else 101; the paletted one 109, 108, 107, 106,
// 105, 104, 102, 103, else 101.
int MonoPreviewOption(const std::function<bool(int)>& isChecked);
int PalettePreviewOption(const std::function<bool(int)>& isChecked);

// The preview's reduced image: the percentage is the smaller of the box's
// width and height over the image's (x 100), and the offsets centre the result
// in the box (never negative). Null when the reduction fails.
int PreviewPercentage(int imageWidth, int imageHeight, int boxWidth, int boxHeight);
HDIB ReducedPreviewImage(const HDIB& image, int boxWidth, int boxHeight, int* offsetX, int* offsetY);

// The whole preview: the reduced image with the strategy run on it.
HDIB MonoPreviewImage(const HDIB& image, int option, int boxWidth, int boxHeight, int* offsetX, int* offsetY,
                      const DitherOptions& dither = {});
HDIB PalettePreviewImage(const HDIB& image, int option, int boxWidth, int boxHeight, int* offsetX, int* offsetY);

}  // namespace ochrel
