#pragma once

#include <QImage>
#include <QMdiSubWindow>
#include <QWidget>

#include "frame/blockset.h"
#include "frame/view.h"
#include "tools/toolsession.h"

#include <map>
#include <memory>
#include <vector>

class QPainter;
class QScrollBar;

namespace ochrel {

class FrameServices;

// What a document window shows: the visible part of its image at the
// document's scale, scrolled by two bars whose positions are image pixels.
// It keeps the converted picture and redoes only the parts that change.
class DocumentView : public QWidget {
  Q_OBJECT
 public:
  DocumentView(BLOCKSET* record, QScrollBar* horizontal, QScrollBar* vertical, QWidget* parent);

  int scrollX() const { return scrollX_; }
  int scrollY() const { return scrollY_; }
  // Positions in image pixels; a negative one means 0. Ranges follow the image.
  void SetScrollBars(int x, int y);
  // The image changed inside this rectangle (image coordinates).
  void InvalidateImageRect(RECT rect);
  // Everything changed (scale, scroll, grid, a new image).
  void InvalidateAll();
  // The image point under a view point.
  POINT ImagePoint(QPoint viewPoint) const;
  ViewRender RenderParams() const;
  void SetTools(DocumentTools* tools) { tools_ = tools; }
  // A tool's inverted preview: each listed view pixel flips, inside the image
  // only. Flipping the same pixels again takes it away, and so does a redraw.
  void InvertPixels(const std::vector<QPoint>& pixels);

 signals:
  void imagePosition(int x, int y);
  // Ctrl with the wheel: `steps` scales up (negative: down) around a view point.
  void wheelZoom(int steps, QPoint at);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  void RenderInto(const QRect& viewRect);
  void PaintFragment(QPainter& painter, const QRect& dirty);
  void Route(int event, QMouseEvent* e);
  DocumentTools* tools_ = nullptr;
  BLOCKSET* record_;
  QScrollBar* hbar_;
  QScrollBar* vbar_;
  int scrollX_ = 0, scrollY_ = 0;
  QImage canvas_;
  bool canvasValid_ = false;
  bool settingBars_ = false;
  int wheelRest_ = 0;
};

// One open image: a child of the multiple-document area owning its record.
class DocumentWindow : public QMdiSubWindow {
  Q_OBJECT
 public:
  DocumentWindow(FrameServices* frame, const std::string& path);
  ~DocumentWindow() override;

  BLOCKSET* record() { return &record_; }
  const BLOCKSET* record() const { return &record_; }
  DocumentView* view() { return view_; }

  // Commands that the frame forwards; true when the number was one of ours.
  bool Command(int id);
  // Fits a new window to its zoomed image, inside the document area.
  void SetBrowserSize();
  // The same after a change of image or scale, when AutoAdjustTaskWindow is set.
  bool AdjustTaskWindow();
  void UpdateTitle();
  // The change of scale of the zoom list and the window's menu.
  void ChangeScale(int viewMode);
  // A new scale that keeps the image point under the view point `at` in place.
  void ZoomAround(int viewMode, QPoint at);
  // Save (57) and Save as (104); false when nothing was written.
  bool Save();
  bool SaveAs();
  // Lays a floating selection (or an open text) into the image, so that what
  // is saved, copied or converted is what the user sees.
  void CommitSelection();
  // Closes without asking (a document that failed to come up).
  void Discard();
  // Redraws after the image block was replaced.
  void ImageReplaced();
  // Puts a new image in place of the old one, with one step of Undo.
  void PutNewImage(HDIB image);
  // A filter from the menu or the selection's popup: -1 for the dialog's own choice.
  void RunFilter(int filterType);
  DocumentTools* tools() const { return tools_.get(); }
  FrameServices* frame() const { return frame_; }
  QScrollBar* horizontalBar() const { return hbar_; }
  QScrollBar* verticalBar() const { return vbar_; }
  // Timers of tool sessions, delivered as WM_TIMER.
  void StartToolTimer(ToolSession* tool, int id, int milliseconds);
  void StopToolTimer(ToolSession* tool, int id);

 protected:
  void closeEvent(QCloseEvent* event) override;
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  QSize FittedSize() const;
  void CheckScaleEntry();
  FrameServices* frame_;
  BLOCKSET record_;
  DocumentView* view_;
  QScrollBar* hbar_;
  QScrollBar* vbar_;
  std::vector<QAction*> scaleActions_;
  bool discarding_ = false;
  std::unique_ptr<ToolHost> host_;
  std::unique_ptr<DocumentTools> tools_;
  std::map<std::pair<ToolSession*, int>, QTimer*> timers_;
};

}  // namespace ochrel
