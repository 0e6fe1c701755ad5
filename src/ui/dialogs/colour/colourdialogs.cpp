#include "ui/dialogs/colour/colourdialogs.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QScreen>
#include <QSpinBox>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>
#include <cstdio>
#include <functional>

#include "frame/blockset.h"
#include "frame/colourtable.h"
#include "frame/strings.h"
#include "frame/settings.h"
#include "image/colourspace.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/colour/greyselector.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {

QColor ToQColor(COLORREF c) { return QColor(GetRValue(c), GetGValue(c), GetBValue(c)); }

QString Fill309(const std::string& name) {
  QString text = QString::fromLatin1(FetchString(309));
  return text.replace("%s", QString::fromStdString(name));
}

}  // namespace

// ---- The colour map ---------------------------------------------------------------

// Hue across (one pixel per step), saturation down from 240 at the top, drawn
// at the middle luminosity.
class HueSaturationMap : public QWidget {
 public:
  static constexpr int kWidth = 240, kHeight = 121;
  explicit HueSaturationMap(QWidget* parent) : QWidget(parent) {
    setObjectName("ColourMap");
    setFixedSize(kWidth + 2, kHeight + 2);
    setCursor(Qt::CrossCursor);
    image_ = QImage(kWidth, kHeight, QImage::Format_RGB32);
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x)
        image_.setPixelColor(x, y, ToQColor(HlsToRgb({x, kHlsMax / 2, kHlsMax - 2 * y})));
  }
  std::function<void(int hue, int sat)> picked;
  void show(int hue, int sat) {
    hue_ = hue;
    sat_ = sat;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    p.setPen(Qt::black);
    p.drawRect(0, 0, kWidth + 1, kHeight + 1);
    p.drawImage(1, 1, image_);
    // A cross at the hue and saturation, with a gap so the colour shows.
    const int x = 1 + hue_, y = 1 + (kHlsMax - sat_) / 2;
    p.setClipRect(1, 1, kWidth, kHeight);
    for (const QPoint& d : {QPoint(1, 0), QPoint(-1, 0), QPoint(0, 1), QPoint(0, -1)})
      p.drawLine(x + 3 * d.x(), y + 3 * d.y(), x + 8 * d.x(), y + 8 * d.y());
  }
  void mousePressEvent(QMouseEvent* e) override { Pick(e->position().toPoint()); }
  void mouseMoveEvent(QMouseEvent* e) override {
    if (e->buttons() & Qt::LeftButton) Pick(e->position().toPoint());
  }

 private:
  void Pick(QPoint at) {
    const int hue = std::clamp(at.x() - 1, 0, kHlsMax - 1);
    const int sat = std::clamp(kHlsMax - 2 * (at.y() - 1), 0, kHlsMax);
    if (picked) picked(hue, sat);
  }
  QImage image_;
  int hue_ = 0, sat_ = 0;
};

// Luminosity from 240 at the top to 0 at the foot, at the map's hue and saturation.
class LuminosityBar : public QWidget {
 public:
  explicit LuminosityBar(QWidget* parent) : QWidget(parent) {
    setObjectName("LuminosityBar");
    setFixedSize(24, HueSaturationMap::kHeight + 2);
  }
  std::function<void(int lum)> picked;
  void show(const HLSCOLOUR& hls) {
    hls_ = hls;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    p.setPen(Qt::black);
    p.drawRect(0, 0, 13, HueSaturationMap::kHeight + 1);
    for (int y = 0; y < HueSaturationMap::kHeight; ++y)
      p.fillRect(1, 1 + y, 12, 1, ToQColor(HlsToRgb({hls_.Hue, kHlsMax - 2 * y, hls_.Saturation})));
    // The arrow at the right points at the luminosity.
    const int y = 1 + (kHlsMax - hls_.Luminosity) / 2;
    const QPoint arrow[3] = {QPoint(15, y), QPoint(21, y - 4), QPoint(21, y + 4)};
    p.setBrush(Qt::black);
    p.drawPolygon(arrow, 3);
  }
  void mousePressEvent(QMouseEvent* e) override { Pick(e->position().toPoint()); }
  void mouseMoveEvent(QMouseEvent* e) override {
    if (e->buttons() & Qt::LeftButton) Pick(e->position().toPoint());
  }

