#include "ui/dialogs/fills/shadowdialog.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "render/shadow_sample.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/fills/gradientdialog.h"

namespace ochrel {

namespace {
// Where each direction's button sits in the 3-by-3 compass (row, column).
constexpr int kDirectionCell[8][2] = {{0, 0}, {0, 1}, {0, 2}, {1, 2}, {1, 0}, {2, 0}, {2, 1}, {2, 2}};
}  // namespace

ShadowDirectionButton::ShadowDirectionButton(ShadowBox* box, int direction)
    : QAbstractButton(box), box_(box), direction_(direction) {
  setObjectName(QString::number(100 + direction));
  setFocusPolicy(Qt::StrongFocus);
  setFixedSize(sizeHint());
}

void ShadowDirectionButton::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const bool pressed = box_->working()->ShadowDirection == direction_;
  p.fillRect(rect(), palette().button());
  if (pressed) DrawSunkenEdge(p, rect());
  else DrawRaisedEdge(p, rect());
  // An arrow from the middle toward the shadow's side.
  int dx = 0, dy = 0;
  ShadowOffsetFor(direction_, 1, &dx, &dy);
  const double len = std::hypot(dx, dy);
  const QPointF c = QPointF(width() / 2.0, height() / 2.0) + (pressed ? QPointF(1, 1) : QPointF(0, 0));
  const QPointF u(dx / len, dy / len), n(-u.y(), u.x());
  const QPointF tip = c + u * 8, tail = c - u * 7, base = tip - u * 6;
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(isEnabled() ? Qt::black : Qt::gray, 2));
  p.drawLine(tail, base);
  QPainterPath head;
  head.moveTo(tip);
  head.lineTo(base + n * 4.5);
  head.lineTo(base - n * 4.5);
  head.closeSubpath();
  p.fillPath(head, isEnabled() ? Qt::black : Qt::gray);
  if (hasFocus()) {
    p.setRenderHint(QPainter::Antialiasing, false);
    p.setPen(QPen(Qt::black, 1, Qt::DotLine));
    p.setBrush(Qt::NoBrush);
    p.drawRect(rect().adjusted(3, 3, -4, -4));
  }
}

ShadowSample::ShadowSample(ShadowBox* box) : QWidget(box), box_(box) {
  setObjectName("113");
  setFixedSize(sizeHint());
}

HDIB ShadowBox::MakeSample() const {
  const QRect inner = sample_->rect().adjusted(2, 2, -2, -2);
  SHADOWSAMPLE s;
  s.Text = TextFontExampleString;
  if (const auto* r = static_cast<const BLOCKSET*>(working_->Owner)) {
    s.ImageType = r->ImageType;
    s.PaintColour = GetPaintColour(r);
    s.FillColour = GetFillColour(r);
    s.PaperColour = GetPaperColour(r);
    s.Tool = r->Tool;
    s.TextFontName = r->TextFontName;
    s.TextFontSize = r->TextFontSize;
    s.TextFontBold = r->TextFontBold;
    s.TextFontItal = r->TextFontItal;
    s.TextFontUnder = r->TextFontUnder;
  }
  return CreateSampleShadow(*working_, s, RECT{0, 0, inner.width(), inner.height()});
}

void ShadowSample::paintEvent(QPaintEvent*) {
  QPainter p(this);
  box_->CountSampleRender();
  const QRect inner = rect().adjusted(2, 2, -2, -2);
  HDIB dib = box_->MakeSample();
  if (dib) {
    p.drawImage(inner.topLeft(), FillDibImage(dib));
  } else {
    const auto* r = static_cast<const BLOCKSET*>(box_->working()->Owner);
    p.fillRect(inner, ColourToQColor(r ? GetPaperColour(r) : 0xFFFFFF));
  }
  DrawSunkenEdge(p, rect());
}

