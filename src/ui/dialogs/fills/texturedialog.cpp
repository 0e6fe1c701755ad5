#include "ui/dialogs/fills/texturedialog.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>

#include "frame/options.h"
#include "frame/paths.h"
#include "frame/settings.h"
#include "ui/widgets/dialogrunner.h"
#include "ui/dialogs/fills/gradientdialog.h"
#include "ui/dialogs/fills/librarygroups.h"
#include "ui/widgets/messages.h"

namespace ochrel {

namespace {

const char kNotWriteable[] =
    "This file cannot be edited or overwritten.\n\nThe default texture set cannot be modified. To edit this file, "
    "save it to a new name. Hold down the Shift key and click on the + button.";
const char kImportError[] = "There has been an error importing the selected texture file. The file may be damaged.";

// The numeric fields: control id, range, whether the field is kept as a
// fraction and shown in percent, and the field itself.
struct Field {
  int id, lo, hi;
  bool percent;
  float TEXTURE::*f = nullptr;
  std::uint32_t TEXTURE::*u = nullptr;
  int TEXTURE::*i = nullptr;
  const char* label;
};

const Field kFields[] = {
    {507, 0, 150, true, &TEXTURE::Power1, nullptr, nullptr, "Power #1:"},
    {508, 0, 150, true, &TEXTURE::Power2, nullptr, nullptr, "Power #2:"},
    {509, 0, 150, true, &TEXTURE::Power3, nullptr, nullptr, "Power #3:"},
    {510, 0, 150, true, &TEXTURE::Power4, nullptr, nullptr, "Power #4:"},
    {511, 0, 150, true, &TEXTURE::Power5, nullptr, nullptr, "Power #5:"},
    {512, 1, 32760, false, nullptr, &TEXTURE::SeedValue1, nullptr, "Seed #1:"},
    {513, 1, 32760, false, nullptr, &TEXTURE::SeedValue2, nullptr, "Seed #2:"},
    {514, 1, 32760, false, nullptr, &TEXTURE::SeedValue3, nullptr, "Seed #3:"},
    {515, 1, 32760, false, nullptr, &TEXTURE::SeedValue4, nullptr, "Seed #4:"},
    {516, 1, 32760, false, nullptr, &TEXTURE::SeedValue5, nullptr, "Seed #5:"},
    {517, 32, 1024, false, nullptr, nullptr, &TEXTURE::MatrixSize, "Matrix:"},
    {518, 200, 2000, true, &TEXTURE::Dimension1, nullptr, nullptr, "Density #1:"},
    {519, 200, 2000, true, &TEXTURE::Dimension2, nullptr, nullptr, "Density #2:"},
    {520, 200, 2000, true, &TEXTURE::Dimension3, nullptr, nullptr, "Density #3:"},
    {521, 200, 2000, true, &TEXTURE::Dimension4, nullptr, nullptr, "Density #4:"},
    {522, 200, 2000, true, &TEXTURE::Dimension5, nullptr, nullptr, "Density #5:"},
    {523, 100, 10000, false, nullptr, nullptr, &TEXTURE::CreaterCount, "Craters #1:"},
    {524, 50, 400, true, &TEXTURE::CreaterDepth, nullptr, nullptr, "Depth #1:"},
    {528, 0, 512, false, nullptr, nullptr, &TEXTURE::BubbleCount, "Bubbles:"},
    {529, 1, 64, false, nullptr, nullptr, &TEXTURE::BubbleSize, "Bubble size:"},
    {530, 0, 100, true, &TEXTURE::BubblePower, nullptr, nullptr, "Bubble pwr:"},
    {532, 0, 800, true, &TEXTURE::PerturbationPower, nullptr, nullptr, "Perturbation:"},
};

const Field* FindField(int id) {
  for (const Field& f : kFields)
    if (f.id == id) return &f;
  return nullptr;
}

// What a field shows: percent fields as trunc(value x 100).
int FieldValue(const TEXTURE& t, const Field& f) {
  if (f.f) return f.percent ? static_cast<int>(t.*f.f * 100) : static_cast<int>(t.*f.f);
  if (f.u) return static_cast<int>(t.*f.u);
  return t.*f.i;
}

void StoreField(TEXTURE* t, const Field& f, int v) {
  if (f.f) t->*f.f = f.percent ? static_cast<float>(v * 0.01) : static_cast<float>(v);
  else if (f.u) t->*f.u = static_cast<std::uint32_t>(v);
  else t->*f.i = v;
}

COLORREF TEXTURE::*const kSwatchFields[6] = {&TEXTURE::BackColour,  &TEXTURE::ForeColour1, &TEXTURE::ForeColour2,
                                             &TEXTURE::ForeColour3, &TEXTURE::ForeColour4, &TEXTURE::ForeColour5};
const char* const kSwatchLabels[6] = {
    "Background:", "Foreground #1:", "Foreground #2:", "Foreground #3:", "Foreground #4:", "Foreground #5:"};

float TEXTURE::*const kCurveFields[3][4] = {
    {&TEXTURE::ColorRed0, &TEXTURE::ColorRed1, &TEXTURE::ColorRed2, &TEXTURE::ColorRed3},
    {&TEXTURE::ColorGreen0, &TEXTURE::ColorGreen1, &TEXTURE::ColorGreen2, &TEXTURE::ColorGreen3},
    {&TEXTURE::ColorBlue0, &TEXTURE::ColorBlue1, &TEXTURE::ColorBlue2, &TEXTURE::ColorBlue3}};

QFont SmallControlFont() {
  QFont f = QApplication::font();
  f.setPointSizeF(std::max(6.0, f.pointSizeF() * 0.8));
  return f;
}

}  // namespace

int& TextureLibraryWriteable() {
  static int writeable = 0;
  return writeable;
}

// ---- The name editor ----------------------------------------------------------

EditTextureNameBox::EditTextureNameBox(const std::string& name, QWidget* parent) : QDialog(parent) {
  setObjectName("EditTextureNameBox");
  setWindowTitle(tr("Name"));
  auto* layout = new QVBoxLayout(this);
  edit_ = new QLineEdit(this);
  edit_->setObjectName("101");
  edit_->setMaxLength(kTextureNameLength);
  edit_->setText(QString::fromStdString(name));
  edit_->selectAll();
  edit_->setMinimumWidth(260);
  layout->addWidget(edit_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
  ok_ = buttons->button(QDialogButtonBox::Ok);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::accepted, this, [this] {
    if (!edit_->text().isEmpty()) accept();
  });
  auto enable = [this] { ok_->setEnabled(!edit_->text().isEmpty()); };
  connect(edit_, &QLineEdit::textChanged, this, enable);
  enable();
}

int EditTextureName(QWidget* owner, std::string* name) {
  EditTextureNameBox box(*name, owner);
  if (!RunDialog(box)) return 0;
  const QString text = box.edit()->text().left(kTextureNameLength);
  if (text.isEmpty()) return 0;
  *name = text.toStdString();
  return 1;
}

// ---- Curve editors --------------------------------------------------------------

CurveEditor::CurveEditor(TextureBox* box, int channel) : QWidget(box), box_(box), channel_(channel) {
  setObjectName(QString::number(525 + channel));
  setFixedSize(sizeHint());
}

float* CurveEditor::value(int k) const { return &(box_->working()->*kCurveFields[channel_][std::clamp(k, 0, 3)]); }

QPoint CurveEditor::nodePoint(int k) const {
  const QRect r = curveRect();
  const int w = r.width(), d = r.height();
  return QPoint(r.left() + (w / 3) * k, r.top() + d - static_cast<int>(d * *value(k)));
}

void CurveEditor::SetNodeColour(int k, COLORREF colour) {
  const int byte = channel_ == 0 ? GetRValue(colour) : channel_ == 1 ? GetGValue(colour) : GetBValue(colour);
  *value(k) = static_cast<float>(byte * (1.0 / 255));
  update();
}

void CurveEditor::paintEvent(QPaintEvent*) {
  QPainter p(this);
  p.fillRect(rect().adjusted(2, 2, -2, -2), Qt::white);
  DrawSunkenEdge(p, rect());
  const QColor pure = channel_ == 0 ? Qt::red : channel_ == 1 ? QColor(0, 255, 0) : Qt::blue;
  QPoint pts[4];
  for (int k = 0; k < 4; ++k) pts[k] = nodePoint(k);
  p.setPen(QPen(pure, 2));
  p.drawPolyline(pts, 4);
  for (const QPoint& n : pts) p.fillRect(QRect(n.x() - 3, n.y() - 3, 6, 6), Qt::black);
  if (dragged_ < 0) return;
  // The dragged node's value on the 0..255 scale, in a tooltip-coloured box.
  const QString text = QString::asprintf("%d", static_cast<int>(*value(dragged_) * 255));
  p.setFont(SmallControlFont());
  const QFontMetrics fm(p.font());
  const QSize size(fm.horizontalAdvance(text) + 6, fm.height() + 2);
  const QPoint n = pts[dragged_];
  const int x = dragged_ < 2 ? n.x() + 6 : n.x() - 6 - size.width();
  const int y = n.y() > height() / 2 ? n.y() - 6 - size.height() : n.y() + 6;
  const QRect box(QPoint(x, y), size);
  p.fillRect(box, QColor(255, 255, 225));
  p.setPen(Qt::black);
  p.drawRect(box.adjusted(0, 0, -1, -1));
  p.drawText(box, Qt::AlignCenter, text);
}

void CurveEditor::mousePressEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton) return;
  const QPoint at = e->position().toPoint();
  for (int k = 0; k < 4; ++k) {
    const QPoint n = nodePoint(k);
    if (std::abs(at.x() - n.x()) <= 5 && std::abs(at.y() - n.y()) <= 5) {
      dragged_ = k;
      update();
      return;
    }
  }
}

