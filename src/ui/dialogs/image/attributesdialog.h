#pragma once

#include <QDialog>

#include <map>

#include "image/dib.h"

class QSpinBox;
class QLabel;
class QToolButton;

namespace ochrel {

struct BLOCKSET;

// "ImageAttributesBox": the canvas size and where the old picture stays.
class ImageAttributesBox : public QDialog {
  Q_OBJECT
 public:
  ImageAttributesBox(const BLOCKSET* record, QWidget* parent = nullptr);
  QSpinBox* widthField() const { return width_; }
  QSpinBox* heightField() const { return height_; }
  QLabel* colours() const { return colours_; }
  QToolButton* anchorButton(int id) const { return anchors_.at(id); }
  int anchor() const { return anchor_; }

 private:
  QSpinBox* width_;
  QSpinBox* height_;
  QLabel* colours_;
  std::map<int, QToolButton*> anchors_;
  int anchor_;
};

// Runs the dialog and, on OK, returns the new canvas for the document to put
// in place; null for Cancel or, after "Memory error", when it can't be made.
HDIB DoImageAttributes(QWidget* parent, const BLOCKSET* record);

}  // namespace ochrel
