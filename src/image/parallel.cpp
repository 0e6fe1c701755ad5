#include "image/parallel.h"

#include <atomic>
#include <cstdlib>
#include <exception>
#include <mutex>

#include "image/progress.h"

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
  const ProgressContext caller = t_progress;
  const int threads = std::min(HardwareThreads(), (count + minBand - 1) / minBand);
  if (threads <= 1 && !caller.sink) {
    body(0, count);
    return;
  }
  // Chunks handed out as threads free up: an uneven picture keeps every core
  // busy to the end, and each finished chunk is a progress report and a
  // chance to stop.
  const int chunk = std::max(minBand, count / (threads > 1 ? threads * 8 : 32));
  const int chunks = std::max(1, count / chunk);
  std::atomic<int> next{0}, done{0};
  std::mutex errorLock;
  std::exception_ptr error;
  auto run = [&] {
    // Reports from inside the body only look for a stop; the chunks count.
    ProgressContextScope quiet(ProgressContext{caller.sink, caller.from, caller.to, true});
    try {
      for (int i; (i = next.fetch_add(1)) < chunks;) {
        const int b = static_cast<int>(static_cast<long long>(count) * i / chunks);
        const int e = static_cast<int>(static_cast<long long>(count) * (i + 1) / chunks);
        body(b, e);
        const int d = done.fetch_add(e - b) + (e - b);
        ProgressContextScope report(caller);
        ReportProgress(d, count);
      }
    } catch (...) {
      next = chunks;  // the others take no more
      std::lock_guard<std::mutex> lock(errorLock);
      if (!error) error = std::current_exception();
    }
  };
  std::vector<std::thread> pool;
  pool.reserve(static_cast<std::size_t>(threads - 1));
  for (int t = 1; t < threads; ++t) {
    try {
      pool.emplace_back(run);
    } catch (...) {
      break;  // no thread to be had: the others share the chunks
    }
  }
  run();
  for (auto& th : pool) th.join();
  if (error) std::rethrow_exception(error);
}

}  // namespace ochrel
