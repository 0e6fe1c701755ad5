// The grey-level selector: a vertical ramp of the 256 grey levels, black at
// the top, with a 7-pixel thumb that slides over it. The level is the thumb's
// top times 255 over its travel, so a ramp 262 pixels high reaches every level
// with one pixel per step.
#pragma once

#include <QCursor>
#include <QPoint>
#include <QWidget>

#include <algorithm>

#include "image/dib.h"

namespace ochrel {

enum GreyLevelMessage : int { UM_GREYLEVELCHANGED = 1140, UM_SETGREYLEVEL = 1143, UM_GETGREYLEVEL = 1144 };

class GreyLevelSelectorThumb;

// The ramp ("VarnwickStudioPaintGreyLevelSelector").
class GreyLevelSelector : public QWidget {
  Q_OBJECT
 public:
  static constexpr int kThumbHeight = 7;
  explicit GreyLevelSelector(QWidget* parent = nullptr);

  GreyLevelSelectorThumb* thumb() const { return thumb_; }
  int thumbY() const { return thumbY_; }
  int travel() const { return std::max(0, height() - kThumbHeight); }

  // The level of the stored thumb position, limited to 0..255.
  int GreyLevelGetCurrentPos() const;
  // Moves the thumb to travel x level / 255 and returns that y; a level
  // outside 0..255 returns -1 and moves nothing.
  int GreyLevelSetCurrentPos(int level);
  // The control's messages: UM_SETGREYLEVEL (wParam level with lParam -1, or a
  // COLORREF in lParam, answered with the level of its nearest grey) and
  // UM_GETGREYLEVEL (the COLORREF of the current level).
  long long SendMessage(int message, long long wParam, long long lParam);
  // The nearest entry of the grey ramp to a colour.
  static int NearestGreyLevel(COLORREF colour);

 signals:
  // UM_GREYLEVELCHANGED to the parent: the level and its COLORREF.
  void greyLevelChanged(int level, COLORREF colour);

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent*) override;

 private:
  friend class GreyLevelSelectorThumb;
  // The thumb's note to the ramp, delivered after the present event.
  void PostLevelChanged();
  void LevelChanged();
  GreyLevelSelectorThumb* thumb_;
  int thumbX_ = 0, thumbY_ = 0;
};

// The thumb ("VarnwickStudioPaintGreyLevelSelectorThumb"), a child of the ramp.
class GreyLevelSelectorThumb : public QWidget {
  Q_OBJECT
 public:
  explicit GreyLevelSelectorThumb(GreyLevelSelector* ramp);
  bool dragging() const { return dragging_; }

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  GreyLevelSelector* ramp_;
  bool dragging_ = false;
  QPoint pressed_;
  int lastY_ = 0;
  bool haveLast_ = false;
};

}  // namespace ochrel
