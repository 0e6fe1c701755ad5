#pragma once

#include <QMdiSubWindow>
#include <QWidget>

#include "frame/blockset.h"

namespace ochrel {

class MainFrame;

// What a document window shows: its image, with the button-face colour around it.
class DocumentView : public QWidget {
  Q_OBJECT
 public:
  explicit DocumentView(BLOCKSET* record, QWidget* parent = nullptr);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;

 private:
  BLOCKSET* record_;
};

// One open image: a child of the multiple-document area owning its record.
class DocumentWindow : public QMdiSubWindow {
  Q_OBJECT
 public:
  DocumentWindow(MainFrame* frame, const std::string& path);
  ~DocumentWindow() override;

  BLOCKSET* record() { return &record_; }
  const BLOCKSET* record() const { return &record_; }
  DocumentView* view() { return view_; }

  // Commands that the frame forwards; true when the number was one of ours.
  bool Command(int id);
  // Sizes the window to its image, at least 128 by 128 and inside the area.
  void AdjustTaskWindow();
  void UpdateTitle();
  // Save (57) and Save as (104); false when nothing was written.
  bool Save();
  bool SaveAs();
  // Closes without asking (a document that failed to come up).
  void Discard();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void moveEvent(QMoveEvent* event) override;

 private:
  MainFrame* frame_;
  BLOCKSET record_;
  DocumentView* view_;
  bool discarding_ = false;
};

}  // namespace ochrel