ShadowBox::ShadowBox(SHADOW* working, QWidget* parent) : QDialog(parent), working_(working) {
  setObjectName("ShadowBox");
  setWindowTitle(tr("Soft shadows"));
  auto* grid = new QGridLayout(this);

  // Directions.
  auto* compass = new QGridLayout;
  compass->setSpacing(2);
  for (int d = 0; d < 8; ++d) {
    directions_[d] = new ShadowDirectionButton(this, d);
    compass->addWidget(directions_[d], kDirectionCell[d][0], kDirectionCell[d][1]);
    connect(directions_[d], &QAbstractButton::clicked, this, [this, d] { ChooseDirection(d); });
  }
  grid->addLayout(compass, 0, 0, Qt::AlignTop | Qt::AlignLeft);

  // Colour.
  auto* colours = new QVBoxLayout;
  auto* group = new QButtonGroup(this);
  const char* names[3] = {"&Paint color", "&Fill color", "&Custom color"};
  for (int t = 0; t < 3; ++t) {
    types_[t] = new QRadioButton(tr(names[t]), this);
    types_[t]->setObjectName(QString::number(109 + t));
    group->addButton(types_[t], t);
    colours->addWidget(types_[t]);
  }
  types_[std::clamp(working_->ShadowType, 0, 2)]->setChecked(true);
  swatch_ = new ColourSwatch(112, this);
  swatch_->SetColour(working_->ShadowColor);
  colours->addWidget(swatch_);
  colours->addStretch();
  grid->addLayout(colours, 0, 1);

  // Sample and opacity.
  sample_ = new ShadowSample(this);
  grid->addWidget(sample_, 0, 2, 2, 1);
  auto* opacityColumn = new QVBoxLayout;
  opacityColumn->addWidget(new QLabel(tr("Trans."), this), 0, Qt::AlignHCenter);
  opacity_ = new QSlider(Qt::Vertical, this);
  opacity_->setObjectName("114");
  opacity_->setRange(0, 255);
  opacity_->setTickInterval(16);
  opacity_->setTickPosition(QSlider::TicksBothSides);
  opacity_->setInvertedAppearance(true);  // transparent at the top
  opacity_->setValue(std::clamp(working_->ShadowOpacity, 0, 255));
  opacityColumn->addWidget(opacity_, 1, Qt::AlignHCenter);
  opacityColumn->addWidget(new QLabel(tr("Opaque"), this), 0, Qt::AlignHCenter);
  opacityText_ = new QLabel(this);
  opacityText_->setObjectName("115");
  opacityText_->setAlignment(Qt::AlignCenter);
  opacityColumn->addWidget(opacityText_);
  grid->addLayout(opacityColumn, 0, 3, 2, 1);

  // Softness and offset.
  auto* soft = new QHBoxLayout;
  soft->addWidget(new QLabel(tr("Hard"), this));
  softness_ = new QScrollBar(Qt::Horizontal, this);
  softness_->setObjectName("116");
  softness_->setRange(5, 100);
  softness_->setSingleStep(1);
  softness_->setPageStep(100 / 8);
  softness_->setValue(std::clamp(working_->ShadowSoft, 5, 100));
  softness_->setMinimumWidth(140);
  soft->addWidget(softness_, 1);
  soft->addWidget(new QLabel(tr("Soft"), this));
  softnessText_ = new QLabel(this);
  softnessText_->setObjectName("118");
  softnessText_->setMinimumWidth(36);
  soft->addWidget(softnessText_);
  grid->addLayout(soft, 2, 0, 1, 3);

  auto* off = new QHBoxLayout;
  offset_ = new QSpinBox(this);
  offset_->setObjectName("117");
  offset_->setRange(0, 256);
  offset_->setValue(std::clamp(working_->ShadowOffset, 0, 256));
  auto* offsetLabel = new QLabel(tr("Offset:"), this);
  offsetLabel->setBuddy(offset_);
  off->addWidget(offsetLabel);
  off->addWidget(offset_);
  off->addStretch();
  grid->addLayout(off, 1, 0, 1, 2, Qt::AlignBottom);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  grid->addWidget(buttons, 3, 0, 1, 4);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "SHADOW"); });
  buttons->button(QDialogButtonBox::Ok)->setDefault(true);

  connect(group, &QButtonGroup::idClicked, this, [this](int t) {
    working_->ShadowType = t;
    sample_->update();
  });
  connect(swatch_, &QAbstractButton::clicked, this, [this] { PickColour(); });
  connect(opacity_, &QSlider::valueChanged, this, [this](int v) {
    working_->ShadowOpacity = v;
    ShowTexts();
    sample_->update();
  });
  connect(softness_, &QScrollBar::valueChanged, this, [this](int v) {
    working_->ShadowSoft = v;
    ShowTexts();
    sample_->update();
  });
  connect(offset_, &QSpinBox::valueChanged, this, [this](int v) {
    working_->ShadowOffset = v;
    sample_->update();
  });
  ShowTexts();
}

void ShadowBox::ShowTexts() {
  opacityText_->setText(QString::asprintf("%d", working_->ShadowOpacity + 1));
  softnessText_->setText(QString::asprintf("%2.02f", working_->ShadowSoft * 0.01));
}

void ShadowBox::ChooseDirection(int direction) {
  working_->ShadowDirection = direction;
  for (auto* b : directions_) b->update();
  sample_->update();
}

void ShadowBox::PickColour() {
  const auto* r = static_cast<const BLOCKSET*>(working_->Owner);
  if (!r) return;
  COLORREF c = working_->ShadowColor;
  if (!PickFillColour(this, &c, r->ImageType == 1)) return;
  working_->ShadowColor = c;
  working_->ShadowType = 2;
  types_[2]->setChecked(true);
  swatch_->SetColour(c);
  sample_->update();
}

}  // namespace ochrel
