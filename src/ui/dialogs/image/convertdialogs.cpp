#include "ui/dialogs/image/convertdialogs.h"

#include <QApplication>
#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "frame/options.h"
#include "frame/strings.h"
#include "image/convert.h"
#include "frame/settings.h"
#include "render/screen.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/widgets/longwork.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {

constexpr int kPreviewBox = 176;  // the inner square the reduced image is fitted into

}  // namespace

// ---- ConvertPreview ---------------------------------------------------------

ConvertPreview::ConvertPreview(Maker maker, QWidget* parent) : QFrame(parent), maker_(std::move(maker)) {
  setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
  setLineWidth(1);
  setBoxSize(QSize(kPreviewBox, kPreviewBox));
}

void ConvertPreview::setBoxSize(QSize size) {
  // The style decides the frame's width, so measure it once polished.
  ensurePolished();
  QSize frame = this->size() - contentsRect().size();
  setFixedSize(size + frame);
  Invalidate();
}

void ConvertPreview::Invalidate() {
  dirty_ = true;
  update();
}

void ConvertPreview::Make() {
  dirty_ = false;
  ++makes_;
  dib_.reset();
  shown_ = QImage();
  offset_ = QPoint();
  QSize box = boxSize();
  madeFor_ = box;
  if (box.isEmpty() || !maker_) return;
  int ox = 0, oy = 0;
  dib_ = maker_(box.width(), box.height(), &ox, &oy);
  if (!dib_) return;
  shown_ = DibToQImage(LockDib(dib_));
  offset_ = QPoint(ox, oy);
}

bool ConvertPreview::OutOfDate() const { return dirty_ || madeFor_ != boxSize(); }

const HDIB& ConvertPreview::previewDib() {
  if (OutOfDate()) Make();
  return dib_;
}

QPoint ConvertPreview::previewOffset() {
  if (OutOfDate()) Make();
  return offset_;
}

void ConvertPreview::paintEvent(QPaintEvent* event) {
  QFrame::paintEvent(event);
  if (OutOfDate()) Make();
  if (shown_.isNull()) return;
  QPainter p(this);
  QRect r = contentsRect();
  p.setClipRect(r);
  p.drawImage(r.topLeft() + offset_, shown_);
}

// ---- ConvertBox -------------------------------------------------------------

ConvertBox::ConvertBox(const HDIB& image, QWidget* parent) : QDialog(parent), image_(&image) {}

void ConvertBox::Build(const QString& title, const QString& text, const Option* options, int count, int previewId,
                       int* setting, ConvertPreview::Maker maker, QWidget* below) {
  setWindowTitle(title);
  auto* layout = new QVBoxLayout(this);
  text_ = new QLabel(text, this);
  text_->setObjectName("Text");
  text_->setWordWrap(true);
  layout->addWidget(text_);

  auto* middle = new QHBoxLayout;
  auto* groupBox = new QGroupBox(tr("Conversion options"), this);
  auto* radios = new QVBoxLayout(groupBox);
  group_ = new QButtonGroup(this);
  for (int k = 0; k < count; ++k) {
    auto* b = new QRadioButton(tr(options[k].text), groupBox);
    b->setObjectName(QString::number(options[k].id));
    group_->addButton(b, options[k].id);
    radios->addWidget(b);
  }
  radios->addStretch(1);
  middle->addWidget(groupBox, 1);
  preview_ = new ConvertPreview(std::move(maker), this);
  preview_->setObjectName(QString::number(previewId));
  middle->addWidget(preview_, 0, Qt::AlignTop);
  layout->addLayout(middle);
  if (below) layout->addWidget(below);

  buttons_ = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  layout->addWidget(buttons_);
  connect(buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons_, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "CONVERTTO"); });

  // A stored id that names no button (an edited settings file) shows 101; the
  // setting itself is only changed by a choice.
  QAbstractButton* start = group_->button(*setting);
  if (!start) start = group_->button(101);
  if (start) start->setChecked(true);
  connect(group_, &QButtonGroup::idToggled, this, [this, setting](int id, bool checked) {
    if (!checked) return;
    *setting = id;
    preview_->Invalidate();
  });
  if (QPushButton* ok = buttons_->button(QDialogButtonBox::Ok)) {
    ok->setDefault(true);
    ok->setFocus();
  }
}

QRadioButton* ConvertBox::option(int id) const { return qobject_cast<QRadioButton*>(group_->button(id)); }

bool ConvertBox::IsChecked(int id) const {
  QAbstractButton* b = group_->button(id);
  return b && b->isChecked();
}

void ConvertBox::done(int result) {
  // The preview has nothing left to show once the dialog has been answered.
  image_ = nullptr;
  preview_->Invalidate();
  QDialog::done(result);
}

// ---- ConvertToMonoBox -------------------------------------------------------