void CurveEditor::DragTo(int y) {
  const QRect r = curveRect();
  const int depth = r.height();
  const int yy = std::clamp(y - r.top(), 0, depth);
  *value(dragged_) = static_cast<float>((1.0 / depth) * (depth - yy));
  update();
}

void CurveEditor::mouseMoveEvent(QMouseEvent* e) {
  if (dragged_ >= 0) DragTo(e->position().toPoint().y());
}

void CurveEditor::mouseReleaseEvent(QMouseEvent* e) {
  if (e->button() != Qt::LeftButton || dragged_ < 0) return;
  DragTo(e->position().toPoint().y());
  dragged_ = -1;
  update();
}

void CurveEditor::mouseDoubleClickEvent(QMouseEvent* e) {
  if (e->button() == Qt::RightButton) {
    const float reset[4] = {0.0f, 0.33f, 0.67f, 1.0f};
    for (int k = 0; k < 4; ++k) *value(k) = reset[k];
    update();
    return;
  }
  if (e->button() != Qt::LeftButton) return;
  const QPoint at = e->position().toPoint();
  for (int k = 0; k < 4; ++k) {
    const QPoint n = nodePoint(k);
    if (std::abs(at.x() - n.x()) <= 5 && std::abs(at.y() - n.y()) <= 5) {
      dragged_ = -1;
      box_->PickNodeColour(k);
      return;
    }
  }
}

