// "ShadowBox": the soft shadow settings of a document with a live sample of
// the current tool's object and its shadow.
#pragma once

#include <QAbstractButton>
#include <QDialog>

#include "fills/shadow.h"

class QLabel;
class QRadioButton;
class QScrollBar;
class QSlider;
class QSpinBox;

namespace ochrel {

struct BLOCKSET;
class ColourSwatch;
class ShadowBox;

// 100-107: one compass direction, pressed when it is the record's.
class ShadowDirectionButton : public QAbstractButton {
  Q_OBJECT
 public:
  ShadowDirectionButton(ShadowBox* box, int direction);
  QSize sizeHint() const override { return QSize(28, 28); }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  ShadowBox* box_;
  int direction_;
};

// 113: the sample.
class ShadowSample : public QWidget {
  Q_OBJECT
 public:
  explicit ShadowSample(ShadowBox* box);
  QSize sizeHint() const override { return QSize(200, 150); }

 protected:
  void paintEvent(QPaintEvent*) override;

 private:
  ShadowBox* box_;
};

class ShadowBox : public QDialog {
  Q_OBJECT
 public:
  // Edits *working; its Owner is the document whose colours and tool the sample shows.
  ShadowBox(SHADOW* working, QWidget* parent = nullptr);
  SHADOW* working() const { return working_; }
  QAbstractButton* directionButton(int direction) const { return directions_[direction]; }
  QRadioButton* typeButton(int type) const { return types_[type]; }
  ColourSwatch* swatch() const { return swatch_; }
  ShadowSample* sample() const { return sample_; }
  QSlider* opacity() const { return opacity_; }
  QLabel* opacityText() const { return opacityText_; }
  QScrollBar* softness() const { return softness_; }
  QLabel* softnessText() const { return softnessText_; }
  QSpinBox* offset() const { return offset_; }
  void ChooseDirection(int direction);
  // The sample picture the dialog shows for its working record at its size (null on failure).
  HDIB MakeSample() const;
  int sampleRenders() const { return sampleRenders_; }
  void CountSampleRender() { ++sampleRenders_; }

 private:
  void PickColour();
  void ShowTexts();
  SHADOW* working_;
  ShadowDirectionButton* directions_[8];
  QRadioButton* types_[3];
  ColourSwatch* swatch_;
  ShadowSample* sample_;
  QSlider* opacity_;
  QLabel* opacityText_;
  QScrollBar* softness_;
  QLabel* softnessText_;
  QSpinBox* offset_;
  int sampleRenders_ = 0;
};

}  // namespace ochrel
