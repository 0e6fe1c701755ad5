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

}  // namespace ochrel
