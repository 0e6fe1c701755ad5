#include "ui/dialogs/filter/filterdialog.h"
#include "ui/widgets/hidpi.h"

#include "image/progress.h"
#include "image/resample.h"
#include "tools/selection.h"
#include "tools/toolsession.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <cstdio>

#include "frame/blockset.h"
#include "frame/options.h"
#include "frame/strings.h"
#include "frame/view.h"
#include "frame/settings.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/widgets/longwork.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {

// The scroll bars: bar, its label's text and the setting it moves. The label
// is the bar's number plus one, the value label plus two.
struct BarRow {
  int bar;
  const char* label;
  const char* setting;
};
const BarRow kBars[] = {
    {201, "Contrast:", "FilterContrast"},
    {204, "Brightness:", "FilterBrightness"},
    {207, "Red:", "FilterRed"},
    {210, "Green:", "FilterGreen"},
    {213, "Blue:", "FilterBlue"},
    {216, "Intensity:", "FilterIntensity"},
    {219, "Depth:", "FilterGaussianSigma"},
    {222, "Radius:", "FilterGaussianRadius"},
    {225, "Amount:", "FilterUnsharpAmount"},
    {228, "Threshold:", "FilterUnsharpThreshold"},
    {231, "Threshold:", "FilterSolarizeThreshold"},
    {237, "Intensity:", "FilterNoiseLevel"},
    {240, "Fade:", "FilterVignetteLevel"},
    {243, "Offset:", "FilterVignetteOffsetLevel"},
    {246, "Radius:", "FilterEmbossWidth"},
    {249, "Depth:", "FilterEmbossSigma"},
    {252, "Radius:", "FilterSharpenWidth"},
    {255, "Depth:", "FilterSharpenSigma"},
    {274, "Radius:", "FilterOilpaintRadius"},
    {277, "Azimuth:", "FilterShadeAzimuth"},
    {280, "Elevation:", "FilterShadeElevation"},
};

const BarRow* FindBar(int bar) {
  for (const BarRow& b : kBars)
    if (b.bar == bar) return &b;
  return nullptr;
}

// Check boxes and the field each one writes.
struct CheckRow {
  int id;
  const char* text;
  int FILTERPARAM::*field;
};
const CheckRow kChecks[] = {
    {234, "Colored noise", &FILTERPARAM::FilterNoiseColour},
    {260, "Constant", &FILTERPARAM::FilterResizeConstant},
    {261, "Interpolate", &FILTERPARAM::FilterResizeInterpolate},
    {270, "Interpolate", &FILTERPARAM::FilterRotateInterpolate},
    {271, "Preserve size", &FILTERPARAM::FilterRotatePreserve},
    {283, "Colored shade", &FILTERPARAM::FilterShadeLevel},
};

// Edits with their spins: the spin's "lowest,highest,position" text and the field.
struct SpinRow {
  int id;
  int lowest, highest, position;
  int FILTERPARAM::*field;
};
const SpinRow kSpins[] = {
    {258, 5, 5000, 100, &FILTERPARAM::ResizeHorizontal},
    {259, 5, 5000, 100, &FILTERPARAM::ResizeVertical},
    {264, 0, 359, 0, &FILTERPARAM::FilterRotateAngle},
    {284, -1440, 1440, 45, &FILTERPARAM::FilterSwirlDegrees},
};

const char kNoiseTypes[] = "Gaussian Noise;Multiplicative Noise;Impulse Noise;Laplacian Noise;Poisson Noise";

// The worker's copy of the record: every setting and what the filters read,
// but no images of the dialog's own.
void CopySettings(const FILTERPARAM& from, FILTERPARAM* to) {
  for (int k = 0; k < FILTER_SETTING_COUNT; ++k) to->*filtersettings[k].field = from.*filtersettings[k].field;
  to->FilterType = from.FilterType;
  to->BeforeImage = from.BeforeImage;
  to->BeforeWidth = from.BeforeWidth;
  to->BeforeDepth = from.BeforeDepth;
  to->ImageType = from.ImageType;
  to->PaperColour = from.PaperColour;
  to->HasSelection = from.HasSelection;
  to->HasMask = from.HasMask;
}

HDIB RunFilter(int filter, FILTERPARAM* param) {
  if (filter < 0 || filter >= FILTER_COUNT || !param->BeforeImage) return nullptr;
  try {
    return filtertype[filter].function(*param->BeforeImage, param);
  } catch (...) {
    return nullptr;  // a filter's own bookkeeping ran out of memory: same as a null result
  }
}

