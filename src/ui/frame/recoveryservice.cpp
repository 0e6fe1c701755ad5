#include "ui/frame/recoveryservice.h"

#include <QApplication>
#include <QEvent>
#include <QGuiApplication>

#include <algorithm>
#include <cstring>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "ui/document/documentwindow.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {
// During long unbroken work a copy is still made, at the first short pause
// after this many intervals.
constexpr int kLongWorkIntervals = 5;
constexpr auto kShortPause = std::chrono::seconds(2);

std::string NameOf(const std::string& path) {
  const std::string::size_type slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}
}  // namespace

RecoveryService::RecoveryService(QWidget* frame, Hooks hooks)
    : QObject(frame), frame_(frame), hooks_(std::move(hooks)), folder_(RecoveryFolder()) {
  timer_.setInterval(1000);
  connect(&timer_, &QTimer::timeout, this, &RecoveryService::Tick);
  timer_.start();
  qApp->installEventFilter(this);
}

RecoveryService::~RecoveryService() {
  timer_.stop();
  qApp->removeEventFilter(this);
  job_.reset();
  if (writer_.joinable()) writer_.join();
  // A clean end leaves no copies.
  for (const auto& [window, doc] : docs_) {
    RemoveRecovery(folder_, doc.id);
    RemoveRecovery(folder_, doc.replaces);
  }
}

bool RecoveryService::eventFilter(QObject* watched, QEvent* event) {
  switch (event->type()) {
    case QEvent::MouseMove:
      if (QGuiApplication::mouseButtons() == Qt::NoButton) break;
      [[fallthrough]];
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Drop:
      lastInput_ = Clock::now();
      ++inputSerial_;
      break;
    default: break;
  }
  return QObject::eventFilter(watched, event);
}

std::string RecoveryService::CopyOf(const DocumentWindow* doc) const {
  auto it = docs_.find(doc);
  return it != docs_.end() && it->second.written ? it->second.id : std::string();
}

void RecoveryService::Forget(std::map<const DocumentWindow*, Doc>::iterator it) {
  RemoveRecovery(folder_, it->second.id);
  RemoveRecovery(folder_, it->second.replaces);
  docs_.erase(it);
}

void RecoveryService::Tick() {
  const std::vector<DocumentWindow*> open = hooks_.documents ? hooks_.documents() : std::vector<DocumentWindow*>{};
  // Closed documents lose their copies (one still being written goes when it is done).
  for (auto it = docs_.begin(); it != docs_.end();) {
    auto next = std::next(it);
    const bool gone = !it->second.window || std::find(open.begin(), open.end(), it->first) == open.end();
    const bool busy = job_ && job_->window == it->second.window;
    if ((gone || !RecoveryActive) && !busy && !writing_) Forget(it);
    it = next;
  }
  if (!RecoveryActive) return;
  const auto now = Clock::now();
  const unsigned serial = inputSerial_;
  for (DocumentWindow* w : open) {
    Doc& d = docs_[w];
    if (!d.window) d.window = w;
    if (d.id.empty()) d.id = NewRecoveryId();
    if (!w->record()->Modified) {
      // Saved: the copy has done its work.
      if (d.written || !d.replaces.empty()) {
        RemoveRecovery(folder_, d.id);
        RemoveRecovery(folder_, d.replaces);
        d.written = false;
        d.replaces.clear();
      }
      d.changed = false;
      continue;
    }
    if (!d.changed && (!d.written || serial != d.seenSerial)) {
      d.changed = true;
      d.since = now;
    }
    d.seenSerial = serial;
  }
  if (job_ || writing_ || QGuiApplication::mouseButtons() != Qt::NoButton) return;
  const auto interval = std::chrono::seconds(std::clamp(RecoveryInterval, 1, 86400));
  const auto quiet = now - lastInput_;
  for (DocumentWindow* w : open) {
    Doc& d = docs_[w];
    if (!d.changed || !w->record()->Image) continue;
    if (quiet >= interval || (now - d.since >= interval * kLongWorkIntervals && quiet >= kShortPause)) {
      StartCopy(d);
      return;
    }
  }
}

