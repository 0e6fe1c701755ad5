// The recovery copy of a 24-megapixel picture is made on the interface thread
// in slices; the hand waits at most one slice. This measures a slice into a
// fresh block (page faults included) and reports the worst one of each copy.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>

#include "image/dib.h"
#include "ui/frame/recoveryservice.h"

namespace {

void BM_RecoveryCopySlices24MP(benchmark::State& state) {
  using namespace ochrel;
  HDIB picture = CreateDib(6000, 4000, nullptr, 24);
  std::memset(DibBits(LockDib(picture)), 0x5A, LockDib(picture)->biSizeImage);
  double worst = 0;
  for (auto _ : state) {
    HDIB copy = MemBlock::Allocate(picture->size());
    for (std::size_t done = 0; done < picture->size(); done += RecoveryService::kSliceBytes) {
      const auto t0 = std::chrono::steady_clock::now();
      const std::size_t n = std::min(RecoveryService::kSliceBytes, picture->size() - done);
      std::memcpy(copy->data() + done, picture->data() + done, n);
      benchmark::ClobberMemory();
      worst = std::max(worst, std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count());
    }
  }
  state.counters["worst_slice_ms"] = worst;
}
BENCHMARK(BM_RecoveryCopySlices24MP)->Unit(benchmark::kMillisecond)->Iterations(5);

}  // namespace

BENCHMARK_MAIN();
