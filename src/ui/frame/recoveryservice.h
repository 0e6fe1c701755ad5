// Keeps a recovery copy of every modified document (frame/recovery.h) while
// the program runs, and offers the copies a killed program left at start.
//
// A copy is made at a quiet moment: when RecoveryInterval seconds have passed
// without input since the document changed (or, during long unbroken work,
// at the first short pause after five intervals). The picture is copied on
// the interface thread in slices of a couple of milliseconds, given up if any
// input arrives meanwhile, and then written by a worker thread. A document
// that is saved (no longer modified) or closed loses its copy; a clean exit
// leaves none.
#pragma once

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "frame/recovery.h"
#include "image/dib.h"

namespace ochrel {

class DocumentWindow;

class RecoveryService : public QObject {
  Q_OBJECT
 public:
  struct Hooks {
    std::function<std::vector<DocumentWindow*>()> documents;
    // Opens a picture as a modified document under the given path.
    std::function<DocumentWindow*(HDIB image, const std::string& path, bool hasFile)> reopen;
  };
  // What one turn of the event loop copies of a picture: about a millisecond,
  // first-touch page faults included (bench/recovery_bench.cpp).
  static constexpr std::size_t kSliceBytes = std::size_t{1} << 20;

  RecoveryService(QWidget* frame, Hooks hooks);
  ~RecoveryService() override;

  // Offers the copies of programs no longer running: Yes reopens them as
  // modified documents, No discards them, Cancel keeps them for next time.
  // Returns the number reopened.
  int OfferAtStart();

  // One look at the documents (the timer calls it every second).
  void Tick();
  // Waits until no copy is being made or written (for tests and the end).
  void WaitIdle();
  // The stem of a document's copy in the folder, "" when it has none.
  std::string CopyOf(const DocumentWindow* doc) const;
  std::filesystem::path folder() const { return folder_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  using Clock = std::chrono::steady_clock;
  struct Doc {
    QPointer<DocumentWindow> window;
    std::string id;
    bool written = false;     // a copy of ours is in the folder
    bool changed = false;     // changed since the copy
    Clock::time_point since;  // when it first changed since the copy
    std::string replaces;     // the copy it was reopened from, removed after its first own
    unsigned seenSerial = 0;  // the input count at the last look
  };
  void StartCopy(Doc& doc);
  void CopySlice();
  void Finished(DocumentWindow* window, bool ok);
  void Forget(std::map<const DocumentWindow*, Doc>::iterator it);

  QWidget* frame_;
  Hooks hooks_;
  std::filesystem::path folder_;
  QTimer timer_;
  std::map<const DocumentWindow*, Doc> docs_;
  Clock::time_point lastInput_ = Clock::now();
  unsigned inputSerial_ = 0;
  int buttonsDown_ = 0;
  // The copy in progress.
  struct Job {
    QPointer<DocumentWindow> window;
    const MemBlock* source = nullptr;
    HDIB copy;
    std::size_t done = 0;
    unsigned serial = 0;
    RecoveryEntry entry;
  };
  std::unique_ptr<Job> job_;
  std::thread writer_;
  bool writing_ = false;
};

}  // namespace ochrel