 private:
  void Pick(QPoint at) {
    if (picked) picked(std::clamp(kHlsMax - 2 * (at.y() - 1), 0, kHlsMax));
  }
  HLSCOLOUR hls_;
};

namespace {

// The table's items: a swatch and the name, on the shadow colour when selected.
class ColourItemDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  void paint(QPainter* p, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    const QRect r = option.rect;
    const bool selected = option.state & QStyle::State_Selected;
    p->fillRect(r, selected ? option.palette.color(QPalette::Dark) : QColor(Qt::white));
    const COLORREF c = index.data(Qt::UserRole).toUInt();
    p->setPen(Qt::black);
    p->setBrush(ToQColor(c));
    p->drawRect(QRect(QPoint(r.x() + 4, r.y() + 2), QPoint(r.x() + 24, r.bottom() - 2)));
    p->setPen(selected ? QColor(Qt::white) : QColor(Qt::black));
    p->drawText(QRect(r.x() + 30, r.y() + 1, r.width() - 30, r.height() - 1), Qt::AlignLeft | Qt::AlignTop,
                index.data(Qt::DisplayRole).toString());
  }
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
    return QSize(120, std::max(18, option.fontMetrics.height() + 4));
  }
};

class Swatch : public QWidget {
 public:
  Swatch(QWidget* parent, COLORREF colour) : QWidget(parent), colour_(colour) {}
  void setColour(COLORREF c) {
    colour_ = c;
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter p(this);
    p.setPen(Qt::black);
    p.setBrush(ToQColor(colour_));
    p.drawRect(rect().adjusted(0, 0, -1, -1));
  }

 private:
  COLORREF colour_;
};

}  // namespace

// ---- ColourSelectBox --------------------------------------------------------------

ColourSelectBox::ColourSelectBox(COLORREF colour, QWidget* parent) : QDialog(parent) {
  setObjectName("ColourSelectBox");
  setWindowTitle(tr("Color"));
  auto* top = new QHBoxLayout;
  auto* left = new QVBoxLayout;
  auto* mapRow = new QHBoxLayout;
  map_ = new HueSaturationMap(this);
  bar_ = new LuminosityBar(this);
  mapRow->addWidget(map_);
  mapRow->addWidget(bar_);
  left->addLayout(mapRow);

  auto* fieldsGrid = new QGridLayout;
  sample_ = new Swatch(this, colour);
  sample_->setObjectName("709");
  sample_->setFixedSize(64, 48);
  fieldsGrid->addWidget(new QLabel(tr("Color"), this), 0, 0);
  fieldsGrid->addWidget(sample_, 1, 0, 2, 1);
  const std::pair<int, const char*> labels[6] = {{IDC_HUE, "Hu&e:"},        {IDC_SATURATION, "&Sat:"},
                                                 {IDC_LUMINOSITY, "&Lum:"}, {IDC_RED, "&Red:"},
                                                 {IDC_GREEN, "&Green:"},    {IDC_BLUE, "Bl&ue:"}};
  for (int k = 0; k < 6; ++k) {
    auto* spin = new QSpinBox(this);
    spin->setObjectName(QString::number(labels[k].first));
    // Hue runs 0..239, saturation and luminosity 0..240, the channels 0..255.
    spin->setRange(0, k == 0 ? 239 : k < 3 ? 240 : 255);
    auto* label = new QLabel(tr(labels[k].second), this);
    label->setBuddy(spin);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    fieldsGrid->addWidget(label, k % 3, 1 + 2 * (k / 3));
    fieldsGrid->addWidget(spin, k % 3, 2 + 2 * (k / 3));
    fields_[k] = spin;
    const int id = labels[k].first;
    connect(spin, &QSpinBox::valueChanged, this, [this, id] { FieldChanged(id); });
  }
  left->addLayout(fieldsGrid);
  left->addStretch(1);
  top->addLayout(left);

  auto* frame = new QGroupBox(tr("Color table"), this);
  auto* frameLayout = new QVBoxLayout(frame);
  list_ = new QListWidget(frame);
  list_->setObjectName(QString::number(IDC_COLOURLIST));
  list_->setItemDelegate(new ColourItemDelegate(list_));
  list_->setSelectionMode(QAbstractItemView::SingleSelection);
  list_->setMinimumWidth(180);
  frameLayout->addWidget(list_);
  auto* tableButtons = new QHBoxLayout;
  add_ = new QPushButton(tr("&Add"), frame);
  add_->setObjectName(QString::number(IDC_COLOURADD));
  delete_ = new QPushButton(tr("&Delete"), frame);
  delete_->setObjectName(QString::number(IDC_COLOURDELETE));
  open_ = new QPushButton(tr("&Open"), frame);
  open_->setObjectName(QString::number(IDC_COLOUROPEN));
  for (QPushButton* b : {add_, delete_, open_}) {
    b->setAutoDefault(false);
    tableButtons->addWidget(b);
  }
  frameLayout->addLayout(tableButtons);
  top->addWidget(frame, 1);

  buttons_ = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  auto* outer = new QVBoxLayout(this);
  outer->addLayout(top);
  outer->addWidget(buttons_);

  map_->picked = [this](int hue, int sat) { setHls({hue, hls_.Luminosity, sat}); };
  bar_->picked = [this](int lum) { setHls({hls_.Hue, lum, hls_.Saturation}); };
  connect(buttons_, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons_, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "COLORS"); });
  connect(add_, &QPushButton::clicked, this, [this] { AddColour(); });
  connect(delete_, &QPushButton::clicked, this, [this] { DeleteColour(); });
  connect(open_, &QPushButton::clicked, this, [this] { OpenTable(); });
  // Choosing an entry copies its channels into the fields; the program's own
  // selections (message 1050, after a delete) leave the fields alone.
  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (selecting_ || row < 0) return;
    setColour(list_->item(row)->data(Qt::UserRole).toUInt());
  });
  connect(list_, &QListWidget::itemClicked, this,
          [this](QListWidgetItem* item) { setColour(item->data(Qt::UserRole).toUInt()); });
  // A double click chooses the item and acts as OK.
  connect(list_, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* item) {
    setColour(item->data(Qt::UserRole).toUInt());
    accept();
  });

  setColour(colour);
  file_ = ColourTableFile;
  LoadTable();
  SelectTableColour();
}

