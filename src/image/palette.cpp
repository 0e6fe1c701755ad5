#include <cstring>

#include "image/dib.h"

namespace ochrel {

namespace {
const BYTE kLevels2[2] = {0, 255};
const BYTE kLevels4[4] = {0, 85, 170, 255};
const BYTE kLevels8[8] = {0, 36, 72, 108, 144, 180, 216, 255};

const BYTE* Levels(int n) { return n == 2 ? kLevels2 : n == 4 ? kLevels4 : kLevels8; }

// Red outermost, blue innermost; the index stacks red over green over blue.
void RuleCube(BYTE* palette, int nr, int ng, int nb) {
  const BYTE *lr = Levels(nr), *lg = Levels(ng), *lb = Levels(nb);
  for (int r = 0; r < nr; ++r)
    for (int g = 0; g < ng; ++g)
      for (int b = 0; b < nb; ++b) {
        int i = (r * ng + g) * nb + b;
        palette[3 * i] = lr[r];
        palette[3 * i + 1] = lg[g];
        palette[3 * i + 2] = lb[b];
      }
}

// The stored palettes "Palette216" and "Palette256G", built once.
struct StoredPalettes {
  BYTE palette216[768] = {};
  BYTE palette256g[768] = {};
  StoredPalettes() {
    static const BYTE six[6] = {0, 51, 102, 153, 204, 255};
    int i = 0;
    for (int r = 0; r < 6; ++r)
      for (int g = 0; g < 6; ++g)
        for (int b = 0; b < 6; ++b, ++i) {
          palette216[3 * i] = six[r];
          palette216[3 * i + 1] = six[g];
          palette216[3 * i + 2] = six[b];
        }
    static const BYTE red7[7] = {0, 43, 85, 128, 170, 213, 255};
    static const BYTE green8[8] = {0, 36, 73, 109, 146, 182, 219, 255};
    static const BYTE blue4[4] = {0, 85, 170, 255};
    static const BYTE greys[32] = {1,   8,   16,  24,  32,  41,  49,  57,  65,  74,  82,  90,  98,  106, 115, 123,
                                   131, 139, 148, 156, 164, 172, 180, 189, 197, 205, 213, 222, 230, 238, 246, 254};
    i = 0;
    for (int r = 0; r < 7; ++r)
      for (int g = 0; g < 8; ++g)
        for (int b = 0; b < 4; ++b) {
          // The grey ramp sits behind the first 16 entries of the red-128 block.
          if (i == 112)
            for (int k = 0; k < 32; ++k, ++i) std::memset(palette256g + 3 * i, greys[k], 3);
          palette256g[3 * i] = red7[r];
          palette256g[3 * i + 1] = green8[g];
          palette256g[3 * i + 2] = blue4[b];
          ++i;
        }
  }
};
const StoredPalettes& Stored() {
  static const StoredPalettes s;
  return s;
}
}  // namespace

int GetDefaultPalette(BYTE* palette, int* bits, int number) {
  int count = 256, nominal = 8;
  switch (number) {
    case 0:
      count = 2;
      nominal = 1;
      break;
    case 2:
      count = 8;
      nominal = 3;
      break;
    case 3:
      count = 16;
      nominal = 4;
      break;
    case 4:
      count = 32;
      nominal = 5;
      break;
    case 5:
      count = 64;
      nominal = 6;
      break;
    case 6:
      count = 128;
      nominal = 7;
      break;
    case 7:
      count = 216;
      nominal = 8;
      break;
    default: break;
  }
  if (bits) *bits = nominal;
  if (!palette) return count;
  std::memset(palette, 0, 768);
  switch (number) {
    case 0: std::memset(palette + 3, 255, 3); break;
    case 2:
      for (int i = 0; i < 8; ++i) {
        palette[3 * i] = (i & 1) ? 255 : 0;
        palette[3 * i + 1] = (i & 2) ? 255 : 0;
        palette[3 * i + 2] = (i & 4) ? 255 : 0;
      }
      break;
    case 3: {
      static const std::uint32_t vga[16] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                            0x008080, 0x808080, 0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00,
                                            0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
      for (int i = 0; i < 16; ++i) {
        palette[3 * i] = static_cast<BYTE>(vga[i] >> 16);
        palette[3 * i + 1] = static_cast<BYTE>(vga[i] >> 8);
        palette[3 * i + 2] = static_cast<BYTE>(vga[i]);
      }
      break;
    }
    case 4: RuleCube(palette, 4, 4, 2); break;
    case 5: RuleCube(palette, 4, 4, 4); break;
    case 6: RuleCube(palette, 4, 8, 4); break;
    case 7: std::memcpy(palette, Stored().palette216, 768); break;
    case 9: std::memcpy(palette, Stored().palette256g, 768); break;
    case 10:
      for (int i = 0; i < 256; ++i) std::memset(palette + 3 * i, i, 3);
      break;
    default: RuleCube(palette, 8, 8, 4); break;
  }
  return count;
}

int FindPaletteColour(int red, int green, int blue, const BYTE* palette, int count) {
  if (count <= 0 || !palette) return 0;
  if (count > 256) count = 256;
  for (int i = 0; i < count; ++i)
    if (palette[3 * i] == red && palette[3 * i + 1] == green && palette[3 * i + 2] == blue) return i;
  int best = 0;
  long long bestDistance = 1000000;
  for (int i = 0; i < count; ++i) {
    long long dr = palette[3 * i] - red, dg = palette[3 * i + 1] - green, db = palette[3 * i + 2] - blue;
    long long d = 3 * dr * dr + 4 * dg * dg + 2 * db * db;
    if (d < bestDistance) {
      bestDistance = d;
      best = i;
    }
  }
  return best;
}

}  // namespace ochrel