// ---- Preview --------------------------------------------------------------------

TexturePreview::TexturePreview(TextureBox* box) : QWidget(box), box_(box) {
  setObjectName("101");
  setFixedSize(sizeHint());
}

TexturePreview::~TexturePreview() {
  if (worker_.joinable()) worker_.join();
}

void TexturePreview::Refresh() {
  if (running_) {
    pending_ = true;
    return;
  }
  Start();
}

void TexturePreview::Start() {
  pending_ = false;
  running_ = true;
  setCursor(Qt::BusyCursor);
  TEXTURE record = *box_->working();
  const QRect inner = rect().adjusted(2, 2, -2, -2);
  record.Rect = RECT{0, 0, inner.width(), inner.height()};
  if (worker_.joinable()) worker_.join();
  worker_ = std::thread([this, record] {
    HDIB dib = CreateTexture(&record);
    QImage picture = FillDibImage(dib).copy();
    QMetaObject::invokeMethod(
        this, [this, picture] { Finished(picture); }, Qt::QueuedConnection);
  });
  update();
}

void TexturePreview::Finished(QImage picture) {
  if (!running_) return;
  if (worker_.joinable()) worker_.join();
  running_ = false;
  picture_ = std::move(picture);
  ++pictures_;
  unsetCursor();
  update();
  if (pending_) Start();
}

void TexturePreview::WaitIdle() {
  while (running_) {
    if (worker_.joinable()) worker_.join();
    QCoreApplication::processEvents();
  }
}

void TexturePreview::paintEvent(QPaintEvent*) {
  QPainter p(this);
  const QRect inner = rect().adjusted(2, 2, -2, -2);
  p.fillRect(inner, palette().window());
  // A texture that failed leaves the preview empty.
  if (!picture_.isNull()) p.drawImage(QPoint(2, 2), picture_);
  DrawSunkenEdge(p, rect());
}

// ---- The dialog -------------------------------------------------------------------