// A magnifier for zoom mode, four arrows for pan mode.
void DrawModePicture(QPainter& p, const QRect& r, int mode) {
  p.setRenderHint(QPainter::Antialiasing);
  QPen pen(Qt::black, 1.6);
  p.setPen(pen);
  const QPointF c = QRectF(r).center();
  const double s = std::min(r.width(), r.height()) / 2.0 - 2;
  if (mode == 0) {
    QPointF lens = c + QPointF(-s * 0.2, -s * 0.2);
    p.setBrush(QColor(220, 235, 255));
    p.drawEllipse(lens, s * 0.55, s * 0.55);
    p.setPen(QPen(Qt::black, 2.6, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(lens + QPointF(s * 0.4, s * 0.4), c + QPointF(s * 0.85, s * 0.85));
  } else {
    p.setBrush(Qt::black);
    for (int k = 0; k < 4; ++k) {
      p.save();
      p.translate(c);
      p.rotate(90.0 * k);
      p.drawLine(QPointF(0, 0), QPointF(0, -s * 0.75));
      QPainterPath head;
      head.moveTo(0, -s);
      head.lineTo(-s * 0.3, -s * 0.6);
      head.lineTo(s * 0.3, -s * 0.6);
      head.closeSubpath();
      p.drawPath(head);
      p.restore();
    }
  }
}

QCursor ZoomCursor() {
  QPixmap pm = CrispPixmap(QSize(24, 24));
  QPainter p(&pm);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(Qt::white, 4));
  p.drawEllipse(QPointF(9, 9), 6.5, 6.5);
  p.drawLine(QPointF(14, 14), QPointF(21, 21));
  p.setPen(QPen(Qt::black, 2));
  p.setBrush(Qt::NoBrush);
  p.drawEllipse(QPointF(9, 9), 6.5, 6.5);
  p.drawLine(QPointF(14, 14), QPointF(21, 21));
  p.end();
  return QCursor(pm, 9, 9);
}

// A curved arrow round a centre: clockwise or counter-clockwise.
QPixmap DirectionPicture(bool clockwise) {
  QPixmap pm = CrispPixmap(QSize(28, 28));
  QPainter p(&pm);
  p.setRenderHint(QPainter::Antialiasing);
  p.setPen(QPen(QColor(30, 30, 30), 2));
  QRectF arc(5, 5, 18, 18);
  // From the top, three quarters of a turn in the arrow's direction.
  p.drawArc(arc, 90 * 16, clockwise ? -270 * 16 : 270 * 16);
  QPointF tip = clockwise ? QPointF(5, 14) : QPointF(23, 14);
  QPainterPath head;
  head.moveTo(tip + QPointF(0, -4));
  head.lineTo(tip + QPointF(clockwise ? -4 : 4, 2));
  head.lineTo(tip + QPointF(clockwise ? 4 : -4, 2));
  head.closeSubpath();
  p.setBrush(QColor(30, 30, 30));
  p.drawPath(head);
  return pm;
}

}  // namespace

int ClampFilterPan(int offset, int inner, int scaled) {
  int lower, upper;
  if (scaled >= inner) {
    lower = inner / 2 - scaled / 2 + 2;
    upper = scaled / 2 - inner / 2;
  } else {
    lower = -((inner - scaled) / 2);
    upper = (inner - scaled) / 2 + 2;
  }
  if (offset < lower) offset = lower;
  if (offset > upper) offset = upper;
  return offset;
}

// ---- Panes ----------------------------------------------------------------------------

FilterPane::FilterPane(int id, FILTERPARAM* param, FilterView* view, QWidget* parent)
    : QFrame(parent), param_(param), view_(view), after_(id == 102) {
  setObjectName(QString::number(id));
  setMouseTracking(true);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumSize(160, 160);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  UpdateCursor();
}

const HDIB* FilterPane::Image() const { return after_ ? &param_->AfterImage : param_->BeforeImage; }
int& FilterPane::Zoom() const { return after_ ? view_->AfterZoom : view_->BeforeZoom; }
int& FilterPane::PanX() const { return after_ ? view_->AfterX : view_->BeforeX; }
int& FilterPane::PanY() const { return after_ ? view_->AfterY : view_->BeforeY; }
int FilterPane::Mode() const { return after_ ? view_->AfterMode : view_->BeforeMode; }

void FilterPane::UpdateCursor() {
  if (Mode() == 0) setCursor(ZoomCursor());
  else setCursor(view_->Dragging ? Qt::ClosedHandCursor : Qt::OpenHandCursor);
}

QRect FilterPane::ImageRect(int panX, int panY) const {
  const HDIB* image = Image();
  const BITMAPINFOHEADER* h = image ? LockDib(*image) : nullptr;
  if (!h) return QRect();
  const QRect inner = InnerRect();
  const int zoom = Zoom();
  const int sw = static_cast<int>(static_cast<long long>(h->biWidth) * zoom / 100);
  const int sh = static_cast<int>(static_cast<long long>(h->biHeight) * zoom / 100);
  return QRect(inner.left() + (inner.width() - sw) / 2 + panX, inner.top() + (inner.height() - sh) / 2 + panY, sw, sh);
}