void RecoveryService::StartCopy(Doc& doc) {
  BLOCKSET* r = doc.window->record();
  auto job = std::make_unique<Job>();
  job->window = doc.window;
  job->source = r->Image.get();
  job->copy = MemBlock::Allocate(job->source->size());
  if (!job->copy) {
    doc.since = Clock::now();  // no memory now: try again later
    return;
  }
  job->serial = inputSerial_;
  job->entry.id = doc.id;
  job->entry.path = r->FileName;
  job->entry.name = NameOf(r->FileName);
  job->entry.hasFile = r->HasFile != 0;
  job_ = std::move(job);
  QTimer::singleShot(0, this, &RecoveryService::CopySlice);
}

void RecoveryService::CopySlice() {
  if (!job_) return;
  Job& j = *job_;
  // Any input, or a new picture in the document, and the copy might mix two
  // states: give it up; the next quiet moment starts again.
  if (!j.window || j.window->record()->Image.get() != j.source || inputSerial_ != j.serial) {
    job_.reset();
    return;
  }
  const std::size_t n = std::min(kSliceBytes, j.source->size() - j.done);
  std::memcpy(j.copy->data() + j.done, j.source->data() + j.done, n);
  j.done += n;
  if (j.done < j.source->size()) {
    QTimer::singleShot(0, this, &RecoveryService::CopySlice);
    return;
  }
  auto it = docs_.find(j.window.data());
  if (it != docs_.end()) it->second.changed = false;
  if (writer_.joinable()) writer_.join();
  writing_ = true;
  std::shared_ptr<Job> done(job_.release());
  DocumentWindow* window = done->window.data();
  writer_ = std::thread([this, done, window] {
    const bool ok = WriteRecovery(folder_, done->entry, done->copy);
    QMetaObject::invokeMethod(
        this, [this, window, ok] { Finished(window, ok); }, Qt::QueuedConnection);
  });
}

void RecoveryService::Finished(DocumentWindow* window, bool ok) {
  writing_ = false;
  if (writer_.joinable()) writer_.join();
  auto it = docs_.find(window);
  if (it == docs_.end()) return;
  Doc& d = it->second;
  if (!ok) {
    d.changed = true;
    return;
  }
  d.written = true;
  if (!d.replaces.empty()) {
    RemoveRecovery(folder_, d.replaces);
    d.replaces.clear();
  }
  // Saved or closed while the copy was written.
  if (!d.window || !d.window->record()->Modified) {
    RemoveRecovery(folder_, d.id);
    d.written = false;
  }
}

void RecoveryService::WaitIdle() {
  while (job_ || writing_) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    if (writing_ && writer_.joinable()) std::this_thread::yield();
  }
}

int RecoveryService::OfferAtStart() {
  if (!RecoveryActive) return 0;
  const std::vector<RecoveryEntry> found = FindRecoveries(folder_);
  if (found.empty()) return 0;
  const QString text = QString(
                           "Ochrel was not closed properly last time, and %1 unsaved picture%2 %3 kept.\n\n"
                           "Click on Yes to reopen %4, No to discard %4, or Cancel to keep %4 for later.")
                           .arg(found.size())
                           .arg(found.size() == 1 ? "" : "s")
                           .arg(found.size() == 1 ? "was" : "were")
                           .arg(found.size() == 1 ? "it" : "them");
  const int answer = DoYesNoCancel(frame_, text);
  if (answer == IDNO) {
    for (const RecoveryEntry& e : found) RemoveRecovery(folder_, e.id);
    return 0;
  }
  if (answer != IDYES || !hooks_.reopen) return 0;
  int reopened = 0;
  for (const RecoveryEntry& e : found) {
    HDIB image = LoadRecovery(folder_, e);
    if (!image) continue;  // left where it is
    DocumentWindow* w = hooks_.reopen(std::move(image), e.path, e.hasFile);
    if (!w) continue;
    Doc& d = docs_[w];
    d.window = w;
    d.id = NewRecoveryId();
    d.replaces = e.id;
    d.changed = true;
    d.since = Clock::now();
    ++reopened;
  }
  return reopened;
}

}  // namespace ochrel
