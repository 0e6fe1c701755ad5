#include "ui/widgets/longwork.h"

#include "image/progress.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>

namespace ochrel {
namespace {

int g_showDelay = 150;
std::function<void()> g_gate;

std::function<void(int)> g_reportGate;

// The work's progress, with the tests' step at each report.
struct GatedProgress : ProgressSink {
  std::function<void(int)> gate = g_reportGate;
  void Reported() override {
    if (gate) gate(Permille());
  }
};

// What the worker and the interface share; the worker may outlive the wait.
struct Shared {
  std::atomic<bool> done{false};
  std::function<void()> work;
  GatedProgress progress;
};

// An abandoned worker still running: the next work waits for it, because the
// engine's generators and random numbers are one per program. It has been
// told to stop, so the wait is short.
std::mutex g_lastMutex;
std::shared_ptr<Shared> g_last;

// Holds back the user's input while work runs, except Esc. A modal window
// that opens meanwhile (a message posted before the work began) gets its
// input: the work can't end before it closes.
class InputHold : public QObject {
 public:
  InputHold(QWidget* owner, bool cancellable)
      : cancellable_(cancellable),
        frame_(owner ? owner->window() : nullptr),
        modalAtStart_(QApplication::activeModalWidget()) {
    qApp->installEventFilter(this);
  }
  ~InputHold() override { qApp->removeEventFilter(this); }
  bool escaped() const { return escaped_; }
  std::function<void()> onEscape;

 protected:
  bool eventFilter(QObject* target, QEvent* e) override {
    if (ForNewModal(target)) return false;
    switch (e->type()) {
      case QEvent::KeyPress:
        if (cancellable_ && static_cast<QKeyEvent*>(e)->key() == Qt::Key_Escape && !escaped_) {
          escaped_ = true;
          if (onEscape) onEscape();
        }
        return true;
      case QEvent::KeyRelease:
      case QEvent::ShortcutOverride:
      case QEvent::Shortcut:
      case QEvent::MouseButtonPress:
      case QEvent::MouseButtonRelease:
      case QEvent::MouseButtonDblClick:
      case QEvent::MouseMove:
      case QEvent::Wheel:
      case QEvent::ContextMenu:
      case QEvent::Drop:
      case QEvent::DragEnter:
      case QEvent::DragMove: return true;
      case QEvent::Close:
        // The frame and its documents stay while work on them runs; other
        // windows (the start-up window on its timer) may close.
        return InFrame(target);
      default: return false;
    }
  }

 private:
  bool ForNewModal(QObject* target) const {
    QWidget* modal = QApplication::activeModalWidget();
    if (!modal || modal == modalAtStart_) return false;
    if (target->isWindowType()) return target == static_cast<QObject*>(modal->windowHandle());
    auto* widget = qobject_cast<QWidget*>(target);
    return widget && widget->window() == modal;
  }
  bool InFrame(QObject* target) const {
    if (!frame_) return false;
    if (target->isWindowType()) return target == static_cast<QObject*>(frame_->windowHandle());
    auto* widget = qobject_cast<QWidget*>(target);
    return widget && (widget == frame_ || frame_->isAncestorOf(widget));
  }
  bool cancellable_;
  QPointer<QWidget> frame_;
  QPointer<QWidget> modalAtStart_;
  bool escaped_ = false;
};

// The bar and its label at the right of the frame's status bar: how far the
// work has come once it says, a moving bar before that.
class BusySigns {
 public:
  BusySigns(QWidget* owner, const QString& label, bool cancellable) {
    QWidget* top = owner ? owner->window() : nullptr;
    QWidget* bar = top ? top->findChild<QWidget*>("VarnwickStudioPaintStatusBar") : nullptr;
    QApplication::setOverrideCursor(Qt::BusyCursor);
    if (!bar) return;
    host_ = bar;
    label_ = new QLabel(label + (cancellable ? QStringLiteral(" (Esc cancels)") : QString()), bar);
    label_->setObjectName("LongWorkLabel");
    QFont small = label_->font();
    small.setPixelSize(11);
    label_->setFont(small);
    progress_ = new QProgressBar(bar);
    progress_->setObjectName("LongWorkProgress");
    progress_->setFont(small);
    progress_->setRange(0, 0);
    progress_->setTextVisible(false);
    const int w = 120, lw = label_->sizeHint().width();
    progress_->setGeometry(bar->width() - w - 6, 3, w, bar->height() - 6);
    label_->setGeometry(bar->width() - w - 12 - lw, 2, lw, bar->height() - 4);
    label_->show();
    progress_->show();
  }
  ~BusySigns() {
    QApplication::restoreOverrideCursor();
    delete label_;
    delete progress_;
  }
  void Show(int permille) {
    if (!progress_ || permille < 0) return;
    if (progress_->maximum() != 1000) {
      progress_->setRange(0, 1000);
      progress_->setTextVisible(true);
    }
    progress_->setValue(permille);
  }

