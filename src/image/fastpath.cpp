#include "image/fastpath.h"

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

}  // namespace

bool FastPaths() { return State().load(std::memory_order_relaxed) != 0; }
void SetFastPaths(bool on) { State().store(on ? 1 : 0, std::memory_order_relaxed); }

}  // namespace ochrel
