#include "fills/spin.h"

#include <algorithm>
#include <cstdio>

namespace ochrel {

SPINLIMITS ParseSpinText(const char* text) {
  SPINLIMITS s;
  if (!text) return s;
  int a = 0, b = 0, c = 0;
  const int n = std::sscanf(text, "%d,%d,%d", &a, &b, &c);
  if (n >= 2) {
    s.minimum = a;
    s.maximum = b;
    s.hasRange = true;
  }
  if (n >= 3) {
    s.position = c;
    s.hasPosition = true;
  }
  return s;
}

int GetSpinValue(const char* spinText, const char* editText) {
  const SPINLIMITS s = ParseSpinText(spinText);
  long long v = 0;
  const char* p = editText ? editText : "";
  while (*p == ' ' || *p == '\t') ++p;
  bool digits = false;
  for (; *p >= '0' && *p <= '9'; ++p) {
    digits = true;
    v = v * 10 + (*p - '0');
    if (v > 0xFFFFFFFFLL) {  // beyond an unsigned: not a number
      v = 0;
      break;
    }
  }
  while (*p == ' ' || *p == '\t') ++p;
  if (!digits || *p) v = 0;
  const long long lo = std::min(s.minimum, s.maximum), hi = std::max(s.minimum, s.maximum);
  return static_cast<int>(std::clamp(v, lo, hi));
}

}  // namespace ochrel
