#include "image/lineangle.h"

#include <cmath>

namespace ochrel {

int GetLineAngle(POINT a, POINT b) {
  long long dx = a.x - b.x, dy = a.y - b.y;
  long long r = static_cast<long long>(std::sqrt(static_cast<double>(dx * dx + dy * dy)));
  if (r == 0) return 0;
  int v = static_cast<int>(dy * dy * 90 / (r * r));
  if (b.x < a.x && b.y < a.y) return 180 - v;
  if (b.x < a.x && b.y >= a.y) return 180 + v;
  if (b.x >= a.x && b.y >= a.y) return 360 - v;
  return v;
}

}  // namespace ochrel
