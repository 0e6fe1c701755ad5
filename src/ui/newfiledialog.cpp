#include "ui/newfiledialog.h"
#include "ui/hidpi.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>

#include "image/settings.h"

namespace ochrel {

namespace {
NewFileAnswerer g_answerer;

QColor ToQColor(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }
}  // namespace

void SetNewFileAnswerer(NewFileAnswerer answerer) { g_answerer = std::move(answerer); }

NewFileBox::NewFileBox(const NEWFILEPARAM& initial, QWidget* parent) : QDialog(parent), colour_(initial.colour) {
  setObjectName("NewFileBox");
  setWindowTitle(tr("New"));
  auto* form = new QFormLayout(this);
  type_ = new QComboBox(this);
  type_->setObjectName("101");
  type_->addItems({"24-bit true color", "8-bit grey scale", "8-bit palette color", "2-bit mono"});
  type_->setCurrentIndex(std::clamp(initial.type, 0, 3));
  width_ = new QSpinBox(this);
  width_->setObjectName("102");
  width_->setRange(16, 20000);
  width_->setValue(initial.width);
  depth_ = new QSpinBox(this);
  depth_->setObjectName("103");
  depth_->setRange(16, 20000);
  depth_->setValue(initial.depth);
  background_ = new QPushButton(this);
  background_->setObjectName("104");
  background_->setFixedSize(60, 22);
  form->addRow(tr("&Type:"), type_);
  form->addRow(tr("&Width:"), width_);
  form->addRow(tr("&Depth:"), depth_);
  form->addRow(tr("Background:"), background_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  form->addRow(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  // A change of kind starts again from black, which every kind has.
  connect(type_, &QComboBox::currentIndexChanged, this, [this] {
    colour_ = 0;
    UpdateSwatch();
  });
  connect(background_, &QPushButton::clicked, this, [this] {
    if (type_->currentIndex() != 0) return;
    QColor c = QColorDialog::getColor(ToQColor(colour_), this, tr("Background"));
    if (c.isValid()) {
      colour_ = RGB(c.red(), c.green(), c.blue());
      UpdateSwatch();
    }
  });
  UpdateSwatch();
}

void NewFileBox::UpdateSwatch() {
  QPixmap pm = CrispPixmap(QSize(44, 14));
  pm.fill(ToQColor(colour_));
  QPainter p(&pm);
  p.setPen(Qt::black);
  // Half a pixel in, so the one-pixel edge covers whole pixels at any ratio.
  p.drawRect(QRectF(0.5, 0.5, 43, 13));
  background_->setIcon(QIcon(pm));
  background_->setIconSize(QSize(44, 14));
  background_->setEnabled(true);
}

NEWFILEPARAM NewFileBox::param() const {
  NEWFILEPARAM p;
  p.width = width_->value();
  p.depth = depth_->value();
  p.type = type_->currentIndex();
  p.colour = colour_;
  return p;
}

bool GetNewFileParam(QWidget* parent, NEWFILEPARAM* param) {
  NEWFILEPARAM initial;
  initial.width = DefaultWidth;
  initial.depth = DefaultDepth;
  initial.type = DefaultNewType;
  initial.colour = static_cast<COLORREF>(DefaultNewColour);
  NewFileBox box(initial, parent);
  bool ok = g_answerer ? g_answerer(box) : box.exec() == QDialog::Accepted;
  if (!ok) return false;
  *param = box.param();
  if (UpdateDefaults) {
    DefaultWidth = param->width;
    DefaultDepth = param->depth;
    DefaultNewType = param->type;
    DefaultNewColour = static_cast<int>(param->colour);
  }
  return true;
}

}  // namespace ochrel