 private:
  QPointer<QWidget> host_;
  QPointer<QLabel> label_;
  QPointer<QProgressBar> progress_;
};

void WaitForAbandoned() {
  std::shared_ptr<Shared> last;
  {
    std::lock_guard<std::mutex> lock(g_lastMutex);
    last = g_last;
  }
  if (!last || last->done) return;
  BusySigns signs(QApplication::activeWindow(), QStringLiteral("Finishing cancelled work"), false);
  InputHold hold(QApplication::activeWindow(), false);
  while (!last->done) QApplication::processEvents(QEventLoop::AllEvents, 20);
}

}  // namespace

struct LongWorkSigns::Parts {
  BusySigns signs;
  std::shared_ptr<const ProgressSink> progress;
  QTimer poll;
  Parts(QWidget* owner, const QString& label, bool cancellable, std::shared_ptr<const ProgressSink> sink)
      : signs(owner, label, cancellable), progress(std::move(sink)) {
    if (!progress) return;
    QObject::connect(&poll, &QTimer::timeout, [this] { signs.Show(progress->Permille()); });
    poll.start(50);
  }
};
LongWorkSigns::LongWorkSigns(QWidget* owner, const QString& label, bool cancellable,
                             std::shared_ptr<const ProgressSink> progress)
    : parts_(std::make_unique<Parts>(owner, label, cancellable, std::move(progress))) {}
LongWorkSigns::~LongWorkSigns() = default;

void SetLongWorkShowDelay(int ms) { g_showDelay = std::max(0, ms); }
void SetLongWorkGate(std::function<void()> gate) { g_gate = std::move(gate); }
void SetLongWorkReportGate(std::function<void(int)> gate) { g_reportGate = std::move(gate); }
void PassLongWorkGate() {
  if (std::function<void()> gate = g_gate) gate();
}

LongWorkEnd RunLongWork(QWidget* owner, const QString& label, std::function<void()> work, bool cancellable) {
  WaitForAbandoned();
  auto shared = std::make_shared<Shared>();
  shared->work = std::move(work);
  QEventLoop loop;
  QPointer<QEventLoop> loopGuard(&loop);
  std::function<void()> gate = g_gate;
  std::thread worker([shared, gate] {
    if (gate) gate();
    RunWithProgress(&shared->progress, shared->work);
    shared->work = nullptr;  // what it captured goes with the worker, not the caller
    shared->done = true;
  });

  InputHold hold(owner, cancellable);
  hold.onEscape = [&loop, &shared] {
    shared->progress.Cancel();
    loop.quit();
  };
  std::unique_ptr<BusySigns> signs;
  QTimer show;
  show.setSingleShot(true);
  QObject::connect(&show, &QTimer::timeout, [&] { signs = std::make_unique<BusySigns>(owner, label, cancellable); });
  show.start(g_showDelay);
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] {
    if (shared->done) loop.quit();
    if (signs) signs->Show(shared->progress.Permille());
  });
  poll.start(10);
  if (!shared->done) loop.exec();
  show.stop();
  poll.stop();
  signs.reset();

  if (shared->done) {
    worker.join();
    return LongWorkEnd::Finished;
  }
  // Abandoned: it finishes by itself, on what it owns.
  worker.detach();
  std::lock_guard<std::mutex> lock(g_lastMutex);
  g_last = shared;
  return LongWorkEnd::Cancelled;
}

HDIB RunLongImageWork(QWidget* owner, const QString& label, const HDIB& source, std::function<HDIB(const HDIB&)> make,
                      bool* cancelled) {
  if (cancelled) *cancelled = false;
  auto input = std::make_shared<HDIB>(DuplicateObject(source));
  if (!*input) return nullptr;
  auto output = std::make_shared<HDIB>();
  LongWorkEnd end = RunLongWork(owner, label, [input, output, make] { *output = make(*input); });
  if (end == LongWorkEnd::Cancelled) {
    if (cancelled) *cancelled = true;
    return nullptr;
  }
  return std::move(*output);
}

}  // namespace ochrel
