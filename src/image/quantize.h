// The colour quantizer: a palette of at most a given number of colours for an
// image. Few enough distinct colours are kept exactly; otherwise a median cut
// over a histogram of 4 bits per channel.
#pragma once

#include <cstdint>

#include "image/dib.h"

namespace ochrel {

// One cell of the 4096-cell histogram.
struct COLOURCELL {
  BYTE level[3];  // Red, Green, Blue levels, 0 to 15
  BYTE Box;       // the box that holds the cell, set at the end
  std::uint32_t Count;
  COLOURCELL* Next;
};

// One median-cut box. Low and Extent are bytes on the 0 to 255 scale and their
// arithmetic wraps at 256, as it always has.
struct NEWCOLOUR {
  BYTE Low[3];
  BYTE Extent[3];
  std::int32_t Cells;
  long long Pixels;
  COLOURCELL* First;
};

// Fills `palette` (768 bytes, zeroed first) with at most *colours entries for
// image (any depth; below 24 bits colours come through its palette) and sets
// *colours to the number found. 1 on success, 0 on failure.
int Quantize(int width, int depth, int* colours, BYTE* palette, const HDIB& image);

// Keeps the list of distinct colours (red, green, blue triples); *count
// becomes -1 once the list has overflowed. Returns *count.
int AddColourToPalette(BYTE* list, COLORREF pixel, int* count, int maximum);

// Divides boxes until there are `maximum` of them or none can be divided.
void dividemap(NEWCOLOUR* boxes, int maximum, int* count, COLOURCELL** sortBuffer);

// Descending sorts of cell pointers on their level along axis (0 red, 1 green, 2 blue).
void psort(COLOURCELL** a, int n, int axis);
void pinsert(COLOURCELL** a, int n, int axis);

// Orders the first `count` triples by luminance, a stable bubble sort.
void SortPalette(BYTE* palette, int count);

}  // namespace ochrel