QPoint FilterPane::ClampedPan(int panX, int panY) const {
  const QRect image = ImageRect(0, 0);
  const QRect inner = InnerRect();
  return QPoint(ClampFilterPan(panX, inner.width(), image.width()),
                ClampFilterPan(panY, inner.height(), image.height()));
}

void FilterPane::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.setPen(Qt::black);
  p.setBrush(Qt::NoBrush);
  p.drawRect(rect().adjusted(0, 0, -1, -1));
  const QRect inner = InnerRect();
  p.setClipRect(inner);
  const QRect image = ImageRect(PanX(), PanY());
  lastImage_ = image;
  const QRect shown = image & inner;
  // White round the image; only the part that shows is rendered.
  p.fillRect(inner, Qt::white);
  if (shown.isEmpty()) return;
  const BITMAPINFOHEADER* h = LockDib(*Image());
  if (canvas_.size() != shown.size()) canvas_ = QImage(shown.size(), QImage::Format_RGB32);
  if (canvas_.isNull()) return;
  ViewRender v;
  v.percent = Zoom();
  v.background = 0xFFFFFFFFu;
  RenderView(h, v, shown.left() - image.left(), shown.top() - image.top(), shown.width(), shown.height(),
             reinterpret_cast<std::uint32_t*>(canvas_.bits()), static_cast<std::size_t>(canvas_.bytesPerLine()));
  p.drawImage(shown.topLeft(), canvas_);
}

void FilterPane::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || Mode() != 1) return;
  const QPoint at = event->position().toPoint();
  view_->DragX = at.x();
  view_->DragY = at.y();
  view_->Dragging = 1;
  view_->DragPaint = 0;
  dragging_ = true;
  UpdateCursor();
}

void FilterPane::mouseMoveEvent(QMouseEvent* event) {
  UpdateCursor();
  if (Mode() != 1 || !dragging_) return;
  // The image follows the hand; only the button-up keeps the place.
  const QPoint at = event->position().toPoint();
  const int keepX = PanX(), keepY = PanY();
  const QPoint candidate = ClampedPan(keepX + at.x() - view_->DragX, keepY + at.y() - view_->DragY);
  PanX() = candidate.x();
  PanY() = candidate.y();
  view_->DragPaint = 1;
  repaint();
  view_->DragPaint = 0;
  PanX() = keepX;
  PanY() = keepY;
}

void FilterPane::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint at = event->position().toPoint();
  if (event->button() == Qt::LeftButton) {
    if (Mode() == 0) {
      emit zoomIn();
    } else if (dragging_) {
      dragging_ = false;
      view_->Dragging = 0;
      const QPoint pan = ClampedPan(PanX() + at.x() - view_->DragX, PanY() + at.y() - view_->DragY);
      PanX() = pan.x();
      PanY() = pan.y();
      update();
      UpdateCursor();
    }
  } else if (event->button() == Qt::RightButton) {
    if (Mode() == 0) {
      emit zoomOut();
    } else {
      PanX() = 0;
      PanY() = 0;
      update();
    }
  }
}

// ---- The dialog --------------------------------------------------------------------------

struct MasterFilterBox::PreviewJob {
  FILTERPARAM param;
  int filter = -1;
  HDIB result;
  std::atomic<bool> done{false};
  // A run started by OK reads its own copy of the picture, so that Esc can
  // abandon it (and stop the filter); once abandoned the worker leaves the
  // dialog alone.
  HDIB before;
  std::shared_ptr<ProgressSink> progress;
  std::mutex lock;
  bool abandoned = false;
};

MasterFilterBox::MasterFilterBox(FILTERPARAM* param, QWidget* parent) : QDialog(parent), param_(param) {
  setObjectName("MasterFilterBox");
  setWindowTitle("Filters");
  Build();
  // The list: the filters this image may take, in table order, each item
  // carrying its number plus one.
  for (int f = 0; f < FILTER_COUNT; ++f)
    if (FilterIsValidFilter(param_->ImageType, param_->HasSelection, param_->HasMask, f))
      list_->addItem(QString::fromLatin1(filtertype[f].name), f + 1);
  int row = -1;
  if (param_->FilterType >= 0) row = list_->findData(param_->FilterType + 1);
  else row = list_->findText(QString::fromUtf8(DefaultFilterType));
  if (row < 0) row = 0;
  list_->setCurrentIndex(list_->count() ? row : -1);
  qobject_cast<QCheckBox*>(control(113))->setChecked(FilterRemember != 0);
  qobject_cast<QCheckBox*>(control(115))->setChecked(FilterApplyToDuplicate != 0);
  SetFilterDefaults();
  SetFilterLevel(SelectedFilter());
  UpdateLabels();
  ok_->setDefault(true);
  ok_->setFocus();
}

