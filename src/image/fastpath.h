// Whether the quicker forms of the pixel loops may run. Every quick form gives
// the bytes of its plain form; OCHREL_PLAIN=1 in the environment (or a test
// calling SetFastPaths) forces the plain forms, so that both stay checked on
// any machine.
#pragma once

// Marks a loop function to be compiled also for the wider vector units, the
// loader picking the one the processor has. Floating point stays separate
// multiplies and adds (no contraction), so every copy gives the same bytes.
#if defined(__GNUC__) && !defined(__clang__) && defined(__x86_64__) && defined(__linux__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define OCHREL_WIDE_VECTORS __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define OCHREL_WIDE_VECTORS
#endif

namespace ochrel {

bool FastPaths();
void SetFastPaths(bool on);

// The widest vector unit a hand-written quick form may use: 2 for AVX-512
// (with BW, VL and DQ), 1 for AVX2, 0 for none; never more than the processor
// has. Tests lower it to check each narrower form on a wide machine.
int VectorUnit();
void LimitVectorUnit(int widest);

}  // namespace ochrel