QSpinBox* ColourSelectBox::field(int id) const {
  return id >= IDC_HUE && id <= IDC_BLUE ? fields_[id - IDC_HUE] : nullptr;
}

QPushButton* ColourSelectBox::button(int id) const {
  switch (id) {
    case IDC_COLOURADD: return add_;
    case IDC_COLOURDELETE: return delete_;
    case IDC_COLOUROPEN: return open_;
    default: return nullptr;
  }
}

void ColourSelectBox::setColour(COLORREF c) {
  colour_ = c & 0xFFFFFF;
  hls_ = RgbToHls(colour_);
  ShowColour(false);
}

void ColourSelectBox::setHls(const HLSCOLOUR& hls) {
  hls_ = hls;
  colour_ = HlsToRgb(hls_);
  ShowColour(true);
}

void ColourSelectBox::ShowColour(bool) {
  updating_ = true;
  const int values[6] = {hls_.Hue,           hls_.Saturation,    hls_.Luminosity,
                         GetRValue(colour_), GetGValue(colour_), GetBValue(colour_)};
  for (int k = 0; k < 6; ++k) fields_[k]->setValue(values[k]);
  updating_ = false;
  map_->show(hls_.Hue, hls_.Saturation);
  bar_->show(hls_);
  static_cast<Swatch*>(sample_)->setColour(colour_);
}

void ColourSelectBox::FieldChanged(int id) {
  if (updating_) return;
  if (id >= IDC_RED) {
    setColour(RGB(fields_[3]->value(), fields_[4]->value(), fields_[5]->value()));
  } else {
    setHls({fields_[0]->value(), fields_[2]->value(), fields_[1]->value()});
  }
}

void ColourSelectBox::ProgramSelect(int row) {
  selecting_ = true;
  list_->setCurrentRow(row);
  selecting_ = false;
}

void ColourSelectBox::LoadTable() {
  ColourTable table;
  LoadColourTable(ColourTablePath(file_), &table);
  selecting_ = true;
  list_->clear();
  for (const COLOURTABLEITEM& item : table) {
    auto* li = new QListWidgetItem(QString::fromStdString(item.Name), list_);
    li->setData(Qt::UserRole, static_cast<unsigned>(item.Colour));
  }
  selecting_ = false;
}