MasterFilterBox::~MasterFilterBox() {
  if (worker_.joinable()) worker_.join();
  SetBusy(false);
}

void MasterFilterBox::AddBar(QGridLayout* grid, int& row, int bar, const char* label) {
  const BarRow* b = FindBar(bar);
  auto* text = new QLabel(QString::fromLatin1(label), this);
  text->setObjectName(QString::number(bar + 1));
  auto* scroll = new QScrollBar(Qt::Horizontal, this);
  scroll->setObjectName(QString::number(bar));
  scroll->setMinimumWidth(150);
  auto* value = new QLabel(this);
  value->setObjectName(QString::number(bar + 2));
  value->setMinimumWidth(QFontMetrics(font()).horizontalAdvance("0000.0"));
  value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  grid->addWidget(text, row, 0);
  grid->addWidget(scroll, row, 1);
  grid->addWidget(value, row, 2);
  ++row;
  connect(scroll, &QScrollBar::valueChanged, this, [this, bar](int v) { UpdateFilterScrollBars(bar, v); });
  (void)b;
}

void MasterFilterBox::Build() {
  auto* outer = new QHBoxLayout(this);
  // Left: the two panes with their mode buttons and magnifications, Preview under them.
  auto* left = new QVBoxLayout;
  auto* panes = new QHBoxLayout;
  for (int k = 0; k < 2; ++k) {
    auto* column = new QVBoxLayout;
    auto* pane = new FilterPane(101 + k, param_, &view_, this);
    (k == 0 ? before_ : after_) = pane;
    column->addWidget(pane, 1);
    auto* under = new QHBoxLayout;
    auto* mode = new QToolButton(this);
    mode->setObjectName(QString::number(103 + k));
    mode->setFixedSize(26, 26);
    mode->setIconSize(QSize(20, 20));
    mode->setFocusPolicy(Qt::TabFocus);
    modes_[k] = mode;
    auto* label = new QLabel(this);
    label->setObjectName(QString::number(105 + k));
    magnification_[k] = label;
    under->addWidget(mode);
    under->addWidget(label, 1);
    column->addLayout(under);
    panes->addLayout(column, 1);
    connect(mode, &QToolButton::clicked, this, [this, k] { PaneCommand(103 + k); });
    connect(pane, &FilterPane::zoomIn, this, [this, k] { PaneCommand(k == 0 ? 108 : 110); });
    connect(pane, &FilterPane::zoomOut, this, [this, k] { PaneCommand(k == 0 ? 109 : 111); });
  }
  left->addLayout(panes, 1);
  preview_ = new QPushButton("&Preview", this);
  preview_->setObjectName("107");
  preview_->setAutoDefault(false);
  auto* previewRow = new QHBoxLayout;
  previewRow->addStretch();
  previewRow->addWidget(preview_);
  previewRow->addStretch();
  left->addLayout(previewRow);
  outer->addLayout(left, 1);
  connect(preview_, &QPushButton::clicked, this, [this] { Preview(); });

  // Right: the filter list, the filter's own controls, the options and the buttons.
  auto* right = new QVBoxLayout;
  auto* listRow = new QHBoxLayout;
  auto* listLabel = new QLabel("Filter:", this);
  list_ = new QComboBox(this);
  list_->setObjectName("112");
  list_->setMinimumWidth(190);
  listLabel->setBuddy(list_);
  listRow->addWidget(listLabel);
  listRow->addWidget(list_, 1);
  right->addLayout(listRow);
  connect(list_, &QComboBox::currentIndexChanged, this, [this] { SetFilterLevel(SelectedFilter()); });

  auto* controls = new QWidget(this);
  controls->setObjectName("filterControls");
  auto* grid = new QGridLayout(controls);
  grid->setContentsMargins(0, 6, 0, 6);
  grid->setColumnStretch(1, 1);
  int row = 0;
  auto addLabelled = [&](int labelId, const char* text, QWidget* w) {
    auto* l = new QLabel(QString::fromLatin1(text), this);
    l->setObjectName(QString::number(labelId));
    l->setBuddy(w);
    grid->addWidget(l, row, 0);
    grid->addWidget(w, row, 1, 1, 2);
    ++row;
  };
  auto check = [&](int id) {
    for (const CheckRow& c : kChecks)
      if (c.id == id) {
        auto* box = new QCheckBox(QString::fromLatin1(c.text), this);
        box->setObjectName(QString::number(id));
        grid->addWidget(box, row++, 0, 1, 3);
        connect(box, &QCheckBox::toggled, this, [this, id] { FilterDoCommand(id); });
      }
  };
  auto spin = [&](int id) -> QSpinBox* {
    auto* s = new QSpinBox(this);
    s->setObjectName(QString::number(id));
    for (const SpinRow& r : kSpins)
      if (r.id == id) s->setRange(r.lowest, r.highest);
    connect(s, &QSpinBox::valueChanged, this, [this, id] { FilterDoCommand(id); });
    return s;
  };
  for (int bar : {201, 204, 207, 210, 213, 216, 219, 222, 225, 228, 231}) AddBar(grid, row, bar, FindBar(bar)->label);
  // Add Noise: colour, type and level.
  check(234);
  auto* noise = new QComboBox(this);
  noise->setObjectName("236");
  for (const QString& t : QString::fromLatin1(kNoiseTypes).split(';')) noise->addItem(t);
  connect(noise, &QComboBox::activated, this, [this] { FilterDoCommand(236); });
  addLabelled(235, "Type:", noise);
  for (int bar : {237, 240, 243, 246, 249, 252, 255}) AddBar(grid, row, bar, FindBar(bar)->label);
  // Resize.
  addLabelled(262, "Horizontal:", spin(258));
  addLabelled(263, "Vertical:", spin(259));
  check(260);
  check(261);
  // Rotate: the angle and the two directions with their pictures.
  addLabelled(269, "Angle (degrees):", spin(264));
  auto* directions = new QButtonGroup(this);
  for (int id : {265, 267}) {
    auto* radio = new QRadioButton(this);
    radio->setObjectName(QString::number(id));
    radio->setToolTip(id == 265 ? "Clockwise" : "Counter-clockwise");
    directions->addButton(radio, id);
    auto* picture = new QLabel(this);
    picture->setObjectName(QString::number(id + 1));
    picture->setPixmap(DirectionPicture(id == 265));
    auto* pair = new QHBoxLayout;
    pair->addWidget(radio);
    pair->addWidget(picture);
    pair->addStretch();
    grid->addLayout(pair, row++, 0, 1, 3);
    connect(radio, &QRadioButton::clicked, this, [this, id] { FilterDoCommand(id); });
  }
  check(270);
  check(271);
  // Flip.
  auto* flips = new QButtonGroup(this);
  for (int id : {272, 273}) {
    auto* radio = new QRadioButton(id == 272 ? "Horizontal" : "Vertical", this);
    radio->setObjectName(QString::number(id));
    flips->addButton(radio, id);
    grid->addWidget(radio, row++, 0, 1, 3);
    connect(radio, &QRadioButton::clicked, this, [this, id] { FilterDoCommand(id); });
  }
  for (int bar : {274, 277, 280}) AddBar(grid, row, bar, FindBar(bar)->label);
  check(283);
  addLabelled(285, "Angle (degrees):", spin(284));
  grid->setRowStretch(row, 1);
  right->addWidget(controls, 1);

  auto* remember = new QCheckBox("Remember settings", this);
  remember->setObjectName("113");
  auto* duplicate = new QCheckBox("Apply to duplicate", this);
  duplicate->setObjectName("115");
  auto* restore = new QPushButton("Restore defaults", this);
  restore->setObjectName("114");
  restore->setAutoDefault(false);
  right->addWidget(remember);
  right->addWidget(duplicate);
  right->addWidget(restore, 0, Qt::AlignLeft);
  connect(remember, &QCheckBox::toggled, this, [](bool on) { FilterRemember = on ? 1 : 0; });
  connect(duplicate, &QCheckBox::toggled, this, [](bool on) { FilterApplyToDuplicate = on ? 1 : 0; });
  connect(restore, &QPushButton::clicked, this, [this] {
    RestoreFilterDefaults(param_);
    SetFilterDefaults();
  });

  auto* buttons = new QHBoxLayout;
  ok_ = new QPushButton("OK", this);
  ok_->setObjectName("1");
  cancel_ = new QPushButton("Cancel", this);
  cancel_->setObjectName("2");
  cancel_->setAutoDefault(false);
  auto* help = new QPushButton("Help", this);
  help->setObjectName("9");
  help->setAutoDefault(false);
  buttons->addStretch();
  buttons->addWidget(ok_);
  buttons->addWidget(cancel_);
  buttons->addWidget(help);
  right->addLayout(buttons);
  outer->addLayout(right, 0);
  connect(ok_, &QPushButton::clicked, this, [this] {
    if (param_->Changed && SelectedFilter() >= 0) {
      StartPreview(true);
      return;
    }
    RememberFilterName();
    accept();
  });
  connect(cancel_, &QPushButton::clicked, this, &QDialog::reject);
  connect(help, &QPushButton::clicked, this, [this] { DoHelp(this, "FILTERS"); });
}

