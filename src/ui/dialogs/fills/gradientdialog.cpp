#include "ui/dialogs/fills/gradientdialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>

#include <algorithm>
#include <cmath>

#include "image/lineangle.h"
#include "render/screen.h"
#include "ui/dialogs/colour/colourdialogs.h"
#include "ui/widgets/dialogrunner.h"

namespace ochrel {

// ---- Shared pieces ------------------------------------------------------------

QColor ColourToQColor(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }

QImage FillDibImage(const HDIB& dib) {
  const BITMAPINFOHEADER* h = LockDib(dib);
  return h ? DibToQImage(h) : QImage();
}

void DrawSunkenEdge(QPainter& p, const QRect& r) {
  p.save();
  p.setBrush(Qt::NoBrush);
  p.setPen(QColor(128, 128, 128));
  p.drawLine(r.left(), r.top(), r.right(), r.top());
  p.drawLine(r.left(), r.top(), r.left(), r.bottom());
  p.setPen(Qt::black);
  p.drawLine(r.left() + 1, r.top() + 1, r.right() - 1, r.top() + 1);
  p.drawLine(r.left() + 1, r.top() + 1, r.left() + 1, r.bottom() - 1);
  p.setPen(Qt::white);
  p.drawLine(r.left(), r.bottom(), r.right(), r.bottom());
  p.drawLine(r.right(), r.top(), r.right(), r.bottom());
  p.setPen(QColor(212, 208, 200));
  p.drawLine(r.left() + 1, r.bottom() - 1, r.right() - 1, r.bottom() - 1);
  p.drawLine(r.right() - 1, r.top() + 1, r.right() - 1, r.bottom() - 1);
  p.restore();
}

void DrawRaisedEdge(QPainter& p, const QRect& r) {
  p.save();
  p.setBrush(Qt::NoBrush);
  p.setPen(QColor(212, 208, 200));
  p.drawLine(r.left(), r.top(), r.right(), r.top());
  p.drawLine(r.left(), r.top(), r.left(), r.bottom());
  p.setPen(Qt::white);
  p.drawLine(r.left() + 1, r.top() + 1, r.right() - 1, r.top() + 1);
  p.drawLine(r.left() + 1, r.top() + 1, r.left() + 1, r.bottom() - 1);
  p.setPen(Qt::black);
  p.drawLine(r.left(), r.bottom(), r.right(), r.bottom());
  p.drawLine(r.right(), r.top(), r.right(), r.bottom());
  p.setPen(QColor(128, 128, 128));
  p.drawLine(r.left() + 1, r.bottom() - 1, r.right() - 1, r.bottom() - 1);
  p.drawLine(r.right() - 1, r.top() + 1, r.right() - 1, r.bottom() - 1);
  p.restore();
}

bool PickFillColour(QWidget* parent, COLORREF* colour, bool grey) {
  return (grey ? DoColourSelectGrey(parent, colour) : DoColourSelectRGB(parent, colour)) != 0;
}

namespace {
int g_shiftOverride = -1;
}

bool FillShiftHeld() {
  if (g_shiftOverride >= 0) return g_shiftOverride != 0;
  return QGuiApplication::queryKeyboardModifiers() & Qt::ShiftModifier;
}

void SetFillShiftOverride(int state) { g_shiftOverride = state; }

ColourSwatch::ColourSwatch(int id, QWidget* parent) : QAbstractButton(parent) {
  setObjectName(QString::number(id));
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
}

void ColourSwatch::SetColour(COLORREF c) {
  colour_ = c;
  update();
}

void ColourSwatch::SetGrey(bool grey) {
  grey_ = grey;
  update();
}

void ColourSwatch::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const COLORREF shown = grey_ ? RGB(colour_ & 255, colour_ & 255, colour_ & 255) : colour_;
  p.fillRect(rect().adjusted(2, 2, -2, -2), isEnabled() ? ColourToQColor(shown) : palette().window().color());
  DrawSunkenEdge(p, rect());
  if (hasFocus()) {
    p.setPen(QPen(palette().highlight().color(), 1, Qt::DotLine));
    p.drawRect(rect().adjusted(3, 3, -4, -4));
  }
}

// ---- Type samples and preview ---------------------------------------------------