bool ColourSelectBox::SaveTable() {
  ColourTable table;
  for (int k = 0; k < list_->count(); ++k)
    table.push_back({list_->item(k)->text().toStdString(), list_->item(k)->data(Qt::UserRole).toUInt()});
  return SaveColourTable(ColourTablePath(file_), table);
}

void ColourSelectBox::SelectTableColour() {
  const COLORREF c = RGB(fields_[3]->value(), fields_[4]->value(), fields_[5]->value());
  for (int k = 0; k < list_->count(); ++k)
    if (list_->item(k)->data(Qt::UserRole).toUInt() == c) {
      ProgramSelect(k);
      list_->scrollToItem(list_->item(k));
      return;
    }
  if (list_->currentRow() < 0 && list_->count() > 0) ProgramSelect(0);
}

void ColourSelectBox::AddColour() {
  const COLORREF c = RGB(fields_[3]->value(), fields_[4]->value(), fields_[5]->value());
  for (int k = 0; k < list_->count(); ++k)
    if (list_->item(k)->data(Qt::UserRole).toUInt() == c &&
        DoYesNo(this, Fill309(list_->item(k)->text().toStdString())) != IDYES)
      return;
  if (!AddTableColour(this, c, list_)) return;
  SaveTable();
  SelectTableColour();
}

void ColourSelectBox::DeleteColour() {
  const int row = list_->currentRow();
  if (row < 0) return;
  if (DoYesNo(this, tr("Do you really want to delete this color from the current color list?")) != IDYES) return;
  selecting_ = true;
  delete list_->takeItem(row);
  selecting_ = false;
  SaveTable();
  if (list_->count() > 0) ProgramSelect(std::max(0, row - 1));
}

void ColourSelectBox::OpenTable() {
  std::string name = file_;
  if (!GetOpenColourTableName(this, &name)) return;
  file_ = name;
  std::snprintf(ColourTableFile, kSettingTextSize, "%s", name.c_str());
  LoadTable();
  list_->viewport()->update();
  SelectTableColour();
}

int DoColourSelectRGB(QWidget* window, COLORREF* colour) {
  ColourSelectBox box(*colour, window);
  const bool ok = RunDialog(box);
  if (ok) *colour = box.colour();
  return ok ? 1 : 0;
}

// ---- AddColourBox -----------------------------------------------------------------

AddColourBox::AddColourBox(COLORREF colour, QWidget* parent) : QDialog(parent) {
  setObjectName("AddColourBox");
  setWindowTitle(tr("Add Color"));
  auto* grid = new QGridLayout(this);
  const std::pair<const char*, int> channels[3] = {
      {"Red:", GetRValue(colour)}, {"Green:", GetGValue(colour)}, {"Blue:", GetBValue(colour)}};
  for (int k = 0; k < 3; ++k) {
    grid->addWidget(new QLabel(tr(channels[k].first), this), k, 0);
    auto* value = new QLabel(QString::number(channels[k].second), this);
    value->setObjectName(QString::number(102 + k));
    grid->addWidget(value, k, 1);
  }
  auto* swatch = new Swatch(this, colour);
  swatch->setObjectName("105");
  swatch->setFixedSize(48, 48);
  grid->addWidget(swatch, 0, 2, 3, 1);
  auto* nameLabel = new QLabel(tr("&Name:"), this);
  name_ = new QLineEdit(this);
  name_->setObjectName("101");
  name_->setMaxLength(kColourTableLine);
  name_->setMinimumWidth(220);
  nameLabel->setBuddy(name_);
  grid->addWidget(nameLabel, 3, 0);
  grid->addWidget(name_, 3, 1, 1, 2);
  buttons_ = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
  grid->addWidget(buttons_, 4, 0, 1, 3);
  okButton()->setEnabled(false);
  connect(name_, &QLineEdit::textChanged, this,
          [this](const QString& text) { okButton()->setEnabled(text.size() >= 3); });
  connect(buttons_, &QDialogButtonBox::accepted, this, [this] {
    if (okButton()->isEnabled()) accept();
  });
  connect(buttons_, &QDialogButtonBox::rejected, this, &QDialog::reject);
  name_->setFocus();
  name_->selectAll();
}