QScrollBar* MasterFilterBox::scrollBar(int id) const { return findChild<QScrollBar*>(QString::number(id)); }
QLabel* MasterFilterBox::valueLabel(int barId) const { return findChild<QLabel*>(QString::number(barId + 2)); }
QWidget* MasterFilterBox::control(int id) const { return findChild<QWidget*>(QString::number(id)); }

int MasterFilterBox::SelectedFilter() const {
  if (list_->currentIndex() < 0) return -1;
  const int number = list_->currentData().toInt();
  return number < 1 ? -1 : number - 1;
}

void MasterFilterBox::SetFilterLevel(int filter) {
  for (QWidget* w : findChildren<QWidget*>()) {
    bool numbered = false;
    const int id = w->objectName().toInt(&numbered);
    if (numbered && id >= 200) w->hide();
  }
  if (filter < 0 || filter >= FILTER_COUNT) return;
  for (const int* id = filtertype[filter].controls; *id; ++id)
    if (QWidget* w = control(*id)) w->show();
}

void MasterFilterBox::SetFilterDefaults() {
  settingUp_ = true;
  for (const BarRow& b : kBars) {
    const FilterSetting* s = FindFilterSetting(b.setting);
    QScrollBar* bar = scrollBar(b.bar);
    bar->blockSignals(true);
    bar->setRange(s->minimum, s->maximum);
    bar->setSingleStep(1);
    bar->setPageStep(std::max(1, s->maximum / 8));
    bar->setValue(param_->*s->field);
    bar->blockSignals(false);
    // As a scroll to where the bar stands: the label and the field follow.
    UpdateFilterScrollBars(b.bar, bar->value());
  }
  for (const SpinRow& r : kSpins) {
    auto* s = findChild<QSpinBox*>(QString::number(r.id));
    s->setRange(r.lowest, r.highest);
    s->setValue(param_->*r.field);
  }
  for (const CheckRow& c : kChecks)
    if (auto* box = findChild<QCheckBox*>(QString::number(c.id))) box->setChecked(param_->*c.field != 0);
  qobject_cast<QRadioButton*>(control(265))->setChecked(param_->FilterRotateDirection == 1);
  qobject_cast<QRadioButton*>(control(267))->setChecked(param_->FilterRotateDirection == 0);
  qobject_cast<QRadioButton*>(control(272))->setChecked(param_->FilterFlipDirection == 0);
  qobject_cast<QRadioButton*>(control(273))->setChecked(param_->FilterFlipDirection == 1);
  auto* noise = qobject_cast<QComboBox*>(control(236));
  noise->setCurrentIndex(std::clamp(param_->FilterNoiseType, 0, noise->count() - 1));
  FilterCheckSelect();
  settingUp_ = false;
}