ConvertToMonoBox::ConvertToMonoBox(const HDIB& source, QWidget* parent) : ConvertBox(source, parent) {
  setObjectName("ConvertToMonoBox");
  static const Option options[] = {
      {IDC_MONO_DITHER, "Error-diffused dither"},
      {IDC_MONO_BAYER, "Bayer dither"},
      {IDC_MONO_REMAP, "Remapped"},
  };
  auto* numbers = new QWidget(this);
  auto* row = new QHBoxLayout(numbers);
  row->setContentsMargins(0, 0, 0, 0);
  brightness_ = new QSpinBox(numbers);
  brightness_->setObjectName("105");
  brightness_->setRange(1, 128);
  brightness_->setValue(DitherBrightness);
  contrast_ = new QSpinBox(numbers);
  contrast_->setObjectName("106");
  contrast_->setRange(1, 128);
  contrast_->setValue(DitherContrast);
  auto* bl = new QLabel(tr("Brightness:"), numbers);
  bl->setBuddy(brightness_);
  auto* cl = new QLabel(tr("Contrast:"), numbers);
  cl->setBuddy(contrast_);
  row->addWidget(bl);
  row->addWidget(brightness_);
  row->addSpacing(16);
  row->addWidget(cl);
  row->addWidget(contrast_);
  row->addStretch(1);

  Build(
      tr("Convert to monochrome"),
      tr("Conversion to a monochrome will reduce your image to black and white. This is distinct from "
         "continuous-tone grey scale. You can choose a conversion strategy which best matches your image and "
         "intended target application. See Help for more about what these options do."),
      options, 3, 104, &ToMonoType,
      [this](int w, int h, int* ox, int* oy) -> HDIB {
        return image() ? MonoPreviewImage(*image(), previewOption(), w, h, ox, oy, DitherOptionsFromSettings())
                       : nullptr;
      },
      numbers);

  // Connected after the start values are in, so that opening the dialog
  // writes nothing; every change after that is stored at once.
  connect(brightness_, &QSpinBox::valueChanged, this, [this](int v) {
    DitherBrightness = v;
    preview()->Invalidate();
  });
  connect(contrast_, &QSpinBox::valueChanged, this, [this](int v) {
    DitherContrast = v;
    preview()->Invalidate();
  });
}

int ConvertToMonoBox::previewOption() const {
  return MonoPreviewOption([this](int id) { return IsChecked(id); });
}

// ---- ConvertToPaletteBox ----------------------------------------------------

ConvertToPaletteBox::ConvertToPaletteBox(const HDIB& source, QWidget* parent) : ConvertBox(source, parent) {
  setObjectName("ConvertToPaletteBox");
  static const Option options[] = {
      {IDC_PAL_QUANT256_DITHER, "256-&color quantized (dithered)"},
      {IDC_PAL_QUANT240_FIXED_DITHER, "240-c&olor quantized + Window fixed (dithered)"},
      {IDC_PAL_QUANT256_REMAP, "256-color &quantized (remapped)"},
      {IDC_PAL_QUANT240_FIXED_REMAP, "240-co&lor quantized + Window fixed (remapped)"},
      {IDC_PAL_ORTHO_DITHER, "256-color o&rtho (dithered)"},
      {IDC_PAL_ORTHO_REMAP, "256-color or&tho (remapped)"},
      {IDC_PAL_BAYER256, "256-color &Bayer dither"},
      {IDC_PAL_BAYER16, "16-color B&ayer dither"},
      {IDC_PAL_WINDOWS16, "16-color &Windows (remapped)"},
  };
  Build(tr("Convert to paletted color"),
        tr("Conversion to a paletted color format typically involves some loss of color depth or image "
           "resolution. You can choose a conversion strategy which best matches your image and intended target "
           "application. See Help for more about what these options do."),
        options, 9, 110, &ToPaletteType, [this](int w, int h, int* ox, int* oy) -> HDIB {
          return image() ? PalettePreviewImage(*image(), previewOption(), w, h, ox, oy) : nullptr;
        });
}

int ConvertToPaletteBox::previewOption() const {
  return PalettePreviewOption([this](int id) { return IsChecked(id); });
}

// ---- Entry points -----------------------------------------------------------

HDIB ConvertToMono(QWidget* parent, const HDIB& image) {
  {
    ConvertToMonoBox box(image, parent);
    if (!RunDialog(box)) return nullptr;
  }
  // The stored choice runs, not the buttons: the two agree after any choice.
  bool cancelled = false;
  const int type = ToMonoType;
  HDIB result = RunLongImageWork(
      parent, "Converting", image,
      [type, dither = DitherOptionsFromSettings()](const HDIB& copy) {
        return ConvertToMonoStrategy(copy, type, dither);
      },
      &cancelled);
  if (cancelled) return nullptr;
  if (!result) DoMessage(parent, QString::fromUtf8(FetchString(IDS_MEMORY_ERROR)));
  return result;
}

HDIB ConvertToPalette(QWidget* parent, const HDIB& image) {
  {
    ConvertToPaletteBox box(image, parent);
    if (!RunDialog(box)) return nullptr;
  }
  bool cancelled = false;
  const int type = ToPaletteType;
  HDIB result = RunLongImageWork(
      parent, "Converting", image, [type](const HDIB& copy) { return ConvertToPaletteStrategy(copy, type); },
      &cancelled);
  if (cancelled) return nullptr;
  if (!result) DoMessage(parent, QString::fromUtf8(FetchString(IDS_MEMORY_ERROR)));
  return result;
}

}  // namespace ochrel