TextureBox::TextureBox(TEXTURE* working, QWidget* parent) : QDialog(parent), working_(working) {
  setObjectName("TextureBox");
  setWindowTitle(tr("Texture"));
  auto* top = new QGridLayout(this);

  // Left: preview, group, list, type.
  auto* left = new QVBoxLayout;
  preview_ = new TexturePreview(this);
  left->addWidget(preview_, 0, Qt::AlignHCenter);
  auto* previewButton = new QPushButton(tr("&Preview"), this);
  previewButton->setObjectName("107");
  left->addWidget(previewButton);
  groups_ = new QComboBox(this);
  groups_->setObjectName("103");
  left->addWidget(groups_);
  list_ = new QListWidget(this);
  list_->setObjectName("102");
  list_->setMinimumHeight(120);
  left->addWidget(list_, 1);
  auto* addRow = new QHBoxLayout;
  add_ = new QPushButton("+", this);
  add_->setObjectName("104");
  delete_ = new QPushButton(QString::fromUtf8("\u2014"), this);
  delete_->setObjectName("105");
  for (QPushButton* b : {add_, delete_}) {
    b->setFont(SmallControlFont());
    b->setFixedWidth(32);
    b->setAutoDefault(false);
    addRow->addWidget(b);
  }
  addRow->addStretch();
  left->addLayout(addRow);
  types_ = new QComboBox(this);
  types_->setObjectName("106");
  left->addWidget(types_);
  top->addLayout(left, 0, 0);

  // Right: the parameters of the type.
  auto* params = new QGridLayout;
  params->setHorizontalSpacing(6);
  auto place = [&](int id, const char* label, QWidget* w, int row, int col) {
    auto* l = new QLabel(tr(label), this);
    l->setObjectName(QString::number(id + 11000));
    l->setBuddy(w);
    params->addWidget(l, row, col * 2);
    params->addWidget(w, row, col * 2 + 1);
    labels_[id] = l;
  };
  for (int k = 0; k < 6; ++k) {
    auto* s = new ColourSwatch(501 + k, this);
    swatches_[501 + k] = s;
    place(501 + k, kSwatchLabels[k], s, k, 0);
    connect(s, &QAbstractButton::clicked, this, [this, k, s] {
      if (filling_ || s->isHidden()) return;
      COLORREF c = working_->*kSwatchFields[k];
      if (!PickFillColour(this, &c, false)) return;
      working_->*kSwatchFields[k] = c;
      s->SetColour(c);
    });
  }
  for (const Field& f : kFields) {
    auto* spin = new QSpinBox(this);
    spin->setObjectName(QString::number(f.id));
    spin->setRange(f.lo, f.hi);
    spins_[f.id] = spin;
    int row = 0, col = 0;
    if (f.id <= 511) row = f.id - 507, col = 1;
    else if (f.id <= 516) row = f.id - 512, col = 2;
    else if (f.id == 517) row = 5, col = 1;
    else if (f.id <= 522) row = f.id - 518, col = 3;
    else if (f.id == 523) row = 5, col = 2;
    else if (f.id == 524) row = 5, col = 3;
    else if (f.id == 528) row = 6, col = 1;
    else if (f.id == 529) row = 6, col = 2;
    else if (f.id == 530) row = 6, col = 3;
    else if (f.id == 532) row = 7, col = 2;
    place(f.id, f.label, spin, row, col);
    const int id = f.id;
    connect(spin, &QSpinBox::valueChanged, this, [this, id] { StoreSpin(id); });
  }
  shape_ = new QComboBox(this);
  shape_->setObjectName("531");
  shape_->addItems(QString("Ellipse;Fuzzy;Luminous;Sphere").split(';'));
  place(531, "Bubble shape:", shape_, 7, 1);
  auto* curves = new QHBoxLayout;
  for (int c = 0; c < 3; ++c) {
    curves_[c] = new CurveEditor(this, c);
    curves->addWidget(curves_[c]);
  }
  curves->addStretch();
  params->addLayout(curves, 8, 0, 1, 8);
  params->setRowStretch(9, 1);
  top->addLayout(params, 0, 1);
  // The parameters change with the type; the left column keeps its width.
  top->setColumnStretch(1, 1);
  for (QWidget* w : {static_cast<QWidget*>(groups_), static_cast<QWidget*>(list_), static_cast<QWidget*>(types_)})
    w->setFixedWidth(preview_->width() + 60);

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Help, this);
  top->addWidget(buttons, 1, 0, 1, 2);
  connect(buttons, &QDialogButtonBox::accepted, this, &TextureBox::Accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::helpRequested, this, [this] { DoHelp(this, "TEXTURE"); });
  buttons->button(QDialogButtonBox::Ok)->setDefault(true);

  // Opening: the record's values into the controls, storing nothing yet.
  for (const Field& f : kFields) spins_[f.id]->setValue(FieldValue(*working_, f));
  for (int k = 0; k < 6; ++k) swatches_[501 + k]->SetColour(working_->*kSwatchFields[k]);
  shape_->setCurrentIndex(std::clamp(working_->BubbleShape, 0, 3));
  SetFractalToolLevel(working_->TextureType);
  for (const TEXTURETYPE& t : texturetype) types_->addItem(tr(t.name));
  types_->setCurrentIndex(std::clamp(working_->TextureType, 0, kTextureTypes - 1));
  if (!LoadGroup()) DoMessage(this, kImportError);
  FillGroups();
  filling_ = false;

  connect(previewButton, &QPushButton::clicked, preview_, &TexturePreview::Refresh);
  connect(list_, &QListWidget::currentRowChanged, this, [this](int row) {
    if (!filling_) SelectTexture(row);
  });
  connect(list_, &QListWidget::itemDoubleClicked, this,
          [this](QListWidgetItem* item) { RenameTexture(list_->row(item)); });
  connect(add_, &QPushButton::clicked, this, &TextureBox::AddTexture);
  connect(delete_, &QPushButton::clicked, this, &TextureBox::DeleteTexture);
  connect(groups_, &QComboBox::activated, this, &TextureBox::ChooseGroup);
  connect(types_, &QComboBox::activated, this, &TextureBox::ChooseType);
  connect(shape_, &QComboBox::activated, this, [this](int i) {
    if (!shape_->isHidden()) working_->BubbleShape = std::clamp(i, 0, 3);
  });
  UpdateDeleteButton();
  preview_->Refresh();
}

