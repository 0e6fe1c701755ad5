#include "image/crand.h"

#include <cstdint>

namespace ochrel {

namespace {
std::uint32_t g_state = 1;
}

void srand(unsigned seed) { g_state = seed; }

int rand() {
  g_state = g_state * 22695477u + 1u;
  return static_cast<int>((g_state >> 16) & 0x7FFF);
}

unsigned RandState() { return g_state; }
void SetRandState(unsigned state) { g_state = state; }

unsigned RandStateAfter(unsigned state, unsigned long long draws) {
  // Compose the step x -> a x + c with itself by squaring (all modulo 2^32).
  std::uint32_t a = 22695477u, c = 1u, x = state;
  for (; draws; draws >>= 1) {
    if (draws & 1) x = x * a + c;
    c = c * a + c;
    a = a * a;
  }
  return x;
}

}  // namespace ochrel