namespace {
// Draws the gradient of `record` into the control's rectangle inset by 2.
bool DrawGradientInto(QPainter& p, GRADIENT record, const QRect& client) {
  const QRect inner = client.adjusted(2, 2, -2, -2);
  record.Rect = RECT{inner.left(), inner.top(), inner.right() + 1, inner.bottom() + 1};
  HDIB dib = CreateGradient(&record);
  if (!dib) return false;
  p.drawImage(QPoint(2, 2), FillDibImage(dib));
  return true;
}
}  // namespace

GradientTypeButton::GradientTypeButton(GradientBox* box, int type) : QAbstractButton(box), box_(box), type_(type) {
  setObjectName(QString::number(101 + type));
  setFocusPolicy(Qt::StrongFocus);
  setFixedSize(sizeHint());
}

void GradientTypeButton::paintEvent(QPaintEvent*) {
  QPainter p(this);
  GRADIENT sample = *box_->working();
  sample.GradientType = type_;
  sample.StartColour = 0xFFFFFF;
  sample.EndColour = 0;
  sample.EdgePad = 0;
  sample.CenterX = sample.CenterY = 0;
  sample.Midpoint = 50;
  sample.ImageType = 0;
  sample.Angle = 0;
  DrawGradientInto(p, sample, rect());
  if (box_->working()->GradientType == type_) DrawSunkenEdge(p, rect());
  else DrawRaisedEdge(p, rect());
}

GradientPreview::GradientPreview(GradientBox* box) : QWidget(box), box_(box) {
  setObjectName("105");
  setFixedSize(sizeHint());
  setCursor(Qt::CrossCursor);
}

void GradientPreview::paintEvent(QPaintEvent*) {
  QPainter p(this);
  box_->CountPreviewRender();
  DrawGradientInto(p, *box_->working(), rect());
  DrawSunkenEdge(p, rect());
  if (!captured_) return;
  // The drag overlay, inverted over the fresh preview.
  const QRect inner = rect().adjusted(2, 2, -2, -2);
  p.setClipRect(inner);
  p.setCompositionMode(QPainter::RasterOp_NotDestination);
  const int type = box_->working()->GradientType;
  if (type == 0 || type == 3) {
    const int cx = width() / 2, cy = height() / 2;
    const double a = box_->rotation()->value() * 0.017453277777777776;
    const double dx = -inner.width(), dy = 0;
    const int x = static_cast<int>(dx * std::cos(a) - dy * std::sin(a)) + cx;
    const int y = static_cast<int>(dx * std::sin(a) + dy * std::cos(a)) + cy;
    p.setPen(Qt::black);
    p.drawLine(cx, cy, x, y);
  } else {
    const int x = last_.x(), y = last_.y();
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::black);
    for (QRect r :
         {QRect(QPoint(x + 2, y - 2), QPoint(x + 6, y + 1)), QRect(QPoint(x - 7, y - 2), QPoint(x - 3, y + 1)),
          QRect(QPoint(x - 2, y + 2), QPoint(x + 1, y + 6)), QRect(QPoint(x - 2, y - 7), QPoint(x + 1, y - 3))})
      p.drawRect(r);
  }
}

void GradientPreview::Drag(QPoint at) {
  const QRect inner = rect().adjusted(2, 2, -2, -2);
  at.setX(std::clamp(at.x(), inner.left(), inner.right() + 1));
  at.setY(std::clamp(at.y(), inner.top(), inner.bottom() + 1));
  last_ = at;
  const int type = box_->working()->GradientType;
  if (type == 0 || type == 3) {
    const POINT centre{width() / 2, height() / 2};
    box_->rotation()->setValue(180 - GetLineAngle(centre, POINT{at.x(), at.y()}));
  } else {
    // 51, not 50: the scale the centre has always had.
    box_->centreX()->setValue(at.x() * 100 / inner.width() - 51);
    box_->centreY()->setValue(at.y() * 100 / inner.height() - 51);
  }
}

void GradientPreview::mousePressEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton) return;
  captured_ = true;
  Drag(e->position().toPoint());
  update();
}

void GradientPreview::mouseMoveEvent(QMouseEvent* e) {
  if (!captured_) return;
  Drag(e->position().toPoint());
  update();
}

void GradientPreview::mouseReleaseEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton || !captured_) return;
  Drag(e->position().toPoint());
  captured_ = false;
  update();
}

// ---- The dialog ---------------------------------------------------------------

