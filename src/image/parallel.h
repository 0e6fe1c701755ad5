// Spreads independent rows over the cores. Work is cut into contiguous bands,
// so a caller that writes each output row from its inputs alone gets the same
// bytes as a single-threaded run.
#pragma once

#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

namespace ochrel {

int HardwareThreads();

// Calls body(begin, end) on disjoint bands covering [0, count). Bands are at
// least minBand long; small jobs run on the calling thread.
void ParallelBands(int count, int minBand, const std::function<void(int, int)>& body);

}  // namespace ochrel