QPushButton* AddColourBox::okButton() const { return buttons_->button(QDialogButtonBox::Ok); }

std::string AddColourBox::name() const {
  std::string s = name_->text().toStdString();
  if (s.size() > static_cast<std::size_t>(kColourTableLine)) s.resize(kColourTableLine);
  return s;
}

int AddTableColour(QWidget* dialog, COLORREF colour, QListWidget* list) {
  AddColourBox box(colour, dialog);
  if (!RunDialog(box) || box.nameField()->text().size() < 3) return 0;
  auto* item = new QListWidgetItem(QString::fromStdString(box.name()), list);
  item->setData(Qt::UserRole, static_cast<unsigned>(colour & 0xFFFFFF));
  return 1;
}

// ---- OpenColourTableBox -----------------------------------------------------------

OpenColourTableBox::OpenColourTableBox(const std::string& current, QWidget* parent) : QDialog(parent) {
  setObjectName("OpenColourTableBox");
  setWindowTitle(tr("Open Color Table"));
  auto* layout = new QVBoxLayout(this);
  auto* label = new QLabel(tr("&Color tables:"), this);
  name_ = new QLineEdit(this);
  name_->setObjectName("101");
  names_ = new QListWidget(this);
  names_->setObjectName("102");
  label->setBuddy(name_);
  layout->addWidget(label);
  layout->addWidget(name_);
  layout->addWidget(names_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "COLORS"); });
  connect(names_, &QListWidget::currentTextChanged, name_, &QLineEdit::setText);
  connect(names_, &QListWidget::itemDoubleClicked, this, [this] { accept(); });

  const QString folder = QString::fromStdString(ColourTablePath(""));
  QStringList found = QDir(folder).entryList(QDir::Files, QDir::Name);
  for (const QString& f : found)
    if (f.endsWith(".CCL") && !f.startsWith('.') && f.size() > 4) names_->addItem(f.chopped(4));
  QString now = QString::fromStdString(current);
  if (now.endsWith(".CCL")) now.chop(4);
  const auto match = names_->findItems(now, Qt::MatchExactly);
  if (!match.isEmpty()) names_->setCurrentItem(match.first());
  name_->setText(now);
  name_->selectAll();
}

std::string OpenColourTableBox::fileName() const { return name_->text().toStdString() + ".CCL"; }

int GetOpenColourTableName(QWidget* dialog, std::string* name) {
  OpenColourTableBox box(*name, dialog);
  if (!RunDialog(box) || box.nameField()->text().trimmed().isEmpty()) return 0;
  *name = box.fileName();
  return 1;
}

// ---- PaletteColourSelectBox -------------------------------------------------------

PaletteTile::PaletteTile(PaletteColourSelectBox* box, int index) : QWidget(box), box_(box), index_(index) {
  setObjectName(QString::number(102 + index));
  setGeometry(8 + 16 * (index % 16), 47 + 16 * (index / 16), 14, 14);
}

void PaletteTile::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect(), ToQColor(box_->entry(index_)));
  if (index_ == box_->selected()) {
    // Three pixels of inverted colour mark the selection.
    const COLORREF c = box_->entry(index_);
    const QColor inverse(255 - GetRValue(c), 255 - GetGValue(c), 255 - GetBValue(c));
    for (int k = 0; k < 3; ++k) {
      p.setPen(inverse);
      p.drawRect(rect().adjusted(k, k, -1 - k, -1 - k));
    }
  } else {
    p.setPen(Qt::black);
    p.drawRect(rect().adjusted(0, 0, -1, -1));
  }
}

void PaletteTile::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) box_->TileClicked(index_, event->modifiers() & Qt::ShiftModifier);
}

