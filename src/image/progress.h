// How far long work has come, and a way to stop it early. The thread that
// runs the work installs a sink (RunWithProgress); the engine's loops report
// to it with ReportProgress, which costs one thread-local load and a branch
// when no sink is installed, so loops call it once per row or band, never per
// pixel. Once the sink is cancelled the next report throws WorkStopped, which
// RunWithProgress catches: everything between unwinds through its owners.
#pragma once

#include <atomic>
#include <functional>

namespace ochrel {

class ProgressSink {
 public:
  virtual ~ProgressSink() = default;
  // Thousandths done, or -1 while the work hasn't said.
  int Permille() const { return permille_.load(std::memory_order_relaxed); }
  void Cancel() { cancelled_.store(true, std::memory_order_relaxed); }
  bool Cancelled() const { return cancelled_.load(std::memory_order_relaxed); }
  // Raises the figure; it never goes down. Any thread may call it.
  void Raise(int permille);

 protected:
  // Every report that reaches the sink, from whichever thread made it.
  virtual void Reported() {}

 private:
  friend void ReportProgressSlow(long long, long long);
  std::atomic<int> permille_{-1};
  std::atomic<bool> cancelled_{false};
};

// Thrown by a report once the sink is cancelled.
struct WorkStopped {};

// What the current thread reports into: the sink and the share of its scale
// that the running stage covers. Quiet threads (helpers of ParallelBands,
// which reports for them) only look for a stop.
struct ProgressContext {
  ProgressSink* sink = nullptr;
  float from = 0.0f, to = 1.0f;
  bool quiet = false;
};
inline thread_local ProgressContext t_progress;

void ReportProgressSlow(long long done, long long total);

// done of total steps of the current stage.
inline void ReportProgress(long long done, long long total) {
  if (t_progress.sink) ReportProgressSlow(done, total);
}

// The same for code that tidies up by itself (C libraries' state): false once
// the work is to stop; never throws.
inline bool ProgressGoesOn(long long done, long long total) noexcept {
  if (!t_progress.sink) return true;
  try {
    ReportProgressSlow(done, total);
  } catch (const WorkStopped&) {
    return false;
  }
  return true;
}

// Installs a context for the current thread for as long as it lives.
class ProgressContextScope {
 public:
  explicit ProgressContextScope(const ProgressContext& c) : saved_(t_progress) { t_progress = c; }
  ~ProgressContextScope() { t_progress = saved_; }
  ProgressContextScope(const ProgressContextScope&) = delete;
  ProgressContextScope& operator=(const ProgressContextScope&) = delete;

 private:
  ProgressContext saved_;
};

// A step of multi-step work: reports inside fill [from, to] of the enclosing
// scale (fractions), and leaving it marks `to` reached.
class ProgressStage {
 public:
  ProgressStage(double from, double to);
  // The index-th of count equal steps.
  static ProgressStage Part(int index, int count) {
    return ProgressStage(double(index) / count, double(index + 1) / count);
  }
  ~ProgressStage();
  // Covers [from, to] of the enclosing scale from now on.
  void Move(double from, double to);
  ProgressStage(const ProgressStage&) = delete;
  ProgressStage& operator=(const ProgressStage&) = delete;

 private:
  ProgressContext saved_;
};

// Runs work with sink installed on this thread; false once the sink is
// cancelled, when the work may have stopped early and its result is not to be
// used. A null sink runs work plainly.
bool RunWithProgress(ProgressSink* sink, const std::function<void()>& work);

}  // namespace ochrel