void MasterFilterBox::UpdateFilterScrollBars(int bar, int value) {
  const BarRow* b = FindBar(bar);
  if (!b) return;
  const FilterSetting* s = FindFilterSetting(b->setting);
  value = std::clamp(value, s->minimum, s->maximum);
  param_->*s->field = value;
  char text[32];
  FormatFilterValue(*s, value, text, sizeof text);
  if (QLabel* l = valueLabel(bar)) l->setText(QString::fromLatin1(text));
  param_->Changed = 1;
  if (job_) scrolledDuringRun_ = true;
}

void MasterFilterBox::FilterDoCommand(int id) {
  if (settingUp_) return;
  for (const CheckRow& c : kChecks)
    if (c.id == id) param_->*c.field = qobject_cast<QCheckBox*>(control(id))->isChecked() ? 1 : 0;
  for (const SpinRow& r : kSpins)
    if (r.id == id) param_->*r.field = findChild<QSpinBox*>(QString::number(id))->value();
  switch (id) {
    case 236: param_->FilterNoiseType = std::min(qobject_cast<QComboBox*>(control(236))->currentIndex(), 4); break;
    case 260: FilterCheckSelect(); break;
    case 265: param_->FilterRotateDirection = 1; break;
    case 267: param_->FilterRotateDirection = 0; break;
    case 272: param_->FilterFlipDirection = 0; break;
    case 273: param_->FilterFlipDirection = 1; break;
    default: break;
  }
}

void MasterFilterBox::FilterCheckSelect() {
  const bool constant = qobject_cast<QCheckBox*>(control(260))->isChecked();
  control(259)->setEnabled(!constant);
  control(263)->setEnabled(!constant);
}

void MasterFilterBox::UpdateLabels() {
  magnification_[0]->setText(QString::asprintf(FetchString(323), view_.BeforeZoom));
  magnification_[1]->setText(QString::asprintf(FetchString(323), view_.AfterZoom));
  for (int k = 0; k < 2; ++k) {
    QPixmap pm = CrispPixmap(QSize(20, 20));
    QPainter p(&pm);
    DrawModePicture(p, QRect(0, 0, 20, 20), k == 0 ? view_.BeforeMode : view_.AfterMode);
    p.end();
    modes_[k]->setIcon(QIcon(pm));
    modes_[k]->setToolTip((k == 0 ? view_.BeforeMode : view_.AfterMode) ? "Pan" : "Zoom");
  }
}

