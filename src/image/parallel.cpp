#include "image/parallel.h"

#include <cstdlib>

namespace ochrel {

int HardwareThreads() {
  static const int n = [] {
    if (const char* e = std::getenv("OCHREL_THREADS")) {
      int v = std::atoi(e);
      if (v >= 1) return std::min(v, 64);
    }
    unsigned h = std::thread::hardware_concurrency();
    return h == 0 ? 1 : static_cast<int>(std::min(h, 64u));
  }();
  return n;
}

void ParallelBands(int count, int minBand, const std::function<void(int, int)>& body) {
  if (count <= 0) return;
  minBand = std::max(minBand, 1);
  int threads = std::min(HardwareThreads(), (count + minBand - 1) / minBand);
  if (threads <= 1) {
    body(0, count);
    return;
  }
  std::vector<std::thread> pool;
  pool.reserve(threads - 1);
  int per = count / threads, extra = count % threads, start = 0;
  int firstEnd = 0;
  for (int t = 0; t < threads; ++t) {
    int len = per + (t < extra ? 1 : 0);
    int b = start, e = start + len;
    start = e;
    if (t == 0) {
      firstEnd = e;
      continue;
    }
    try {
      pool.emplace_back([&body, b, e] { body(b, e); });
    } catch (...) {
      body(b, e);  // no thread to be had: do the band here
    }
  }
  body(0, firstEnd);
  for (auto& th : pool) th.join();
}

}  // namespace ochrel
