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

}  // namespace ochrel
