// Spreads independent rows over the cores in runs of rows, so a caller that
// writes each output row from its inputs alone gets the same bytes as a
// single-threaded run. Reports progress to the caller's sink (progress.h).
#pragma once

#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

namespace ochrel {

int HardwareThreads();

// Calls body(begin, end) on disjoint bands covering [0, count), each at least
// minBand long; a stop (WorkStopped) reaches the caller.
void ParallelBands(int count, int minBand, const std::function<void(int, int)>& body);

}  // namespace ochrel