PaletteColourSelectBox::PaletteColourSelectBox(BYTE* palette, int bits, int selected, QWidget* parent)
    : QDialog(parent), palette_(palette) {
  setObjectName("PaletteColourSelectBox");
  setWindowTitle(tr("Colour"));
  count_ = bits >= 8 ? 256 : 1 << std::max(bits, 1);
  selected_ = selected & (count_ - 1);
  auto* text = new QLabel(
      tr("Click on a tile to select a new colour. Hold down Shift and click on a tile to edit its palette entry."),
      this);
  text->setWordWrap(true);
  text->setGeometry(4, 4, 372, 36);
  auto* frame = new QFrame(this);
  frame->setFrameStyle(QFrame::Box | QFrame::Sunken);
  frame->setGeometry(4, 43, 263, 263);
  for (int k = 0; k < count_; ++k) tiles_.push_back(new PaletteTile(this, k));
  info_ = new QLabel(this);
  info_->setObjectName("103");
  info_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  info_->setGeometry(276, 43, 100, 100);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help,
                                       Qt::Vertical, this);
  buttons->setGeometry(276, 200, 100, 106);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "COLORS"); });
  setFixedSize(382, 312);
  ShowInfo();
}

PaletteTile* PaletteColourSelectBox::tile(int index) const {
  return index >= 0 && index < count_ ? tiles_[static_cast<std::size_t>(index)] : nullptr;
}

COLORREF PaletteColourSelectBox::entry(int i) const {
  return RGB(palette_[3 * i], palette_[3 * i + 1], palette_[3 * i + 2]);
}

void PaletteColourSelectBox::ShowInfo() {
  const COLORREF c = entry(selected_);
  const int r = GetRValue(c), g = GetGValue(c), b = GetBValue(c);
  info_->setText(
      QString::asprintf("Color: %d\n\nR:%d (%.2Xh)\nG:%d (%.2Xh)\nB:%d (%.2Xh)\n", selected_, r, r, g, g, b, b));
}

void PaletteColourSelectBox::TileClicked(int index, bool shift) {
  if (index < 0 || index >= count_) return;
  if (shift) {
    // The edit starts from the selected entry's colour and lands on the clicked tile.
    COLORREF c = entry(selected_);
    if (DoColourSelectRGB(this, &c)) {
      palette_[3 * index] = GetRValue(c);
      palette_[3 * index + 1] = GetGValue(c);
      palette_[3 * index + 2] = GetBValue(c);
      tiles_[static_cast<std::size_t>(index)]->update();
      ShowInfo();
    }
    return;
  }
  const int old = selected_;
  selected_ = index;
  tiles_[static_cast<std::size_t>(old)]->update();
  tiles_[static_cast<std::size_t>(index)]->update();
  ShowInfo();
}

int DoColourSelectPalette(QWidget* window, COLORREF* colour, BYTE* palette, int bits) {
  PaletteColourSelectBox box(palette, bits, static_cast<int>(*colour), window);
  if (!RunDialog(box)) return 0;
  *colour = static_cast<COLORREF>(box.selected());
  return 1;
}

// ---- GreySelectBox ----------------------------------------------------------------

GreySelectBox::GreySelectBox(COLORREF colour, QWidget* parent) : QDialog(parent), colour_(colour) {
  setObjectName("GreySelectBox");
  setWindowTitle(tr("Grey Level"));
  selector_ = new GreyLevelSelector(this);
  selector_->setObjectName("101");
  // 262 pixels high: the thumb's travel is exactly 255, one level per pixel.
  selector_->setFixedSize(40, 262);
  label_ = new QLabel(this);
  label_->setObjectName("102");
  label_->setAlignment(Qt::AlignCenter);
  label_->setMinimumWidth(60);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help,
                                       Qt::Vertical, this);
  auto* side = new QVBoxLayout;
  side->addWidget(new QLabel(tr("Level:"), this));
  side->addWidget(label_);
  side->addStretch(1);
  side->addWidget(buttons);
  auto* layout = new QHBoxLayout(this);
  layout->addWidget(selector_);
  layout->addLayout(side);
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "COLORS"); });
  connect(selector_, &GreyLevelSelector::greyLevelChanged, this, [this](int level, COLORREF c) {
    label_->setText(QString::number(level));
    colour_ = c;
  });
  const int level = static_cast<int>(colour & 0xFF);
  selector_->GreyLevelSetCurrentPos(level);
  label_->setText(QString::number(level));
}

int DoColourSelectGrey(QWidget* window, COLORREF* colour) {
  GreySelectBox box(*colour, window);
  if (!RunDialog(box)) return 0;
  *colour = box.colour();
  return 1;
}

}  // namespace ochrel
