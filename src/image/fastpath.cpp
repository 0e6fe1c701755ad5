#include "image/fastpath.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace ochrel {
namespace {

std::atomic<int>& State() {
  static std::atomic<int> on{[] {
    const char* e = std::getenv("OCHREL_PLAIN");
    return e && *e && std::strcmp(e, "0") != 0 ? 0 : 1;
  }()};
  return on;
}

int Detected() {
#if defined(__GNUC__) && defined(__x86_64__)
  static const int unit = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                                  __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq")
                              ? 2
                          : __builtin_cpu_supports("avx2") ? 1
                                                           : 0;
  return unit;
#else
  return 0;
#endif
}

std::atomic<int> g_limit{2};

}  // namespace

int VectorUnit() { return std::min(Detected(), g_limit.load(std::memory_order_relaxed)); }
void LimitVectorUnit(int widest) { g_limit.store(widest, std::memory_order_relaxed); }

bool FastPaths() { return State().load(std::memory_order_relaxed) != 0; }
void SetFastPaths(bool on) { State().store(on ? 1 : 0, std::memory_order_relaxed); }

}  // namespace ochrel
