#include "ui/dialogs/image/griddialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPushButton>
#include <QSpinBox>

#include "frame/blockset.h"
#include "frame/config.h"
#include "ui/widgets/dialogrunner.h"

namespace ochrel {

GridBox::GridBox(const BLOCKSET* r, QWidget* parent) : QDialog(parent) {
  setObjectName("GridBox");
  setWindowTitle(tr("Grid"));
  auto* form = new QFormLayout(this);
  horizontal_ = new QSpinBox(this);
  horizontal_->setObjectName("101");
  horizontal_->setRange(4, 64);
  horizontal_->setValue(r->GridHorizontal);
  vertical_ = new QSpinBox(this);
  vertical_->setObjectName("102");
  vertical_->setRange(4, 64);
  vertical_->setValue(r->GridVertical);
  active_ = new QCheckBox(tr("Grid &active"), this);
  active_->setObjectName("103");
  active_->setChecked(r->GridActive);
  visible_ = new QCheckBox(tr("Grid &visible"), this);
  visible_->setObjectName("104");
  visible_->setChecked(r->GridShow);
  visible_->setEnabled(active_->isChecked());
  connect(active_, &QCheckBox::toggled, visible_, &QCheckBox::setEnabled);
  form->addRow(tr("&Horizontal spacing:"), horizontal_);
  form->addRow(tr("V&ertical spacing:"), vertical_);
  form->addRow(active_);
  form->addRow(visible_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  form->addRow(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "GRID"); });
}

bool DoSetGrid(QWidget* parent, BLOCKSET* r) {
  GridBox box(r, parent);
  if (!RunDialog(box)) return false;
  r->GridHorizontal = box.horizontal()->value();
  r->GridVertical = box.vertical()->value();
  r->GridActive = box.active()->isChecked() ? 1 : 0;
  r->GridShow = box.visible()->isChecked() ? 1 : 0;
  UpdateDefault(&DefaultGridHorizontal, r->GridHorizontal);
  UpdateDefault(&DefaultGridVertical, r->GridVertical);
  UpdateDefault(&DefaultGridActive, r->GridActive);
  UpdateDefault(&DefaultGridShow, r->GridShow);
  return true;
}

}  // namespace ochrel
