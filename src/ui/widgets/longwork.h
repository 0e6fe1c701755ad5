// Work that can take seconds on a big picture (conversions, opening and saving
// files) runs on a worker thread. Meanwhile the windows keep painting, the
// cursor is busy, the status bar shows what runs and how far it has come, and
// other input waits; Esc abandons cancellable work, whose result is then never
// applied, and tells the engine to stop. The work gets the same inputs and
// code as in the foreground, so its result has the same bytes.
#pragma once

#include <QString>

#include <functional>
#include <memory>

#include "image/dib.h"

class QWidget;

namespace ochrel {

class ProgressSink;

enum class LongWorkEnd { Finished, Cancelled };

// Runs work() off the interface thread and waits for it with the interface
// live; the engine's progress reports move the status bar. work() must own or
// copy whatever it reads: a cancelled run stops at its next report (or ends on
// its own) and its result is thrown away. owner's window holds the status bar
// that shows label.
LongWorkEnd RunLongWork(QWidget* owner, const QString& label, std::function<void()> work, bool cancellable = true);

// The common case: an image made from a copy of source. Empty on cancel (with
// *cancelled set) or when make gave nothing (a memory error).
HDIB RunLongImageWork(QWidget* owner, const QString& label, const HDIB& source, std::function<HDIB(const HDIB&)> make,
                      bool* cancelled);

// The busy cursor and the status bar's label and bar alone, for work that
// runs its own worker (the filter dialog's OK), for as long as it lives. The
// bar follows progress when given.
class LongWorkSigns {
 public:
  LongWorkSigns(QWidget* owner, const QString& label, bool cancellable,
                std::shared_ptr<const ProgressSink> progress = nullptr);
  ~LongWorkSigns();
  LongWorkSigns(const LongWorkSigns&) = delete;
  LongWorkSigns& operator=(const LongWorkSigns&) = delete;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

// How long work runs before the busy signs appear (milliseconds; default 150,
// so quick work doesn't flicker).
void SetLongWorkShowDelay(int ms);
// For tests: a step the worker takes before the work, to hold it at a known point.
void SetLongWorkGate(std::function<void()> gate);
// Other workers (the filter dialog's) take the same step.
void PassLongWorkGate();
// For tests: a step the worker takes at each progress report, given how far
// it has come (thousandths).
void SetLongWorkReportGate(std::function<void(int)> gate);

}  // namespace ochrel
