#include "image/progress.h"

#include <algorithm>

namespace ochrel {

void ProgressSink::Raise(int permille) {
  permille = std::min(permille, 1000);
  int now = permille_.load(std::memory_order_relaxed);
  while (permille > now && !permille_.compare_exchange_weak(now, permille, std::memory_order_relaxed)) {}
}

void ReportProgressSlow(long long done, long long total) {
  const ProgressContext& c = t_progress;
  if (c.sink->Cancelled()) {
    c.sink->Reported();
    throw WorkStopped{};
  }
  if (!c.quiet && total > 0) {
    const double f = std::clamp(static_cast<double>(done) / static_cast<double>(total), 0.0, 1.0);
    c.sink->Raise(static_cast<int>(1000.0 * (c.from + (c.to - c.from) * f)));
  }
  c.sink->Reported();
}

ProgressStage::ProgressStage(double from, double to) : saved_(t_progress) { Move(from, to); }

void ProgressStage::Move(double from, double to) {
  if (!saved_.sink) return;
  const double span = saved_.to - saved_.from;
  t_progress.from = static_cast<float>(saved_.from + span * from);
  t_progress.to = static_cast<float>(saved_.from + span * to);
}

ProgressStage::~ProgressStage() {
  const ProgressContext inner = t_progress;
  t_progress = saved_;
  if (inner.sink && !inner.quiet && !inner.sink->Cancelled()) inner.sink->Raise(static_cast<int>(1000.0 * inner.to));
}

bool RunWithProgress(ProgressSink* sink, const std::function<void()>& work) {
  ProgressContextScope scope(ProgressContext{sink, 0.0f, 1.0f, false});
  try {
    work();
  } catch (const WorkStopped&) {
    return false;
  }
  // Code that tidies up by itself stops without the exception.
  if (sink && sink->Cancelled()) return false;
  if (sink) sink->Raise(1000);
  return true;
}

}  // namespace ochrel