void MasterFilterBox::PaneCommand(int id) {
  switch (id) {
    case 103:
      view_.BeforeMode = !view_.BeforeMode;
      before_->UpdateCursor();
      break;
    case 104:
      view_.AfterMode = !view_.AfterMode;
      after_->UpdateCursor();
      break;
    case 108:
      if (view_.BeforeZoom * 2 <= 1600) view_.BeforeZoom *= 2;
      before_->update();
      break;
    case 109:
      if (view_.BeforeZoom / 2 >= 25) view_.BeforeZoom /= 2;
      before_->update();
      break;
    case 110:
      if (view_.AfterZoom * 2 <= 1600) view_.AfterZoom *= 2;
      after_->update();
      break;
    case 111:
      if (view_.AfterZoom / 2 >= 25) view_.AfterZoom /= 2;
      after_->update();
      break;
    default: return;
  }
  UpdateLabels();
}

void MasterFilterBox::SetBusy(bool busy) {
  preview_->setEnabled(!busy);
  ok_->setEnabled(!busy);
  cancel_->setEnabled(!busy);
  if (busy && !waitCursor_) QApplication::setOverrideCursor(Qt::WaitCursor);
  if (!busy && waitCursor_) QApplication::restoreOverrideCursor();
  if (!busy) signs_.reset();
  waitCursor_ = busy;
}

void MasterFilterBox::Preview() { StartPreview(false); }

void MasterFilterBox::StartPreview(bool thenAccept) {
  if (job_) return;
  const int filter = SelectedFilter();
  if (filter < 0) return;
  SetBusy(true);
  FilterFreeMasks(param_);
  auto job = std::make_shared<PreviewJob>();
  CopySettings(*param_, &job->param);
  job->filter = filter;
  job_ = job;
  acceptWhenDone_ = thenAccept;
  scrolledDuringRun_ = false;
  if (thenAccept && param_->BeforeImage) {
    job->before = DuplicateObject(*param_->BeforeImage);
    if (job->before) job->param.BeforeImage = &job->before;
    if (job->before) job->progress = std::make_shared<ProgressSink>();
    signs_ = std::make_unique<LongWorkSigns>(parentWidget(), "Filtering", job->before != nullptr, job->progress);
  }
  // The filter works on its own copy of the settings, so the controls stay
  // live; the result comes back to this thread as a queued call.
  try {
    worker_ = std::thread([this, job] {
      PassLongWorkGate();
      RunWithProgress(job->progress.get(), [&job] { job->result = RunFilter(job->filter, &job->param); });
      job->done = true;
      std::lock_guard<std::mutex> hold(job->lock);
      if (!job->abandoned)
        QMetaObject::invokeMethod(
            this, [this] { DeliverPreview(); }, Qt::QueuedConnection);
    });
  } catch (...) {
    job->result = RunFilter(job->filter, &job->param);
    job->done = true;
    DeliverPreview();
  }
}

void MasterFilterBox::WaitForPreview() {
  if (worker_.joinable()) worker_.join();
  DeliverPreview();
}

void MasterFilterBox::DeliverPreview() {
  if (!job_ || !job_->done) return;
  if (worker_.joinable()) worker_.join();
  std::shared_ptr<PreviewJob> job = std::move(job_);
  job_.reset();
  const bool ok = TakeResult(std::move(job->result), std::move(job->param.NewMask));
  SetBusy(false);
  const bool accepting = acceptWhenDone_;
  acceptWhenDone_ = false;
  if (ok && accepting) {
    RememberFilterName();
    accept();
  }
}

bool MasterFilterBox::TakeResult(HDIB result, HDIB mask) {
  const BITMAPINFOHEADER* h = LockDib(result);
  if (!h) {
    // The old result stays; the user can change the settings and try again.
    DoMessage(this, FetchString(IDS_MEMORY_ERROR));
    return false;
  }
  param_->AfterWidth = h->biWidth;
  param_->AfterDepth = h->biHeight;
  param_->AfterImage = std::move(result);
  param_->NewMask = std::move(mask);
  after_->repaint();
  if (!scrolledDuringRun_) param_->Changed = 0;
  return true;
}

void MasterFilterBox::RunPreviewNow() {
  StartPreview(false);
  WaitForPreview();
}

bool MasterFilterBox::FinishOk() {
  WaitForPreview();
  if (param_->Changed && SelectedFilter() >= 0) {
    RunPreviewNow();
    if (param_->Changed) return false;  // the filter failed and has said so
  }
  RememberFilterName();
  return true;
}

void MasterFilterBox::RememberFilterName() {
  if (!FilterRemember) return;
  std::snprintf(DefaultFilterType, std::min<std::size_t>(kSettingTextSize, 261), "%s",
                list_->currentText().toUtf8().constData());
}

