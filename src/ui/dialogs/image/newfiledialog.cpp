#include "ui/dialogs/image/newfiledialog.h"
#include "ui/widgets/hidpi.h"

#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>

#include <algorithm>

#include "frame/blockset.h"
#include "frame/settings.h"
#include "ui/dialogs/colour/colourdialogs.h"

namespace ochrel {

namespace {
NewFileAnswerer g_answerer;

QColor ToQColor(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }

// The palette a new picture of a kind gets (as CreateNewImage gives it).
void NewPalette(int type, BYTE* palette) {
  HDIB dib = CreateNewImage(NEWFILEPARAM{1, 1, type, 0});
  std::fill(palette, palette + 768, BYTE{0});
  if (const BITMAPINFOHEADER* h = LockDib(dib)) GetDibPalette(h, palette);
}

// What a background value of a kind looks like.
COLORREF ShownColour(int type, COLORREF value) {
  if (type == 0) return value;
  BYTE palette[768];
  NewPalette(type, palette);
  const int i = static_cast<int>(value & (type == 3 ? 1u : 255u));
  return RGB(palette[3 * i], palette[3 * i + 1], palette[3 * i + 2]);
}
// The pixel value of a kind nearest to a colour: a level for grey, an entry of
// the new picture's palette for paletted and mono.
COLORREF ValueForType(int type, COLORREF colour) {
  if (type == 0) return colour & 0xFFFFFF;
  const int r = GetRValue(colour), g = GetGValue(colour), b = GetBValue(colour);
  const int level = (r * 30 + g * 59 + b * 11) / 100;
  if (type == 1) return static_cast<COLORREF>(level);
  BYTE palette[768];
  NewPalette(type, palette);
  return static_cast<COLORREF>(FindPaletteColour(r, g, b, palette, type == 3 ? 2 : 256));
}
}  // namespace

void SetNewFileAnswerer(NewFileAnswerer answerer) { g_answerer = std::move(answerer); }

NewFileBox::NewFileBox(const NEWFILEPARAM& initial, QWidget* parent)
    : QDialog(parent), colour_(initial.colour & 0xFFFFFF) {
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
  // The dialog keeps the colour as it looks; a change of kind shows it as the
  // nearest the new kind has, so a white background stays white.
  connect(type_, &QComboBox::currentIndexChanged, this, [this] { UpdateSwatch(); });
  // The program's own colour dialog for the kind chosen: the colour for true
  // colour, a level for grey, an entry of the new picture's palette otherwise.
  connect(background_, &QPushButton::clicked, this, [this] {
    const int type = type_->currentIndex();
    COLORREF c = ShownColour(type, ValueForType(type, colour_));
    int ok = 0;
    switch (type) {
      case 0: ok = DoColourSelectRGB(this, &c); break;
      case 1: ok = DoColourSelectGrey(this, &c); break;
      default: {
        BYTE palette[768];
        NewPalette(type, palette);
        c = ValueForType(type, c);
        ok = DoColourSelectPalette(this, &c, palette, type == 2 ? 8 : 1);
        if (ok) c = ShownColour(type, c);
        break;
      }
    }
    if (ok) {
      colour_ = c & 0xFFFFFF;
      UpdateSwatch();
    }
  });
  UpdateSwatch();
}

void NewFileBox::UpdateSwatch() {
  QPixmap pm = CrispPixmap(QSize(44, 14));
  pm.fill(ToQColor(ShownColour(type_->currentIndex(), ValueForType(type_->currentIndex(), colour_))));
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
  p.colour = ValueForType(p.type, colour_);
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
    // Kept as the colour it looks, which every kind can show.
    DefaultNewColour = static_cast<int>(ShownColour(param->type, param->colour));
  }
  return true;
}

}  // namespace ochrel