TextureBox::~TextureBox() = default;

QSpinBox* TextureBox::spin(int id) const {
  auto it = spins_.find(id);
  return it == spins_.end() ? nullptr : it->second;
}

ColourSwatch* TextureBox::swatch(int id) const {
  auto it = swatches_.find(id);
  return it == swatches_.end() ? nullptr : it->second;
}

std::string TextureBox::GroupPath() { return (DataFolder() / DefaultTextureFileName).string(); }

void TextureBox::StoreSpin(int id) {
  QSpinBox* s = spin(id);
  const Field* f = FindField(id);
  if (filling_ || !s || !f || s->isHidden()) return;
  StoreField(working_, *f, s->value());
}

void TextureBox::SetFractalToolLevel(int type) {
  if (type < 0 || type >= kTextureTypes) return;
  std::vector<QWidget*> all;
  for (auto& [id, w] : spins_) all.push_back(w);
  for (auto& [id, w] : swatches_) all.push_back(w);
  for (auto& [id, w] : labels_) all.push_back(w);
  for (CurveEditor* c : curves_) all.push_back(c);
  all.push_back(shape_);
  for (QWidget* w : all) w->setHidden(true);
  for (const int* id = texturetype[type].controls; *id; ++id) {
    if (QWidget* w = findChild<QWidget*>(QString::number(*id))) w->setHidden(false);
    if (auto it = labels_.find(*id); it != labels_.end()) it->second->setHidden(false);
  }
}

void TextureBox::ImposeTexture(const TEXTURE& t) {
  const bool was = filling_;
  filling_ = true;
  for (const Field& f : kFields) spins_[f.id]->setValue(FieldValue(t, f));
  for (int k = 0; k < 6; ++k) swatches_[501 + k]->SetColour(t.*kSwatchFields[k]);
  types_->setCurrentIndex(std::clamp(t.TextureType, 0, kTextureTypes - 1));
  shape_->setCurrentIndex(std::clamp(t.BubbleShape, 0, 3));
  filling_ = was;
  // What a shown edit holds is what the working copy keeps: a field with more
  // than two decimals is cut to two.
  for (const Field& f : kFields) StoreSpin(f.id);
  SetFractalToolLevel(t.TextureType);
  for (CurveEditor* c : curves_) c->update();
  preview_->Refresh();
}

void TextureBox::ShowItems(int select) {
  const bool was = filling_;
  filling_ = true;
  list_->clear();
  for (const TextureItem& item : items_) list_->addItem(QString::fromStdString(item.name));
  if (select >= 0 && select < list_->count()) list_->setCurrentRow(select);
  filling_ = was;
  UpdateDeleteButton();
}

void TextureBox::UpdateDeleteButton() { delete_->setEnabled(list_->count() > 0 && list_->currentRow() >= 0); }

