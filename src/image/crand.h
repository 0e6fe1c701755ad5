// The program-wide pseudo-random generator. Texture seeds stored in library
// files depend on its exact sequence, so it is ours rather than the C library's.
#pragma once

namespace ochrel {

void srand(unsigned seed);
// state = state * 22695477 + 1; result (state >> 16) & 0x7FFF.
int rand();
inline constexpr int RAND_MAX_VALUE = 0x7FFF;

}  // namespace ochrel
