// The program-wide pseudo-random generator. Texture seeds stored in library
// files depend on its exact sequence, so it is ours rather than the C library's.
#pragma once

namespace ochrel {

void srand(unsigned seed);
// state = state * 22695477 + 1; result (state >> 16) & 0x7FFF.
int rand();
inline constexpr int RAND_MAX_VALUE = 0x7FFF;

// The state itself, for a loop that makes its own draws by the same rule (on
// several threads, each starting where its share of the sequence starts) and
// leaves the state where the draws one by one would have left it.
unsigned RandState();
void SetRandState(unsigned state);
// The state `draws` steps after `state`.
unsigned RandStateAfter(unsigned state, unsigned long long draws);

}  // namespace ochrel