bool TextureBox::LoadGroup() {
  int writeable = TextureLibraryWriteable();
  TextureList loaded;
  const bool ok = LoadTextureFile(GroupPath(), &loaded, &writeable) != 0;
  items_ = std::move(loaded);
  if (ok) TextureLibraryWriteable() = writeable;
  ShowItems(-1);
  return ok;
}

void TextureBox::FillGroups() { FillLibraryGroups(groups_, "*.FFT", DefaultTextureFileName); }

void TextureBox::SelectTexture(int row) {
  if (row < 0 || row >= static_cast<int>(items_.size())) return;
  *working_ = items_[row].texture;
  ImposeTexture(*working_);
  UpdateDeleteButton();
}

void TextureBox::RenameTexture(int row) {
  if (row < 0 || row >= static_cast<int>(items_.size())) return;
  if (!TextureLibraryWriteable()) {
    DoMessage(this, kNotWriteable);
    return;
  }
  std::string name = items_[row].name;
  if (!EditTextureName(this, &name)) return;
  const TEXTURE t = items_[row].texture;
  items_.erase(items_.begin() + row);
  const int at = static_cast<int>(AddTextureItem(&items_, name, t));
  ShowItems(at);
  modified_ = true;
}

void TextureBox::AddTexture() {
  if (FillShiftHeld()) {
    // A new group, written at once with what the list holds now.
    std::string name = "Untitled";
    if (!EditTextureName(this, &name)) return;
    name = name.substr(0, kTextureNameLength - 4);
    const std::string file = name + ".FFT";
    std::snprintf(DefaultTextureFileName, kSettingTextSize, "%s", file.c_str());
    if (!SaveTextureFile(GroupPath(), items_, 1, nullptr, SaveOptionsFromSettings())) {
      DoMessage(this, "Error writing file");
      return;
    }
    ShowLibraryGroup(groups_, QString::fromStdString(name));
    TextureLibraryWriteable() = 1;
    return;
  }
  if (!TextureLibraryWriteable()) {
    DoMessage(this, kNotWriteable);
    return;
  }
  const int at = static_cast<int>(AddTextureItem(&items_, "Untitled (double-click to edit)", *working_));
  ShowItems(at);
  modified_ = true;
  UpdateDeleteButton();
}

void TextureBox::DeleteTexture() {
  if (FillShiftHeld()) {
    const QString name = groups_->currentText();
    if (!TextureLibraryWriteable()) {
      DoMessage(this, "The primary texture group cannot be deleted.");
      return;
    }
    if (!DeleteLibraryGroup(this, "texture", name, GroupPath())) return;
    std::snprintf(DefaultTextureFileName, kSettingTextSize, "%s", "Ochrel.FFT");
    FillGroups();
    if (!LoadGroup()) DoMessage(this, kImportError);
    return;
  }
  if (!TextureLibraryWriteable()) {
    DoMessage(this, kNotWriteable);
    return;
  }
  const int row = list_->currentRow();
  if (row < 0 || row >= static_cast<int>(items_.size())) return;
  items_.erase(items_.begin() + row);
  ShowItems(std::min(row, static_cast<int>(items_.size()) - 1));
  modified_ = true;
  UpdateDeleteButton();
}

void TextureBox::ChooseGroup(int index) {
  if (index < 0) return;
  const std::string file = groups_->itemText(index).toStdString() + ".FFT";
  std::snprintf(DefaultTextureFileName, kSettingTextSize, "%s", file.c_str());
  items_.clear();
  if (!LoadGroup()) DoMessage(this, kImportError);
}

void TextureBox::ChooseType(int index) {
  working_->TextureType = std::clamp(index, 0, kTextureTypes - 1);
  SetFractalToolLevel(working_->TextureType);
}

void TextureBox::PickNodeColour(int k) {
  auto byte = [](float v) { return static_cast<int>(v * 255) & 255; };
  COLORREF c = RGB(byte(*curves_[0]->value(k)), byte(*curves_[1]->value(k)), byte(*curves_[2]->value(k)));
  if (!PickFillColour(this, &c, false)) return;
  for (CurveEditor* e : curves_) e->SetNodeColour(k, c);
}

void TextureBox::Accept() {
  if (modified_ && TextureLibraryWriteable() &&
      !SaveTextureFile(GroupPath(), items_, 1, nullptr, SaveOptionsFromSettings()))
    DoMessage(this, "Error writing file");
  accept();
}

}  // namespace ochrel
