#pragma once

#include <QDialog>

#include <map>

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

// Runs the dialog and, on OK, changes the canvas ("Memory error" if it cannot).
// Returns whether the image was replaced.
bool DoImageAttributes(QWidget* parent, BLOCKSET* record);

}  // namespace ochrel
