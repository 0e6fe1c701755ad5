#pragma once

#include <QDialog>

#include "frame/blockset.h"

class QComboBox;
class QSpinBox;
class QPushButton;

namespace ochrel {

// "NewFileBox": kind, width, depth and background colour of a new image.
class NewFileBox : public QDialog {
  Q_OBJECT
 public:
  NewFileBox(const NEWFILEPARAM& initial, QWidget* parent = nullptr);
  NEWFILEPARAM param() const;

  QComboBox* typeList() const { return type_; }
  QSpinBox* widthField() const { return width_; }
  QSpinBox* depthField() const { return depth_; }
  QPushButton* backgroundButton() const { return background_; }

 private:
  void UpdateSwatch();
  QComboBox* type_;
  QSpinBox* width_;
  QSpinBox* depth_;
  QPushButton* background_;
  COLORREF colour_;
};

// Runs the dialog preset from the Default settings; on OK with UpdateDefaults
// set, the four settings take the values.
bool GetNewFileParam(QWidget* parent, NEWFILEPARAM* param);

// Tests answer the dialog without showing it.
using NewFileAnswerer = std::function<bool(NewFileBox&)>;
void SetNewFileAnswerer(NewFileAnswerer answerer);

}  // namespace ochrel
