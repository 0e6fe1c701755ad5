#include "ui/dialogs/image/attributesdialog.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QSpinBox>
#include <QToolButton>

#include "frame/attributes.h"
#include "frame/blockset.h"
#include "frame/services.h"
#include "frame/strings.h"
#include "frame/settings.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {
// A canvas with the old picture (dark) standing at the anchor.
QIcon AnchorIcon(int anchor) {
  return DrawnIcon([anchor](QPainter& p) {
    p.setPen(QPen(QColor(60, 60, 70), 0.04));
    p.setBrush(QColor(255, 255, 255));
    p.drawRect(QRectF(0.08, 0.08, 0.84, 0.84));
    double x = 0.14, y = 0.14;
    if (anchor == ANCHOR_UPPERRIGHT || anchor == ANCHOR_LOWERRIGHT) x = 0.50;
    if (anchor == ANCHOR_LOWERRIGHT || anchor == ANCHOR_LOWERLEFT) y = 0.50;
    if (anchor == ANCHOR_CENTER) x = y = 0.32;
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(50, 110, 200));
    p.drawRect(QRectF(x, y, 0.36, 0.36));
  });
}
}  // namespace

ImageAttributesBox::ImageAttributesBox(const BLOCKSET* r, QWidget* parent)
    : QDialog(parent), anchor_(ImageAttributesDirection) {
  setObjectName("ImageAttributesBox");
  setWindowTitle(tr("Image Attributes"));
  int w = 1, h = 1, bits = 24;
  GetBitmapDimensions(r->Image, &w, &h, &bits, nullptr);
  auto* form = new QFormLayout(this);
  width_ = new QSpinBox(this);
  width_->setRange(1, 32760);
  width_->setValue(w);
  height_ = new QSpinBox(this);
  height_->setRange(1, 32760);
  height_->setValue(h);
  long long colours = 1LL << std::min(bits, 24);
  colours_ = new QLabel(QString::fromStdString(formatlong(colours)), this);
  form->addRow(tr("&Width:"), width_);
  form->addRow(tr("&Height:"), height_);
  form->addRow(tr("Colors:"), colours_);
  auto* grid = new QGridLayout;
  auto* group = new QButtonGroup(this);
  const struct {
    int id;
    int row, col;
    const char* name;
  } cells[] = {
      {ANCHOR_UPPERLEFT, 0, 0, "UpperLeft"}, {ANCHOR_UPPERRIGHT, 0, 2, "UpperRight"}, {ANCHOR_CENTER, 1, 1, "Center"},
      {ANCHOR_LOWERLEFT, 2, 0, "LowerLeft"}, {ANCHOR_LOWERRIGHT, 2, 2, "LowerRight"},
  };
  for (const auto& c : cells) {
    auto* b = new QToolButton(this);
    b->setObjectName(c.name);
    b->setToolTip(c.name);
    b->setCheckable(true);
    b->setIcon(AnchorIcon(c.id));
    b->setIconSize(QSize(28, 28));
    b->setChecked(c.id == anchor_);
    group->addButton(b, c.id);
    grid->addWidget(b, c.row, c.col);
    anchors_[c.id] = b;
  }
  if (!anchors_.count(anchor_)) {
    anchor_ = ANCHOR_UPPERLEFT;
    anchors_[anchor_]->setChecked(true);
  }
  connect(group, &QButtonGroup::idClicked, this, [this](int id) { anchor_ = id; });
  form->addRow(tr("Anchor:"), grid);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  form->addRow(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "ATTRIBUTES"); });
}

HDIB DoImageAttributes(QWidget* parent, const BLOCKSET* r) {
  if (!r->Image) return nullptr;
  ImageAttributesBox box(r, parent);
  if (!RunDialog(box)) return nullptr;
  HDIB canvas = AttributesCanvas(r, box.widthField()->value(), box.heightField()->value(), box.anchor());
  if (!canvas) {
    DoMessage(parent, FetchString(IDS_MEMORY_ERROR));
    return nullptr;
  }
  if (UpdateDefaults) ImageAttributesDirection = box.anchor();
  return canvas;
}

}  // namespace ochrel
