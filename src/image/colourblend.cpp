#include "image/colourblend.h"

namespace ochrel {

BYTE* CreateColourBlend(BYTE* table, COLORREF from, COLORREF to, int count) {
  if (!table || count < 1) return table;
  const int start[3] = {GetRValue(from), GetGValue(from), GetBValue(from)};
  const int end[3] = {GetRValue(to), GetGValue(to), GetBValue(to)};
  int value[3], step[3];
  for (int c = 0; c < 3; ++c) {
    value[c] = start[c] * 1000;
    step[c] = (end[c] - start[c]) * 1000 / count;  // truncates toward zero
  }
  for (int i = 0; i < count; ++i) {
    for (int c = 0; c < 3; ++c) {
      *table++ = static_cast<BYTE>(value[c] / 1000);
      value[c] += step[c];
    }
  }
  return table;
}

std::uint32_t CoverageBlend(std::uint32_t pixel, std::uint32_t colour, int m) {
  std::uint32_t out = 0;
  for (int shift = 0; shift < 24; shift += 8) {
    int c = static_cast<int>((pixel >> shift) & 255), k = static_cast<int>((colour >> shift) & 255);
    out |= static_cast<std::uint32_t>(BlendChannel(c, k, m)) << shift;
  }
  return out;
}

}  // namespace ochrel