GradientBox::GradientBox(GRADIENT* working, QWidget* parent) : QDialog(parent), working_(working) {
  setObjectName("GradientBox");
  setWindowTitle(tr("Gradient"));
  auto* grid = new QGridLayout(this);

  auto* typesRow = new QHBoxLayout;
  for (int t = 0; t < 4; ++t) {
    types_[t] = new GradientTypeButton(this, t);
    connect(types_[t], &QAbstractButton::clicked, this, [this, t] { ChooseType(t); });
    typesRow->addWidget(types_[t]);
  }
  typesRow->addStretch();
  grid->addLayout(typesRow, 0, 0, 1, 2);

  preview_ = new GradientPreview(this);
  grid->addWidget(preview_, 1, 0, Qt::AlignTop);

  auto* form = new QGridLayout;
  auto addRow = [&](int row, const QString& text, QWidget* w, QLabel** labelOut = nullptr) {
    auto* label = new QLabel(text, this);
    label->setBuddy(w);
    form->addWidget(label, row, 0);
    form->addWidget(w, row, 1);
    if (labelOut) *labelOut = label;
  };
  start_ = new ColourSwatch(106, this);
  end_ = new ColourSwatch(107, this);
  start_->SetColour(working_->StartColour);
  end_->SetColour(working_->EndColour);
  start_->SetGrey(working_->ImageType != 0);
  end_->SetGrey(working_->ImageType != 0);
  addRow(0, tr("Start color:"), start_);
  addRow(1, tr("End color:"), end_);
  auto makeSpin = [this](int id, int lo, int hi) {
    auto* s = new QSpinBox(this);
    s->setObjectName(QString::number(id));
    s->setRange(lo, hi);
    return s;
  };
  rotation_ = makeSpin(109, -360, 360);
  centreX_ = makeSpin(111, -50, 50);
  centreY_ = makeSpin(113, -50, 50);
  addRow(2, tr("Rotation:"), rotation_);
  addRow(3, tr("Center X (%):"), centreX_, &centreXLabel_);
  addRow(4, tr("Center Y (%):"), centreY_, &centreYLabel_);
  centreXLabel_->setObjectName("115");
  centreYLabel_->setObjectName("116");
  form->setRowStretch(5, 1);
  grid->addLayout(form, 1, 1);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  grid->addWidget(buttons, 2, 0, 1, 2);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "GRADIENT"); });
  buttons->button(QDialogButtonBox::Ok)->setDefault(true);
  buttons->button(QDialogButtonBox::Ok)->setFocus();

  connect(start_, &QAbstractButton::clicked, this, [this] { PickColour(false); });
  connect(end_, &QAbstractButton::clicked, this, [this] { PickColour(true); });
  auto stores = [this](QSpinBox* spin, int* field) {
    connect(spin, &QSpinBox::valueChanged, this, [this, field](int v) {
      *field = v;
      preview_->update();
    });
  };
  stores(rotation_, &working_->Angle);
  stores(centreX_, &working_->CenterX);
  stores(centreY_, &working_->CenterY);
  // Every opening starts rotation and centre at 0, and the working copy follows
  // the edits at once.
  rotation_->setValue(0);
  centreX_->setValue(0);
  centreY_->setValue(0);
  working_->Angle = working_->CenterX = working_->CenterY = 0;
  SetEnabledState();
}

void GradientBox::ChooseType(int type) {
  types_[std::clamp(working_->GradientType, 0, 3)]->update();
  working_->GradientType = type;
  types_[type]->update();
  preview_->update();
  SetEnabledState();
}

void GradientBox::SetEnabledState() {
  const int t = working_->GradientType;
  const bool rotationOn = t == 0 || t == 3, centreOn = t != 0;
  rotation_->setEnabled(rotationOn);
  for (QWidget* w : std::initializer_list<QWidget*>{centreX_, centreY_, centreXLabel_, centreYLabel_})
    w->setEnabled(centreOn);
}

void GradientBox::PickColour(bool end) {
  if (working_->ImageType != 0 && working_->ImageType != 1) return;
  COLORREF c = end ? working_->EndColour : working_->StartColour;
  if (!PickFillColour(this, &c, working_->ImageType == 1)) return;
  (end ? working_->EndColour : working_->StartColour) = c;
  (end ? end_ : start_)->SetColour(c);
  preview_->update();
}

}  // namespace ochrel
