#pragma once

#include <QDialog>

class QSpinBox;
class QCheckBox;

namespace ochrel {

struct BLOCKSET;

// "GridBox": grid spacing and whether the grid is active and visible.
class GridBox : public QDialog {
  Q_OBJECT
 public:
  GridBox(const BLOCKSET* record, QWidget* parent = nullptr);
  QSpinBox* horizontal() const { return horizontal_; }
  QSpinBox* vertical() const { return vertical_; }
  QCheckBox* active() const { return active_; }
  QCheckBox* visible() const { return visible_; }

 private:
  QSpinBox* horizontal_;
  QSpinBox* vertical_;
  QCheckBox* active_;
  QCheckBox* visible_;
};

// Runs the dialog; on OK stores the four values (and the defaults with
// UpdateDefaults). Returns whether OK was pressed.
bool DoSetGrid(QWidget* parent, BLOCKSET* record);

}  // namespace ochrel