void MasterFilterBox::done(int result) {
  if (job_ && acceptWhenDone_ && job_->before && result == QDialog::Rejected) {
    // Esc while OK's filter runs: it finishes alone on its copy, and its result is never applied.
    {
      std::lock_guard<std::mutex> hold(job_->lock);
      job_->abandoned = true;
    }
    if (job_->progress) job_->progress->Cancel();
    if (worker_.joinable()) worker_.detach();
    job_.reset();
    acceptWhenDone_ = false;
    SetBusy(false);
    QDialog::done(result);
    return;
  }
  // A running preview can't be stopped: the dialog stays until it is through.
  if (job_) return;
  QDialog::done(result);
}

// ---- The operation --------------------------------------------------------------------

namespace {
// What the filter works on: a rectangle selector's fragment itself, an
// irregular selection's fragment with paper outside its shape (a copy, kept
// in `masked`), or else the document's image.
const HDIB* ChooseFilterImage(BLOCKSET* record, FILTERPARAM* param, HDIB* masked) {
  param->HasSelection = 0;
  param->HasMask = 0;
  bool mask = false;
  if (HasSelection(record, &mask)) {
    TOOLPARAM& tp = record->ToolWindow->param;
    param->HasSelection = 1;
    param->HasMask = mask ? 1 : 0;
    if (tp.Tool == TOOL_RECTSELECT || !tp.SelectMask) return &tp.Fragment;
    *masked = MaskBitmap(tp.Fragment, tp.SelectMask, record->PaperColour);
    return *masked ? masked : &tp.Fragment;
  }
  return &record->Image;
}

// A filter's mask of its result (values 0 and 1 at any depth) as the 1-bit
// mask a fragment keeps.
HDIB OneBitMask(const HDIB& mask) {
  const BITMAPINFOHEADER* m = LockDib(mask);
  if (!m) return nullptr;
  BYTE palette[768] = {};
  palette[3] = palette[4] = palette[5] = 255;
  HDIB out = CreateDib(m->biWidth, m->biHeight, palette, 1);
  BITMAPINFOHEADER* o = LockDib(out);
  if (!o) return nullptr;
  for (int y = 0; y < m->biHeight; ++y)
    for (int x = 0; x < m->biWidth; ++x)
      if (GetDibPixel(m, x, y)) PutDibPixel(o, x, y, 1);
  return out;
}
}  // namespace

int DoMasterFilterDialog(QWidget* window, BLOCKSET* record, int filterType, FilterOutcome* out) {
  *out = FilterOutcome{};
  if (!record) {
    DoMessage(window, FetchString(IDS_BLOCK_ERROR));
    return 0;
  }
  FILTERPARAM param;
  HDIB masked;
  param.BeforeImage = ChooseFilterImage(record, &param, &masked);
  const BITMAPINFOHEADER* before = LockDib(*param.BeforeImage);
  if (!before) return 0;
  param.BeforeWidth = before->biWidth;
  param.BeforeDepth = before->biHeight;
  param.AfterImage = DuplicateObject(*param.BeforeImage);
  const BITMAPINFOHEADER* after = LockDib(param.AfterImage);
  if (!after) {
    DoMessage(window, FetchString(IDS_MEMORY_ERROR));
    return 0;
  }
  param.AfterWidth = after->biWidth;
  param.AfterDepth = after->biHeight;
  param.ImageType = GetImageType(*param.BeforeImage);
  param.PaperColour = record->PaperColour;
  param.FilterType = filterType;
  ImposeFilterParams(&param);

  int result = 0;
  {
    MasterFilterBox box(&param, window);
    bool ok = RunDialog(box);
    if (ok) ok = box.FinishOk();
    else box.WaitForPreview();
    result = ok ? 1 : 0;
  }
  if (result) {
    out->image = std::move(param.AfterImage);
    out->toDuplicate = FilterApplyToDuplicate != 0;
    out->selection = param.HasSelection != 0;
    if (param.NewMask) out->newMask = OneBitMask(param.NewMask);
  }
  DeposeFilterParams(&param);
  param.AfterImage.reset();
  FilterFreeMasks(&param);
  return result;
}

// ---- The menu -------------------------------------------------------------------------------

QMenu* CreateFilterPopupMenu(const BLOCKSET* record, QWidget* parent) {
  if (!record || !record->Image) return nullptr;
  bool mask = false;
  const bool selection = HasSelection(record, &mask);
  const int type = GetImageType(record->Image);
  auto* menu = new QMenu(parent);
  menu->setObjectName("selectionPopup");
  for (int f = 0; f < FILTER_COUNT; ++f)
    if (FilterIsValidFilter(type, selection, mask, f))
      menu->addAction(QString::fromLatin1(filtertype[f].name))->setData(FILTER_MENU_FIRST + f);
  return menu;
}

}  // namespace ochrel
