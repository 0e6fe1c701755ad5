// "GradientBox": the editor of a document's gradient, with its four type
// samples, live preview and drag-to-set. Also the small pieces every fill and
// shadow editor shares: colour swatches, the colour pickers, framed bitmaps and
// the state of the Shift key.
#pragma once

#include <QAbstractButton>
#include <QDialog>
#include <QImage>

#include <functional>

#include "fills/gradient.h"

class QLabel;
class QSpinBox;

namespace ochrel {

// ---- Shared by the fill and shadow editors ------------------------------------
QColor ColourToQColor(COLORREF c);
// A DIB as a screen image (null image for a null DIB).
QImage FillDibImage(const HDIB& dib);
// The classic 2-pixel edges around an owner-drawn control.
void DrawSunkenEdge(QPainter& p, const QRect& r);
void DrawRaisedEdge(QPainter& p, const QRect& r);

// The colour picker of a true-colour record (`grey` false) or the grey level
// selector of a grey one. True on OK with the colour stored.
bool PickFillColour(QWidget* parent, COLORREF* colour, bool grey);

// Whether Shift is held now; tests may force it (-1 the real keyboard, 0 up, 1 down).
bool FillShiftHeld();
void SetFillShiftOverride(int state);

// An owner-drawn colour swatch: the colour inside a sunken edge.
class ColourSwatch : public QAbstractButton {
  Q_OBJECT
 public:
  ColourSwatch(int id, QWidget* parent);
  void SetColour(COLORREF c);
  // A grey record's colour is a level in the low byte.
  void SetGrey(bool grey);
  COLORREF colour() const { return colour_; }
  QSize sizeHint() const override { return QSize(40, 22); }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  COLORREF colour_ = 0;
  bool grey_ = false;
};

// ---- The gradient editor ------------------------------------------------------
class GradientBox;

// 101-104: the sample of one gradient type, pressed for the current one.
class GradientTypeButton : public QAbstractButton {
  Q_OBJECT
 public:
  GradientTypeButton(GradientBox* box, int type);
  QSize sizeHint() const override { return QSize(56, 56); }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  GradientBox* box_;
  int type_;
};

// 105: the working record drawn at the control's size; a drag sets the
// rotation (types 0 and 3) or the centre (types 1 and 2).
class GradientPreview : public QWidget {
  Q_OBJECT
 public:
  explicit GradientPreview(GradientBox* box);
  QSize sizeHint() const override { return QSize(180, 180); }
  bool dragging() const { return captured_; }

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent*) override;
  void mouseMoveEvent(QMouseEvent*) override;
  void mouseReleaseEvent(QMouseEvent*) override;

 private:
  void Drag(QPoint at);
  GradientBox* box_;
  bool captured_ = false;
  QPoint last_;
};

class GradientBox : public QDialog {
  Q_OBJECT
 public:
  // Edits *working (a copy of the document's record) in place.
  GradientBox(GRADIENT* working, QWidget* parent = nullptr);
  GRADIENT* working() const { return working_; }
  QAbstractButton* typeButton(int type) const { return types_[type]; }
  GradientPreview* preview() const { return preview_; }
  ColourSwatch* startSwatch() const { return start_; }
  ColourSwatch* endSwatch() const { return end_; }
  QSpinBox* rotation() const { return rotation_; }
  QSpinBox* centreX() const { return centreX_; }
  QSpinBox* centreY() const { return centreY_; }
  // 101-104.
  void ChooseType(int type);
  // How many times the preview has made its bitmap (each paint makes one).
  int previewRenders() const { return previewRenders_; }
  void CountPreviewRender() { ++previewRenders_; }

 private:
  void SetEnabledState();
  void PickColour(bool end);
  GRADIENT* working_;
  GradientTypeButton* types_[4];
  GradientPreview* preview_;
  ColourSwatch* start_;
  ColourSwatch* end_;
  QSpinBox* rotation_;
  QSpinBox* centreX_;
  QSpinBox* centreY_;
  QLabel* centreXLabel_;
  QLabel* centreYLabel_;
  int previewRenders_ = 0;
};

}  // namespace ochrel
