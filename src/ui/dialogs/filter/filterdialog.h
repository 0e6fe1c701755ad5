// The filter dialog "MasterFilterBox": the seventeen filters with before and
// after panes, each with its own zoom and pan, and the Filters menu that
// reaches it.
#pragma once

#include <QDialog>
#include <QFrame>
#include <QImage>

#include <memory>
#include <thread>

#include "filters/filterparam.h"
#include "frame/commands.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QLabel;
class QMainWindow;
class QMenu;
class QPushButton;
class QScrollBar;
class QToolButton;

namespace ochrel {

class LongWorkSigns;

struct BLOCKSET;

// What the dialog shows, apart from the filter's record: each pane's zoom (in
// percent), pan and mode (0 zoom, 1 pan), and the pan drag under way.
struct FilterView {
  int BeforeZoom = 100, BeforeX = 0, BeforeY = 0, BeforeMode = 0;
  int AfterZoom = 100, AfterX = 0, AfterY = 0, AfterMode = 0;
  int DragX = 0, DragY = 0, Dragging = 0, DragPaint = 0;
};

// The pan offset of a pane on one axis, held where the image can't leave the
// pane: inner is the pane's inner size, scaled the image's zoomed size.
int ClampFilterPan(int offset, int inner, int scaled);

// Before (101) or after (102) pane: the image at the pane's zoom, centred and
// moved by its pan. Draws only the part that shows.
class FilterPane : public QFrame {
  Q_OBJECT
 public:
  FilterPane(int id, FILTERPARAM* param, FilterView* view, QWidget* parent);
  bool isAfter() const { return after_; }
  // Where the image stands in the pane for a given pan, in widget pixels.
  QRect ImageRect(int panX, int panY) const;
  QRect InnerRect() const { return rect().adjusted(1, 1, -1, -1); }
  // The pan a drag by (dx, dy) would give now, clamped.
  QPoint ClampedPan(int panX, int panY) const;
  // Where the last paint put the image (for tests and screenshots).
  QRect lastImageRect() const { return lastImage_; }
  QSize sizeHint() const override { return QSize(340, 340); }

 signals:
  void zoomIn();
  void zoomOut();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  const HDIB* Image() const;
  int& Zoom() const;
  int& PanX() const;
  int& PanY() const;
  int Mode() const;
  void UpdateCursor();
  FILTERPARAM* param_;
  FilterView* view_;
  bool after_;
  QRect lastImage_;
  QImage canvas_;
  bool dragging_ = false;  // this pane's pan drag runs
  friend class MasterFilterBox;
};

class MasterFilterBox : public QDialog {
  Q_OBJECT
 public:
  // The record's images and settings are filled by the caller.
  MasterFilterBox(FILTERPARAM* param, QWidget* parent = nullptr);
  ~MasterFilterBox() override;

  FILTERPARAM* param() const { return param_; }
  FilterView& view() { return view_; }
  QComboBox* filterList() const { return list_; }
  FilterPane* pane(int id) const { return id == 101 ? before_ : after_; }
  QScrollBar* scrollBar(int id) const;
  QLabel* valueLabel(int barId) const;
  // Any control by its number (check boxes, edits, labels, buttons).
  QWidget* control(int id) const;
  QPushButton* previewButton() const { return preview_; }
  QPushButton* okButton() const { return ok_; }
  QPushButton* cancelButton() const { return cancel_; }

  // The filter of the selected list item, -1 for none.
  int SelectedFilter() const;
  // Hides every control numbered 200 or more, then shows the filter's own.
  void SetFilterLevel(int filter);
  // Every control from the record; leaves Changed set.
  void SetFilterDefaults();
  // Runs the selected filter on the before image into the after image, off
  // this thread; the buttons stay disabled until the result is in.
  void Preview();
  bool PreviewRunning() const { return static_cast<bool>(job_); }
  // Blocks until a running preview has delivered its result.
  void WaitForPreview();
  // What OK does before the dialog ends: the pending preview when Changed,
  // and the filter's name remembered. False when the filter failed.
  bool FinishOk();
  // Commands 108 to 111: zoom a pane in or out; 103, 104 toggle a pane's mode.
  void PaneCommand(int id);
  void done(int result) override;

 private:
  struct PreviewJob;
  void Build();
  void AddBar(QGridLayout* grid, int& row, int bar, const char* label);
  void UpdateFilterScrollBars(int bar, int value);
  void FilterDoCommand(int id);
  void FilterCheckSelect();
  void StartPreview(bool thenAccept);
  void DeliverPreview();
  void RunPreviewNow();
  bool TakeResult(HDIB result, HDIB mask);
  void UpdateLabels();
  void SetBusy(bool busy);
  void RememberFilterName();

  FILTERPARAM* param_;
  FilterView view_;
  FilterPane* before_ = nullptr;
  FilterPane* after_ = nullptr;
  QComboBox* list_ = nullptr;
  QPushButton* preview_ = nullptr;
  QPushButton* ok_ = nullptr;
  QPushButton* cancel_ = nullptr;
  QToolButton* modes_[2] = {nullptr, nullptr};
  QLabel* magnification_[2] = {nullptr, nullptr};
  bool settingUp_ = false;
  bool acceptWhenDone_ = false;
  bool scrolledDuringRun_ = false;
  bool waitCursor_ = false;
  std::shared_ptr<PreviewJob> job_;
  std::thread worker_;
  std::unique_ptr<LongWorkSigns> signs_;  // while OK's filter runs
};

// What the dialog's OK leaves for the document to put in place.
struct FilterOutcome {
  HDIB image;                // the filtered picture (or fragment)
  HDIB newMask;              // a fragment's new 1-bit mask, when a free rotation made one
  bool selection = false;    // the image is the floating fragment's
  bool toDuplicate = false;  // the result goes into a new document
};

// Opens the dialog on the record's image (or its floating fragment) with the
// filter preselected (-1 for the remembered one). 1 for OK with the result in
// `out`, 0 for Cancel or when there is no image; the record is left as it was.
int DoMasterFilterDialog(QWidget* window, BLOCKSET* blockset, int filterType, FilterOutcome* out);

// The selection's popup: the filters valid for the document (and its
// selection), each carrying its command number. Null without a record.
QMenu* CreateFilterPopupMenu(const BLOCKSET* blockset, QWidget* parent);
}  // namespace ochrel
